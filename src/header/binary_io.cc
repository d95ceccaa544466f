// The header as BAM stores it: magic, text, dictionary.
#include <algorithm>
#include <array>
#include <limits>
#include <new>
#include <stdexcept>

#include "core/bytes.h"
#include "core/errors.h"
#include "header/bam_header.h"

namespace readkit {
namespace {

constexpr std::array<char, 4> kBamMagic = {'B', 'A', 'M', 1};

std::int32_t read_int32(BGZF& in) {
  std::array<std::uint8_t, 4> bytes;
  in.checked_read(bytes.data(), 1, bytes.size());
  return load<std::int32_t>(bytes.data());
}

// Reads `length` bytes in pieces, so that memory grows with what the file really holds.
std::string read_text(BGZF& in, std::int32_t length) {
  if (length < 0) throw std::bad_alloc();
  constexpr std::size_t kPiece = std::size_t{1} << 20;
  const auto wanted = static_cast<std::size_t>(length);
  std::string text;
  while (text.size() < wanted) {
    const std::size_t done = text.size();
    text.resize(done + std::min(kPiece, wanted - done));
    in.checked_read(text.data() + done, 1, text.size() - done);
  }
  return text;
}

std::int32_t to_int32_length(std::size_t length) {
  if (length > std::numeric_limits<std::int32_t>::max()) {
    throw std::length_error("BamHeader: text longer than 2^31 - 1 bytes");
  }
  return static_cast<std::int32_t>(length);
}

void append_int32(std::string& to, std::uint32_t value) {
  std::array<char, 4> bytes;
  store(bytes.data(), value);
  to.append(bytes.data(), bytes.size());
}

}  // namespace

std::uint64_t BamHeader::read(BGZF& in) {
  std::array<char, 4> magic;
  in.checked_read(magic.data(), 1, magic.size());
  if (magic != kBamMagic) throw InvalidBAMFormat(in.path().text());
  text_ = read_text(in, read_int32(in));
  const std::int32_t n_ref = read_int32(in);
  if (n_ref < 0) throw std::length_error("vector::reserve");
  references_.clear();
  for (std::int32_t i = 0; i < n_ref; ++i) {
    std::string stored_name = read_text(in, read_int32(in));
    references_.push_back({std::move(stored_name), static_cast<std::uint32_t>(read_int32(in))});
  }
  return in.tell();
}

bool BamHeader::write(BGZF& out) const {
  std::size_t size = 12 + text_.size();
  for (const Reference& r : references_) size += 8 + r.stored_name.size();
  std::string bytes;
  bytes.reserve(size);
  bytes.append(kBamMagic.data(), kBamMagic.size());
  append_int32(bytes, static_cast<std::uint32_t>(to_int32_length(text_.size())));
  bytes += text_;
  append_int32(bytes, static_cast<std::uint32_t>(to_int32_length(references_.size())));
  for (const Reference& r : references_) {
    append_int32(bytes, static_cast<std::uint32_t>(r.l_name()));
    bytes += r.stored_name;
    append_int32(bytes, r.l_ref);
  }
  return out.write(bytes.data(), 1, bytes.size()) == bytes.size();
}

}  // namespace readkit
