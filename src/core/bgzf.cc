#include "core/bgzf.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <span>
#include <string>
#include <utility>

#include "core/bytes.h"
#include "core/deflate.h"
#include "core/errors.h"

namespace readkit {
namespace {

auto deflate_for(Packing packing) {
  switch (packing) {
    case Packing::kQuick:
      return deflate_raw_temporary;
    case Packing::kNone:
      return deflate_raw_stored;
    default:
      return deflate_raw;
  }
}

thread_local bool is_strict = false;

}  // namespace

StrictReading::StrictReading() : before_(std::exchange(is_strict, true)) {}
StrictReading::~StrictReading() { is_strict = before_; }
bool StrictReading::is_on() { return is_strict; }

bool valid_bgzf_header(const std::uint8_t* header) {
  constexpr std::uint8_t kExtraFieldFlag = 0x04;
  return header[0] == header_magic[0] && header[1] == header_magic[1] &&
         header[2] == header_magic[2] && (header[3] & kExtraFieldFlag) != 0 &&
         std::equal(header + 10, header + 16, header_magic.begin() + 10);
}

BGZF::BGZF(BGZF&& other) noexcept { *this = std::move(other); }

BGZF& BGZF::operator=(BGZF&& other) noexcept {
  if (this == &other) return *this;
  close_quietly();
  file_ = std::move(other.file_);
  data_ = std::move(other.data_);
  compressed_ = std::move(other.compressed_);
  block_length_ = std::exchange(other.block_length_, 0);
  block_offset_ = std::exchange(other.block_offset_, 0);
  block_address_ = other.block_address_;
  uncompressed_position_ = other.uncompressed_position_;
  write_mode_ = other.write_mode_;
  packing_ = other.packing_;
  end_reached_ = other.end_reached_;
  end_ = other.end_;
  path_ = other.path_;
  return *this;
}

BGZF::~BGZF() { close_quietly(); }

// For the moments in which nobody is left to tell; a writer that must know calls `close`.
void BGZF::close_quietly() noexcept {
  try {
    close();
  } catch (const std::exception&) {
    file_.close();
  }
}

void BGZF::open(const Path& path, std::string_view mode) {
  close_quietly();
  reset_counters();
  write_mode_ = mode == "w";
  packing_ = Packing::kFull;
  path_ = path;
  const std::string binary_mode = std::string(mode) + "b";
  file_ = File(path, binary_mode.c_str());
  if (!is_open()) throw FileNotFound(path.text());
  data_ = std::make_unique_for_overwrite<std::uint8_t[]>(kMaxBlockData);
  if (write_mode_) compressed_ = std::make_unique_for_overwrite<std::uint8_t[]>(kMaxBlockSize);
}

void BGZF::reset_counters() {
  block_length_ = block_offset_ = block_address_ = uncompressed_position_ = 0;
  end_reached_ = false;
  end_ = 0;
}

int BGZF::read_block() {
  if (write_mode_) throw InvalidBAMFormat(path_.text());
  block_address_ = file_.tell();
  uncompressed_position_ += std::exchange(block_length_, 0);
  block_offset_ = 0;
  const std::uint8_t* const header = file_.peek(kBlockHeaderSize);
  if (header == nullptr) {
    // A file that ends before a place that has been read has become shorter.
    const bool is_at_end = file_.available() == 0 && !file_.read_failed();
    if (is_at_end && end_reached_ && file_.tell() >= end_) return 1;
    throw InvalidBAMFormat(path_.text());
  }
  const std::size_t block_size = std::size_t{readInt16(header + kBlockSizeOffset)} + 1;
  if (!valid_bgzf_header(header) || block_size < kMinBlockSize) {
    throw InvalidBAMFormat(path_.text());
  }
  const std::uint8_t* const block = file_.peek(block_size);
  if (block == nullptr) throw BAMRead(path_.text());
  file_.skip(block_size);
  block_length_ = inflate_block(block, block_size);
  if (block_length_ == 0) {
    end_reached_ = true;
    end_ = std::max(end_, file_.tell());
  }
  return 0;
}

std::size_t BGZF::inflate_block(const std::uint8_t* block, std::size_t block_size) {
  const auto stated_size =
      load<std::uint32_t>(block + block_size - sizeof(std::uint32_t));  // ISIZE
  const auto size = inflate_raw({block + kBlockHeaderSize, block_size - kBlockHeaderSize},
                                {data_.get(), kMaxBlockData}, stated_size);
  if (!size) throw ZLIBInflate(path_.text());
  if (is_strict) {
    const auto crc = load<std::uint32_t>(block + block_size - kBlockTrailerSize);
    if (*size != stated_size || crc32_of({data_.get(), *size}) != crc) {
      throw ZLIBInflate(path_.text());
    }
  }
  return *size;
}

std::size_t BGZF::read(void* to, std::size_t size, std::size_t count) {
  auto* const out = static_cast<std::uint8_t*>(to);
  const std::size_t wanted = size * count;
  std::size_t done = 0;
  while (done < wanted) {
    if (block_offset_ >= block_length_) {
      if (read_block() != 0) break;
      continue;
    }
    const std::size_t piece = std::min<std::size_t>(wanted - done, block_length_ - block_offset_);
    std::memcpy(out + done, data_.get() + block_offset_, piece);
    block_offset_ += piece;
    done += piece;
  }
  return done;
}

std::size_t BGZF::checked_read(void* to, std::size_t size, std::size_t count) {
  const std::size_t done = read(to, size, count);
  if (done < size * count) throw BAMRead(path_.text());
  return done;
}

std::size_t BGZF::write(const void* from, std::size_t size, std::size_t count) {
  if (!write_mode_) throw BAMReadOnly(path_.text());
  const auto* const in = static_cast<const std::uint8_t*>(from);
  const std::size_t wanted = size * count;
  std::size_t done = 0;
  while (done < wanted) {
    const std::size_t piece =
        std::min<std::size_t>(wanted - done, kWrittenBlockData - block_offset_);
    std::memcpy(data_.get() + block_offset_, in + done, piece);
    block_offset_ += piece;
    done += piece;
    if (block_offset_ == kWrittenBlockData && flush() != 0) throw FileWrite(path_.text());
  }
  return done;
}

int BGZF::flush() {
  if (!write_mode_ || block_offset_ == 0) return 0;
  const std::size_t block_size = deflate_block();
  if (!file_.write(compressed_.get(), block_size)) return -1;
  uncompressed_position_ += std::exchange(block_offset_, 0);
  block_address_ = file_.tell();
  return 0;
}

std::size_t BGZF::deflate_block() {
  const std::span<const std::uint8_t> data(data_.get(), block_offset_);
  std::uint8_t* const block = compressed_.get();
  const auto deflate = deflate_for(packing_);
  const auto size = deflate(data, {block + kBlockHeaderSize, kMaxCompressedData});
  if (!size) throw ZLIBDeflate(path_.text());
  const std::size_t block_size = kBlockHeaderSize + *size + kBlockTrailerSize;
  std::copy(header_magic.begin(), header_magic.end(), block);
  storeInt16(block + kBlockSizeOffset, static_cast<std::uint16_t>(block_size - 1));
  storeInt32(block + kBlockHeaderSize + *size, crc32_of(data));
  storeInt32(block + kBlockHeaderSize + *size + 4, static_cast<std::uint32_t>(data.size()));
  return block_size;
}

std::uint64_t BGZF::seek(std::uint64_t offset) {
  if (write_mode_) throw BGZFSeek(path_.text());
  const std::uint64_t address = offset >> kVirtualOffsetShift;
  if (address != block_address_) {
    if (!file_.seek(address)) throw BGZFSeek(path_.text());
    read_block();
  }
  block_offset_ = offset & kInsideBlockMask;
  return offset;
}

int BGZF::close() {
  if (!is_open()) return -1;
  const bool finished = finish_writing();
  return file_.close() && finished ? 0 : -1;
}

// Brings out what a writer still owes: the last block and the marker.
bool BGZF::finish_writing() {
  if (!write_mode_) return true;
  return flush() == 0 && file_.write(eof_magic.data(), eof_magic.size());
}

}  // namespace readkit
