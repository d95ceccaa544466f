#include "check/checked_blocks.h"

#include <algorithm>
#include <cstring>

#include "check/block_search.h"
#include "core/bytes.h"
#include "core/deflate.h"

namespace readkit {
namespace {

constexpr std::size_t kFlagsOffset = 3;
constexpr std::uint8_t kExtraFieldAlone = 0x04;

struct Trailer {
  std::uint32_t crc;
  std::uint32_t size;
};

std::uint64_t virtual_start(std::uint64_t address) { return address << kVirtualOffsetShift; }

}  // namespace

CheckedBlocks::CheckedBlocks(File& file, Findings& findings)
    : file_(file),
      findings_(findings),
      data_(std::make_unique_for_overwrite<std::uint8_t[]>(kMaxBlockData)) {}

bool CheckedBlocks::next() {
  size_ = offset_ = 0;
  if (has_ended_) return false;
  while (const std::size_t block_size = seek_block()) {
    ++blocks_;
    if (load(block_size)) return true;
    break_at(address_);
  }
  has_ended_ = true;
  return false;
}

void CheckedBlocks::break_at(std::uint64_t address) {
  if (!is_broken_) broken_at_ = virtual_start(address);
  is_broken_ = true;
}

// The size of the block at which the file stands, or at which the search ends; 0 at the end.
std::size_t CheckedBlocks::seek_block() {
  const std::uint64_t start = file_.tell();
  const std::uint8_t* const header = file_.peek(kBlockHeaderSize);
  if (header == nullptr && file_.available() == 0) {
    end();
    return 0;
  }
  at_marker_ = false;
  const std::size_t size = header == nullptr ? 0 : stated_block_size(header);
  if (size != 0 && file_.peek(size) != nullptr) return size;

  // A block's begin that is cut short, or a place where none begins.
  const bool may_be_cut = header == nullptr || size != 0;
  break_at(start);
  const std::uint64_t passed = skip_to_block();
  const bool found = file_.available() != 0;
  if (may_be_cut && !found) {
    findings_.add(FindingKind::kBlockTruncated, virtual_start(start), 0,
                  "the file ends inside a block, ", passed, " bytes behind its begin");
    return 0;
  }
  findings_.add(FindingKind::kBlockHeader, virtual_start(start), 0, "no block begins here; ",
                passed, found ? " bytes are passed over" : " bytes, the rest, are passed over");
  if (!found) {
    end();
    return 0;
  }
  return stated_block_size(file_.peek(kBlockHeaderSize));
}

// Takes the block; false when it has no data to offer.
bool CheckedBlocks::load(std::size_t block_size) {
  address_ = file_.tell();
  const std::size_t findings = findings_.count();
  const bool inflates = verify(block_size);
  const bool is_sound = findings_.count() == findings;
  if (is_sound || is_followed_by_block(block_size)) {
    file_.skip(block_size);
    return inflates;
  }
  const std::uint64_t passed = skip_to_block();
  findings_.add(FindingKind::kBlockHeader, virtual_start(address_ + block_size), 0,
                "no block begins where the one before it says that it ends; ", passed,
                file_.available() != 0 ? " bytes behind its begin there is one"
                                       : " bytes behind its begin the file ends");
  return inflates;
}

bool CheckedBlocks::verify(std::size_t block_size) {
  const std::uint8_t* const block = file_.peek(block_size);
  const auto trailer = readkit::load<Trailer>(block + block_size - kBlockTrailerSize);
  at_marker_ =
      block_size == eof_magic.size() && std::equal(eof_magic.begin(), eof_magic.end(), block);
  const std::uint64_t start = virtual_start(address_);
  if (block[kFlagsOffset] != kExtraFieldAlone) {
    findings_.add(FindingKind::kBlockHeader, start, 0,
                  "the flags promise fields that a block does not have");
  }
  const std::size_t compressed = block_size - kBlockHeaderSize - kBlockTrailerSize;
  const auto size = inflate_raw({block + kBlockHeaderSize, compressed},
                                {data_.get(), kMaxBlockData}, trailer.size);
  if (!size) {
    findings_.add(FindingKind::kBlockData, start, 0, "the block does not inflate");
    return false;
  }
  size_ = *size;
  const std::uint32_t found = crc32_of({data_.get(), size_});
  if (found != trailer.crc) {
    findings_.add(FindingKind::kBlockCRC, start, 0, "the CRC-32 of the data is ", found,
                  ", the block states ", trailer.crc);
  } else if (size_ != trailer.size) {
    findings_.add(FindingKind::kBlockLength, start, 0, "the block has ", size_,
                  " bytes of data and states ", trailer.size);
  }
  return true;
}

bool CheckedBlocks::is_followed_by_block(std::size_t block_size) {
  const std::uint8_t* const bytes = file_.peek(block_size + kBlockHeaderSize);
  if (bytes == nullptr) return file_.available() == block_size;
  return stated_block_size(bytes + block_size) != 0;
}

// Takes bytes, one at least, up to the begin of a block, or up to the end; returns how many.
std::uint64_t CheckedBlocks::skip_to_block() {
  const std::uint64_t start = file_.tell();
  file_.skip(1);
  BlockPlace place;
  bool is_rest = false;
  while (!place.is_found && !is_rest) {
    is_rest = file_.peek(File::kMaxPeek) == nullptr;
    const std::size_t size = file_.available();
    place = find_block({file_.peek(size), size}, is_rest);
    file_.skip(place.at);
  }
  return file_.tell() - start;
}

void CheckedBlocks::end() {
  const std::uint64_t start = virtual_start(file_.tell());
  if (file_.read_failed()) {
    findings_.add(FindingKind::kReadFailed, start, 0, "the file cannot be read on");
  } else if (!at_marker_) {
    findings_.add(FindingKind::kEndMarker, start, 0, "the file does not end with the end marker");
  }
}

std::size_t CheckedBlocks::read(void* to, std::size_t n) {
  auto* const out = static_cast<std::uint8_t*>(to);
  std::size_t done = 0;
  while (done < n && fill()) {
    const std::size_t piece = std::min(n - done, left());
    std::memcpy(out + done, bytes(), piece);
    skip(piece);
    done += piece;
  }
  return done;
}

}  // namespace readkit
