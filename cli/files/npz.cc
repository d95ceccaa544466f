#include "cli/files/npz.h"

#include <algorithm>
#include <limits>

#include <zlib.h>

#include "cli/terminal/failure.h"

namespace readkit::cli {
namespace {

void put(std::string& to, std::uint64_t number, std::size_t size) {
  for (std::size_t i = 0; i < size; ++i) to += static_cast<char>(number >> (8 * i) & 0xffU);
}

// The part that the headers of a file in the archive and in its directory share.
std::string common_part(const std::string& bytes, const std::string& name) {
  constexpr std::uint64_t kVersion = 20;
  constexpr std::uint64_t kFirstDate = 0x21;  // 1 January 1980: the same bytes on every run
  const auto crc = crc32_z(0, reinterpret_cast<const Bytef*>(bytes.data()), bytes.size());
  std::string part;
  put(part, kVersion, 2);
  put(part, 0, 2);  // flags
  put(part, 0, 2);  // stored
  put(part, 0, 2);  // time
  put(part, kFirstDate, 2);
  put(part, crc, 4);
  put(part, bytes.size(), 4);
  put(part, bytes.size(), 4);
  put(part, name.size(), 2);
  put(part, 0, 2);  // no extra field
  return part;
}

}  // namespace

std::string NpzColumn::file() const {
  std::size_t width = 1;
  for (const std::string& text : texts_) width = std::max(width, text.size());
  const std::size_t rows = is_text_ ? texts_.size() : numbers_.size();
  std::string description =
      "{'descr': '" + (is_text_ ? "|S" + std::to_string(width) : std::string("<u4")) +
      "', 'fortran_order': False, 'shape': (" + std::to_string(rows) + ",), }";
  // The data begins at a multiple of 64.
  constexpr std::size_t kAlignment = 64;
  constexpr std::size_t kPrefix = 10;
  const std::size_t used = kPrefix + description.size() + 1;
  description.append((kAlignment - used % kAlignment) % kAlignment, ' ');
  description += '\n';
  std::string bytes("\x93NUMPY\x01\x00", 8);
  put(bytes, description.size(), 2);
  bytes += description;
  if (is_text_) {
    for (const std::string& text : texts_) {
      bytes += text;
      bytes.append(width - text.size(), '\0');
    }
  } else {
    for (const std::uint32_t number : numbers_) put(bytes, number, 4);
  }
  return bytes;
}

void NpzWriter::write(const std::string& bytes) {
  out_.append(bytes);
  written_ += bytes.size();
}

void NpzWriter::add(const std::string& name, const NpzColumn& column) {
  const std::string file_name = name + ".npy";
  const std::string bytes = column.file();
  constexpr std::uint64_t kMost = std::numeric_limits<std::uint32_t>::max();
  if (written_ + bytes.size() > kMost) {
    throw Failure({}, "the arrays are larger than an archive may be, 4 GiB", {},
                  "ask for fewer fields, or for fewer --records at a time");
  }
  const std::string part = common_part(bytes, file_name);
  directory_ += "PK\1\2";
  put(directory_, 20, 2);
  directory_ += part;
  put(directory_, 0, 2);  // no comment
  put(directory_, 0, 2);  // disk
  put(directory_, 0, 2);  // attributes
  put(directory_, 0, 4);
  put(directory_, written_, 4);
  directory_ += file_name;
  ++count_;
  write("PK\3\4" + part + file_name);
  write(bytes);
}

void NpzWriter::finish() {
  const std::uint64_t begin = written_;
  write(directory_);
  std::string end = "PK\5\6";
  put(end, 0, 4);  // disks
  put(end, count_, 2);
  put(end, count_, 2);
  put(end, directory_.size(), 4);
  put(end, begin, 4);
  put(end, 0, 2);  // no comment
  write(end);
}

}  // namespace readkit::cli
