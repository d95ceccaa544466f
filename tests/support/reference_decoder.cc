#include "support/reference_decoder.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <limits>
#include <stdexcept>

#include <zlib.h>

#include "support/bgzf_builder.h"

namespace readkit {
namespace {

// Takes little-endian numbers and texts from the front of some bytes.
class Cursor {
 public:
  explicit Cursor(std::string_view bytes) : bytes_(bytes) {}

  bool empty() const { return at_ == bytes_.size(); }
  std::size_t taken() const { return at_; }

  std::string_view take(std::size_t size) {
    if (size > bytes_.size() - at_) throw std::runtime_error("the bytes end early");
    at_ += size;
    return bytes_.substr(at_ - size, size);
  }

  std::uint32_t number(std::size_t size) {
    std::uint32_t value = 0;
    const std::string_view bytes = take(size);
    for (std::size_t i = size; i-- > 0;) value = value << 8 | static_cast<std::uint8_t>(bytes[i]);
    return value;
  }

  int int32() { return static_cast<int>(number(4)); }

  std::string text_to_nul() {
    std::string text;
    for (char letter = take(1)[0]; letter != '\0'; letter = take(1)[0]) text += letter;
    return text;
  }

 private:
  std::string_view bytes_;
  std::size_t at_ = 0;
};

std::string value_text(Cursor& in, char type) {
  switch (type) {
    case 'A':
      return std::string(in.take(1));
    case 'c':
      return std::to_string(static_cast<std::int8_t>(in.number(1)));
    case 'C':
      return std::to_string(in.number(1));
    case 's':
      return std::to_string(static_cast<std::int16_t>(in.number(2)));
    case 'S':
      return std::to_string(in.number(2));
    case 'i':
      return std::to_string(static_cast<std::int32_t>(in.number(4)));
    case 'I':
      return std::to_string(in.number(4));
    case 'f': {
      const std::uint32_t bits = in.number(4);
      float value = 0;
      std::memcpy(&value, &bits, sizeof value);
      char text[64];
      std::snprintf(text, sizeof text, "%f", static_cast<double>(value));
      return text;
    }
    default:
      throw std::runtime_error(std::string("unknown type ") + type);
  }
}

DecodedTag decode_tag(Cursor& in) {
  DecodedTag tag;
  tag.name = in.take(2);
  tag.type = in.take(1)[0];
  if (tag.type == 'Z' || tag.type == 'H') {
    tag.text = in.text_to_nul();
  } else if (tag.type == 'B') {
    const char subtype = in.take(1)[0];
    if (subtype == 'Z' || subtype == 'H') throw std::runtime_error("an array of texts");
    tag.text = subtype;
    const int count = in.int32();
    for (int i = 0; i < count; ++i) tag.text += "," + value_text(in, subtype);
  } else {
    tag.text = value_text(in, tag.type);
  }
  return tag;
}

constexpr int kLevels = 6;
constexpr int kFirstBins[kLevels] = {0, 1, 9, 73, 585, 4681};

}  // namespace

ZlibVerdict zlib_inflate(std::string_view deflated, std::size_t room) {
  z_stream stream{};
  if (inflateInit2(&stream, -15) != Z_OK) throw std::runtime_error("inflateInit2 failed");
  std::string input(deflated);
  ZlibVerdict verdict;
  verdict.data.resize(room);
  stream.next_in = reinterpret_cast<Bytef*>(input.data());
  stream.avail_in = static_cast<uInt>(input.size());
  stream.next_out = reinterpret_cast<Bytef*>(verdict.data.data());
  stream.avail_out = static_cast<uInt>(room);
  verdict.ends = inflate(&stream, Z_FINISH) == Z_STREAM_END;
  verdict.data.resize(stream.total_out);
  inflateEnd(&stream);
  return verdict;
}

std::vector<DecodedBlock> decode_blocks(std::string_view file) {
  std::vector<DecodedBlock> blocks;
  Cursor in(file);
  while (!in.empty()) {
    DecodedBlock block;
    block.offset = in.taken();
    block.bytes = in.take(18);
    const std::size_t rest = Cursor(std::string_view(block.bytes).substr(16)).number(2) + 1 - 18;
    block.bytes += in.take(rest);
    if (block.bytes.substr(0, 4) != "\x1f\x8b\x08\x04" ||
        block.bytes.substr(10, 6) != std::string("\6\0BC\2\0", 6)) {
      throw std::runtime_error("not a block");
    }
    const std::string_view bytes = block.bytes;
    const ZlibVerdict verdict = zlib_inflate(bytes.substr(18, bytes.size() - 26), 0x10000);
    block.data = verdict.data;
    Cursor trailer(bytes.substr(bytes.size() - 8));
    if (!verdict.ends || trailer.number(4) != zlib_crc32(block.data) ||
        trailer.number(4) != block.data.size()) {
      throw std::runtime_error("a damaged block");
    }
    blocks.push_back(block);
  }
  return blocks;
}

std::string decode_bgzf(std::string_view file) {
  std::string data;
  for (const DecodedBlock& block : decode_blocks(file)) data += block.data;
  return data;
}

std::string gunzip_file(const std::string& native) {
  gzFile file = gzopen(native.c_str(), "rb");
  if (file == nullptr) throw std::runtime_error("cannot open " + native);
  std::string data;
  char buffer[1 << 14];
  int got = 0;
  while ((got = gzread(file, buffer, sizeof buffer)) > 0) {
    data.append(buffer, static_cast<std::size_t>(got));
  }
  const bool sound = gzclose(file) == Z_OK && got == 0;
  if (!sound) throw std::runtime_error("not sound for gzread: " + native);
  return data;
}

DecodedRecord decode_record(std::string_view bytes, std::size_t* used) {
  const std::size_t size = Cursor(bytes).number(4);
  DecodedRecord record;
  record.bytes = Cursor(bytes).take(4 + size);
  if (used != nullptr) *used = record.bytes.size();
  Cursor in(record.bytes);
  in.take(4);
  record.ref_id = in.int32();
  record.pos = in.int32();
  const std::size_t name_length = in.number(1);
  record.mapq = static_cast<int>(in.number(1));
  record.bin = static_cast<int>(in.number(2));
  const std::size_t op_count = in.number(2);
  record.flag = static_cast<int>(in.number(2));
  const std::size_t seq_length = in.number(4);
  record.next_ref_id = in.int32();
  record.next_pos = in.int32();
  record.tlen = in.int32();
  const std::string_view name = in.take(name_length);
  record.name = name.substr(0, name.find('\0'));
  if (op_count > 0) record.cigar.clear();
  std::int64_t end = std::int64_t{record.pos} + (op_count > 0 ? 0 : 1);
  for (std::size_t i = 0; i < op_count; ++i) {
    const std::uint32_t op = in.number(4);
    const char letter = "MIDNSHP=X???????"[op & 15];
    record.cigar += std::to_string(op >> 4) + letter;
    if (std::strchr("MDN=X", letter) != nullptr) end += op >> 4;
  }
  record.end = static_cast<int>(std::min<std::int64_t>(end, std::numeric_limits<int>::max()));
  if (seq_length > 0) record.seq.clear();
  const std::string_view packed = in.take((seq_length + 1) / 2);
  for (std::size_t i = 0; i < seq_length; ++i) {
    const auto pair = static_cast<std::uint8_t>(packed[i / 2]);
    record.seq += "=ACMGRSVTWYHKDBN"[i % 2 == 0 ? pair >> 4 : pair & 15];
  }
  std::string qualities(in.take(seq_length));
  if (qualities.find_first_not_of('\xff') != std::string::npos) {
    for (char& quality : qualities) quality = static_cast<char>(quality + 33);
    record.qual = qualities;
  }
  while (!in.empty()) record.tags.push_back(decode_tag(in));
  return record;
}

DecodedBam decode_bam(std::string_view file) {
  const std::string data = decode_bgzf(file);
  Cursor in(data);
  if (in.take(4) != "BAM\1") throw std::runtime_error("not a BAM file");
  DecodedBam bam;
  bam.text = in.take(in.number(4));
  const std::size_t count = in.number(4);
  for (std::size_t i = 0; i < count; ++i) {
    const std::string_view name = in.take(in.number(4));
    bam.refs.emplace_back(name.substr(0, name.size() - 1), in.number(4));
  }
  while (!in.empty()) {
    std::size_t used = 0;
    bam.records.push_back(decode_record(std::string_view(data).substr(in.taken()), &used));
    in.take(used);
  }
  return bam;
}

std::string decoded_line(const DecodedRecord& record, const DecodedBam& bam, bool with_tags) {
  const auto name_of = [&](int ref) {
    return ref < 0 ? std::string("*") : bam.refs.at(static_cast<std::size_t>(ref)).first;
  };
  // Lines have positions of 32 bits.
  const auto position = [](int pos) {
    constexpr int kLast = std::numeric_limits<int>::max();
    return std::to_string(pos == kLast ? std::numeric_limits<int>::min() : pos + 1);
  };
  std::string mate = name_of(record.next_ref_id);
  if (record.next_ref_id >= 0 && record.next_ref_id == record.ref_id) mate = "=";
  std::string line = record.name + '\t' + std::to_string(record.flag) + '\t' +
                     name_of(record.ref_id) + '\t' + position(record.pos) + '\t' +
                     std::to_string(record.mapq) + '\t' + record.cigar + '\t' + mate + '\t' +
                     position(record.next_pos) + '\t' + std::to_string(record.tlen) + '\t' +
                     record.seq + '\t' + record.qual;
  if (!with_tags) return line;
  bool after_empty_array = false;
  for (const DecodedTag& tag : record.tags) {
    const bool is_integer = std::strchr("cCsSiI", tag.type) != nullptr;
    const bool is_array = tag.type == 'B';
    if (!after_empty_array) line += '\t';
    line += tag.name + ':' + (is_integer ? 'i' : tag.type) + ':';
    line += is_array ? tag.text.substr(tag.text.size() > 1 ? 2 : 1) : tag.text;
    after_empty_array = is_array && tag.text.size() == 1;
  }
  if (after_empty_array) line.pop_back();
  return line;
}

int slow_bin(std::int64_t beg, std::int64_t end) {
  for (int level = kLevels - 1; level > 0; --level) {
    const int shift = 29 - 3 * level;
    if (beg >> shift == (end - 1) >> shift) {
      return kFirstBins[level] + static_cast<int>(beg >> shift);
    }
  }
  return 0;
}

std::vector<std::uint32_t> slow_bins(std::int64_t beg, std::int64_t end) {
  std::vector<std::uint32_t> bins;
  for (int level = 0; level < kLevels; ++level) {
    const std::int64_t size = std::int64_t{1} << (29 - 3 * level);
    const std::int64_t count = (std::int64_t{1} << 29) / size;
    for (std::int64_t i = 0; i < count; ++i) {
      const bool overlaps = i * size < end && beg < (i + 1) * size;
      if (overlaps) bins.push_back(static_cast<std::uint32_t>(kFirstBins[level] + i));
    }
  }
  return bins;
}

}  // namespace readkit
