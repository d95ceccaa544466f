#include "support/conversion_model.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <map>
#include <stdexcept>

#include "support/bgzf_builder.h"
#include "support/sam_model.h"
#include "support/samtools.h"
#include "support/temp_dir.h"

namespace readkit {
namespace {

constexpr char kNotOfTheFile[] = " without the file's name";

std::uint32_t number_at(std::string_view bytes, std::size_t at, std::size_t size) {
  if (at + size > bytes.size()) throw std::runtime_error("the bytes end early");
  std::uint32_t value = 0;
  for (std::size_t i = size; i-- > 0;)
    value = value << 8 | static_cast<std::uint8_t>(bytes[at + i]);
  return value;
}
int int_at(std::string_view bytes, std::size_t at) {
  return static_cast<int>(number_at(bytes, at, 4));
}

std::string with_number(std::string bytes, std::size_t at, int number) {
  return bytes.replace(at, 4, little_endian(static_cast<std::uint32_t>(number), 4));
}

// Where the parts of a record with its length word begin.
std::size_t cigar_at(std::string_view record) { return 36 + number_at(record, 12, 1); }
std::size_t tags_at(std::string_view record) {
  const std::size_t bases = number_at(record, 20, 4);
  return cigar_at(record) + 4 * std::size_t{number_at(record, 16, 2)} + (bases + 1) / 2 + bases;
}

// ---- Lines -------------------------------------------------------------------------------------

struct WriteError {
  std::string kind;
};

std::size_t size_of(char type) {
  switch (type) {
    case 'A':
    case 'c':
    case 'C':
      return 1;
    case 's':
    case 'S':
      return 2;
    case 'i':
    case 'I':
    case 'f':
      return 4;
    default:
      throw WriteError{"InvalidTagType"};
  }
}

std::string value_text(std::string_view bytes, char type) {
  const std::uint32_t bits = number_at(bytes, 0, size_of(type));
  if (type == 'A') return std::string(1, static_cast<char>(bits));
  if (type == 'c') return std::to_string(static_cast<std::int8_t>(bits));
  if (type == 's') return std::to_string(static_cast<std::int16_t>(bits));
  if (type == 'i') return std::to_string(static_cast<std::int32_t>(bits));
  if (type != 'f') return std::to_string(bits);
  float value = 0;
  std::memcpy(&value, &bits, sizeof value);
  std::array<char, 64> text;
  std::snprintf(text.data(), text.size(), "%f", static_cast<double>(value));
  return text.data();
}

// Takes `size` bytes from the front.
std::string_view take(std::string_view& bytes, std::size_t size) {
  if (size > bytes.size()) throw WriteError{"InvalidSAMFormat"};
  const std::string_view taken = bytes.substr(0, size);
  bytes.remove_prefix(size);
  return taken;
}

// Takes one field; the text begins with a TAB and the name.
std::string take_field(std::string_view& bytes) {
  const std::string_view head = take(bytes, 3);
  const char type = head[2];
  const bool is_integer = std::string_view("cCsSiI").find(type) != std::string_view::npos;
  const std::string text =
      '\t' + std::string(head.substr(0, 2)) + ':' + (is_integer ? 'i' : type) + ':';
  if (type == 'Z' || type == 'H') {
    const std::string_view value = take(bytes, std::min(bytes.find('\0'), bytes.size()));
    if (!bytes.empty()) take(bytes, 1);
    return text + std::string(value);
  }
  if (type != 'B') return text + value_text(take(bytes, size_of(type)), type);
  const char subtype = take(bytes, 1)[0];
  const auto count = static_cast<std::size_t>(std::max(int_at(take(bytes, 4), 0), 0));
  std::string list;
  const std::size_t size = size_of(subtype);
  for (std::size_t i = 0; i < count; ++i) list += value_text(take(bytes, size), subtype) + ',';
  return text + list.substr(0, list.size() - (list.empty() ? 0 : 1));
}

// Behind an array without elements there is no TAB.
std::string fields_text(std::string_view bytes) {
  std::string text;
  bool is_joined = false;
  while (!bytes.empty()) {
    const bool is_empty_array = bytes.size() >= 8 && bytes[2] == 'B' && int_at(bytes, 4) < 1;
    text += take_field(bytes).substr(is_joined ? 1 : 0);
    is_joined = is_empty_array;
  }
  if (is_joined) text.pop_back();
  return text;
}

// Positions count from 1 in text, in 32 bits.
std::string position(int pos) {
  return std::to_string(static_cast<std::int32_t>(std::int64_t{pos} + 1));
}

// The ops from a place that is computed in 8 bits, within the record less its length word.
std::string cigar_text(std::string_view record) {
  const std::size_t from = 4 + (cigar_at(record) - 4) % 256;
  const std::size_t count = number_at(record, 16, 2);
  std::string text;
  for (std::size_t i = 0; i < count; ++i) {
    const std::uint32_t op = number_at(record, from + 4 * i, 4);
    text += std::to_string(op >> 4) + "MIDNSHP=X???????"[op & 15];
  }
  return count == 0 ? "*" : text;
}

// ---- Selection ---------------------------------------------------------------------------------

struct Selection {
  std::vector<std::size_t> places;
  bool reaches_the_end = true;
};

// Every record is held against the next ordinal that is waited for.
Selection select(std::size_t records, const Ordinals& ordinals) {
  Selection selection;
  for (std::size_t place = 0; place < records && selection.reaches_the_end; ++place) {
    const std::size_t next = selection.places.size();
    if (ordinals.empty() || ordinals[next] == place + 1) selection.places.push_back(place);
    if (!ordinals.empty()) selection.reaches_the_end = selection.places.size() < ordinals.size();
  }
  return selection;
}

ModelText converted(const ModelSource& source, ModelFormat format, const std::string& record) {
  if (format == ModelFormat::kBam) return {record};
  if (format == ModelFormat::kFastq) return {model_fastq(record)};
  if (format == ModelFormat::kFasta) return {model_fasta(record)};
  ModelText line = model_line(source, record);
  line.text += '\n';
  return line;
}

}  // namespace

// ---- Sources -----------------------------------------------------------------------------------

std::string ModelSource::binary_header() const {
  std::string bytes =
      "BAM\1" + little_endian(text.size(), 4) + text + little_endian(refs.size(), 4);
  for (const auto& [name, length] : refs) {
    bytes += little_endian(name.size(), 4) + name + little_endian(length, 4);
  }
  return bytes;
}

std::string ModelSource::text_header() const {
  std::string lines = text;
  while (lines.ends_with('\n') || lines.ends_with('\0')) lines.pop_back();
  return lines + '\n';
}

std::string ModelSource::ref_name(int index) const {
  if (index < 0) return "*";
  const std::string& stored = refs.at(static_cast<std::size_t>(index)).first;
  return stored.substr(0, std::max<std::size_t>(stored.size(), 1) - 1);
}

ModelSource model_bam_source(std::string_view file) {
  const std::string data = decode_bgzf(file);
  ModelSource source;
  std::size_t at = 4;
  const auto take_text = [&] {
    const std::size_t size = number_at(data, at, 4);
    if (size > data.size() - at - 4) throw std::runtime_error("the bytes end early");
    at += 4 + size;
    return data.substr(at - size, size);
  };
  source.text = take_text();
  const std::size_t count = number_at(data, at, 4);
  at += 4;
  for (std::size_t i = 0; i < count; ++i) {
    const std::string name = take_text();
    source.refs.emplace_back(name, number_at(data, at, 4));
    at += 4;
  }
  while (at < data.size()) {
    const std::string block = take_text();
    source.records.push_back(little_endian(block.size(), 4) + block);
  }
  if (!has_end_marker(std::string(file))) source.error = "InvalidBAMFormat";
  return source;
}

// The byte that ends a name in its line is stored with it; there is none without a name.
ModelSource model_sam_source(std::string_view file) {
  const ModelSam sam = model_sam(file);
  ModelSource source;
  source.text = sam.header;
  std::size_t index = 0;
  for (const std::string& line : model_lines(sam.header)) {
    if (!line.starts_with("@SQ")) continue;
    const auto& [name, length] = sam.refs.at(index++);
    const std::size_t end = line.rfind("\tSN:" + name) + 4 + name.size();
    const char last = end < line.size() ? line[end] : '\n';
    source.refs.emplace_back(name.empty() ? name : name + last, length);
  }
  for (const ModelSamLine& line : sam.lines) {
    source.error = line.error;
    if (!line.error.empty()) break;
    source.records.push_back(little_endian(line.record.size(), 4) + line.record);
  }
  return source;
}

DecodedRecord model_fields(std::string_view record) {
  const std::size_t size = tags_at(record);
  return decode_record(little_endian(size - 4, 4) + std::string(record.substr(4, size - 4)));
}

// ---- Texts -------------------------------------------------------------------------------------

ModelText model_line(const ModelSource& source, std::string_view record, bool with_tags) {
  const DecodedRecord r = model_fields(record);
  const bool is_same = r.next_ref_id >= 0 && r.next_ref_id == r.ref_id;
  std::string text = r.name + '\t' + std::to_string(r.flag) + '\t' + source.ref_name(r.ref_id) +
                     '\t' + position(r.pos) + '\t' + std::to_string(r.mapq) + '\t' +
                     cigar_text(record) + '\t' + (is_same ? "=" : source.ref_name(r.next_ref_id)) +
                     '\t' + position(r.next_pos) + '\t' + std::to_string(r.tlen) + '\t' + r.seq +
                     '\t' + r.qual;
  try {
    if (with_tags) text += fields_text(record.substr(tags_at(record)));
    return {text};
  } catch (const WriteError& error) {
    return {"", error.kind + kNotOfTheFile};
  }
}

std::string model_fastq(std::string_view record) {
  const DecodedRecord r = model_fields(record);
  return '@' + r.name + '\n' + r.seq + "\n+\n" + r.qual + '\n';
}

std::string model_fasta(std::string_view record) {
  const DecodedRecord r = model_fields(record);
  return '>' + r.name + '\n' + r.seq + '\n';
}

// ---- Conversions -------------------------------------------------------------------------------

ModelOutput model_conversion(const ModelSource& source, ModelFormat format,
                             const Ordinals& ordinals) {
  ModelOutput output;
  if (format == ModelFormat::kBam) output.content = source.binary_header();
  if (format == ModelFormat::kSamWithHeader) output.content = source.text_header();
  const Selection selection = select(source.records.size(), ordinals);
  for (const std::size_t place : selection.places) {
    const ModelText text = converted(source, format, source.records[place]);
    output.error = text.error;
    if (!text.error.empty()) return output;
    output.content += text.text;
  }
  if (selection.reaches_the_end) output.error = source.error;
  return output;
}

ModelOutput model_subset(const ModelSource& source, const Ordinals& ordinals,
                         std::set<std::string> names) {
  if (!source.error.empty()) return {"", source.error};
  for (const std::string& record : source.records) {
    if (names.count(source.ref_name(int_at(record, 4))) == 0) continue;
    const std::string mate = source.ref_name(int_at(record, 24));
    if (mate != "*" && mate != "=") names.insert(mate);
  }
  ModelSource subset;
  subset.text = source.text;
  std::map<int, int> indexes = {};
  for (std::size_t i = 0; i < source.refs.size(); ++i) {
    if (names.count(source.ref_name(static_cast<int>(i))) == 0) continue;
    indexes[static_cast<int>(i)] = static_cast<int>(subset.refs.size());
    subset.refs.push_back(source.refs[i]);
  }
  for (const std::string& record : source.records) {
    const auto mate = indexes.find(int_at(record, 24));
    const auto own = indexes.find(int_at(record, 4));
    const int ref = own == indexes.end() ? -2 : own->second;  // never selected
    subset.records.push_back(
        with_number(with_number(record, 4, ref), 24, mate == indexes.end() ? -1 : mate->second));
  }
  return model_conversion(subset, ModelFormat::kBam, ordinals);
}

std::vector<Ordinals> model_ordinals(std::size_t records) {
  const auto last = static_cast<unsigned>(records);
  Ordinals every_third;
  for (unsigned ordinal = 3; ordinal <= last; ordinal += 3) every_third.push_back(ordinal);
  std::vector<Ordinals> all = {{0}, {0, 1}, {1}, {1, 1, 2}, {last + 1}, {1, last + 1}};
  if (!every_third.empty()) all.push_back(every_third);
  if (last > 0) all.push_back({last});
  if (last > 1) all.insert(all.end(), {{1, last}, {2, 1}, {last, 1}});
  return all;
}

std::string output_content(ModelFormat format, const std::string& native) {
  const std::string bytes = read_file(native);
  return format == ModelFormat::kBam ? decode_bgzf(bytes) : bytes;
}

}  // namespace readkit
