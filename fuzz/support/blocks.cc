#include "fuzz/support/blocks.h"

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "core/bgzf_format.h"
#include "core/bytes.h"
#include "support/bgzf_builder.h"
#include "support/reference_decoder.h"

namespace readkit::fuzz {
namespace {

constexpr std::size_t kAround = kBlockHeaderSize + kBlockTrailerSize;

const std::uint8_t* unsigned_bytes(std::string_view text) {
  return reinterpret_cast<const std::uint8_t*>(text.data());
}

// A number of a file, by default one that no file holds.
std::size_t number_at(std::string_view bytes, std::size_t at) {
  return at + 4 <= bytes.size() ? load<std::uint32_t>(unsigned_bytes(bytes) + at) : ~std::size_t{0};
}

// What the blocks of a file hold, up to the first one that is none.
std::string content_of(std::string_view file) {
  std::string content;
  while (file.size() >= kAround && valid_bgzf_header(unsigned_bytes(file))) {
    const std::size_t size = load<std::uint16_t>(unsigned_bytes(file) + kBlockSizeOffset) + 1U;
    if (size < kAround || size > file.size()) break;
    const ZlibVerdict verdict =
        zlib_inflate(file.substr(kBlockHeaderSize, size - kAround), kMaxBlockData);
    if (!verdict.ends) break;
    content += verdict.data;
    file.remove_prefix(size);
  }
  return content;
}

// Header and records of a BAM file's content, each with the words in which its length stands.
std::vector<std::string> pieces_of(std::string_view content) {
  std::size_t header = 8;
  const std::size_t text = number_at(content, 4);
  if (text <= content.size()) header += text;
  const std::size_t references = number_at(content, header);
  header += 4;
  for (std::size_t i = 0; i < references && header < content.size(); ++i) {
    header += 8 + std::min(number_at(content, header), content.size());
  }
  std::vector<std::string> pieces = {std::string(content.substr(0, header))};
  content.remove_prefix(std::min(header, content.size()));
  while (!content.empty()) {
    const std::size_t size = number_at(content, 0);
    const std::size_t piece = size < content.size() ? size + 4 : content.size();
    pieces.emplace_back(content.substr(0, piece));
    content.remove_prefix(std::min(piece, content.size()));
  }
  return pieces;
}

// Changes a record and its length word with it, so that the next one is still found; or the text of
// a header likewise.
void change_piece(std::string& piece, bool is_header, const ChangeBytes& bytes, std::size_t room) {
  const std::size_t at = is_header ? 4 : 0;  // of the length word
  const std::size_t from = at + 4;
  if (piece.size() < from) return bytes(piece, room);
  const std::size_t length =
      is_header ? std::min(number_at(piece, at), piece.size() - from) : piece.size() - from;
  std::string part = piece.substr(from, length);
  bytes(part, std::max(length, room));
  piece = piece.substr(0, at) + little_endian(part.size(), 4) + part + piece.substr(from + length);
}

std::string change_content(const std::string& content, Random& random, const ChangeBytes& bytes,
                           std::size_t room) {
  std::vector<std::string> pieces = pieces_of(content);
  const std::size_t growth = room - std::min(room, content.size());
  const std::size_t at = random() % pieces.size();
  const std::size_t other = random() % pieces.size();
  switch (random() % 8) {
    case 0:
      pieces.insert(pieces.begin() + static_cast<std::ptrdiff_t>(at), pieces[other]);
      break;
    case 1:
      pieces.erase(pieces.begin() + static_cast<std::ptrdiff_t>(at));
      break;
    case 2:
      std::swap(pieces[at], pieces[other]);
      break;
    case 3:
      bytes(pieces[at], pieces[at].size() + growth);
      break;
    default:
      change_piece(pieces[at], at == 0, bytes, pieces[at].size() + growth);
  }
  std::string changed;
  for (const std::string& piece : pieces) changed += piece;
  return changed;
}

// Blocks of any size, most often few and stored.
std::string blocks_of(const std::string& content, Random& random) {
  const std::size_t sizes[] = {0xff00, 0xff00, 0xff00, 1 + random() % 64, 1 + random() % 1024};
  std::size_t size = sizes[random() % std::size(sizes)];
  size = std::max(size, content.size() / 64 + 1);
  const bool with_marker = random() % 32 != 0;
  if (random() % 8 != 0) return stored_bgzf(content, size, with_marker);
  BgzfFile file;
  file.blocks(content, size);
  if (with_marker) file.marker();
  return file.bytes();
}

std::string change_file(std::string file, Random& random, const ChangeBytes& bytes,
                        std::size_t room) {
  bytes(file, room);
  return random() % 2 == 0 ? repaired_bgzf(std::move(file)) : file;
}

}  // namespace

std::string stored_bgzf(const std::string& content, std::size_t block_size, bool with_marker) {
  BgzfFile file;
  for (std::size_t at = 0; at < content.size(); at += block_size) {
    const std::string data = content.substr(at, block_size);
    const auto size = static_cast<std::uint16_t>(data.size());
    const std::string stored =
        '\1' + little_endian(size, 2) + little_endian(static_cast<std::uint16_t>(~size), 2) + data;
    file.block(BgzfBlock::around(stored, data));
  }
  if (with_marker) file.marker();
  return file.bytes();
}

std::string repaired_bgzf(std::string file) {
  for (std::size_t at = 0; at + kAround <= file.size();) {
    const std::string_view rest = std::string_view(file).substr(at);
    std::size_t size = load<std::uint16_t>(unsigned_bytes(rest) + kBlockSizeOffset) + 1U;
    if (size < kAround || size > rest.size()) size = std::min(rest.size(), kMaxBlockSize);
    const std::string deflated(rest.substr(kBlockHeaderSize, size - kAround));
    const ZlibVerdict verdict = zlib_inflate(deflated, kMaxBlockData);
    file.replace(at, size, BgzfBlock::around(deflated, verdict.data).bytes());
    at += size;
  }
  return file;
}

std::string change_bgzf(const std::string& file, Random& random, const ChangeBytes& bytes,
                        std::size_t room) {
  if (random() % 2 == 0) return change_file(file, random, bytes, room);
  std::string content = content_of(file);
  bytes(content, room);
  return blocks_of(content, random);
}

std::string change_bam(const std::string& file, Random& random, const ChangeBytes& bytes,
                       std::size_t room) {
  if (random() % 8 == 0) return change_file(file, random, bytes, room);
  const std::size_t around = std::min<std::size_t>(room, 256);
  return blocks_of(change_content(content_of(file), random, bytes, room - around), random);
}

}  // namespace readkit::fuzz
