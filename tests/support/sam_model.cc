#include "support/sam_model.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "support/bgzf_builder.h"
#include "support/reference_decoder.h"

namespace readkit {
namespace {

// ---- Header ------------------------------------------------------------------------------------

// The length of a field is never less than that of the field before it, unless the line ends.
std::pair<std::string, std::uint32_t> model_reference(const std::string& line) {
  std::pair<std::string, std::uint32_t> reference;
  std::size_t length = 0;
  for (std::size_t start = 4; start < line.size(); start += length + 1) {
    const std::size_t tab = line.find('\t', start + length);
    length = std::min(tab, line.size()) - start;
    const std::string field = line.substr(start, length);
    if (field.starts_with("SN:")) reference.first = field.substr(3);
    if (field.starts_with("LN:")) {
      const std::string digits = field.substr(3, field.find_first_not_of("0123456789", 3) - 3);
      reference.second = static_cast<std::uint32_t>(std::strtoull(digits.c_str(), nullptr, 10));
    }
  }
  return reference;
}

bool has_content(const std::string& line) { return !line.empty() && line != "\r"; }

// Takes the header off the lines of a file.
std::string take_header(std::vector<std::string>& lines) {
  const auto first = std::find_if_not(lines.begin(), lines.end(),
                                      [](const auto& line) { return line.starts_with("@"); });
  std::string header;
  for (auto line = lines.begin(); line != first; ++line) header += *line + '\n';
  lines.erase(lines.begin(), first);
  return header;
}

// ---- Numbers -----------------------------------------------------------------------------------

std::uint64_t number(const std::string& field) {
  return static_cast<std::uint64_t>(std::strtol(field.c_str(), nullptr, 10));
}

std::string float_bytes(float value) {
  std::string bytes(4, '\0');
  std::memcpy(bytes.data(), &value, 4);
  return bytes;
}

// ---- Optional fields ---------------------------------------------------------------------------

struct LineError {
  std::string error;
};

long first_number(const std::string& text, int base = 10) {
  char* end = nullptr;
  const long value = std::strtol(text.c_str(), &end, base);
  if (end == text.c_str()) throw LineError{kNoNumber};
  return value;
}

float first_float(const std::string& text) {
  char* end = nullptr;
  const float value = std::strtof(text.c_str(), &end);
  if (end == text.c_str()) throw LineError{kNoFloat};
  return value;
}

// Every pair of digits is a byte, at every second place of as many bytes as there are pairs.
std::string hex_bytes(const std::string& digits) {
  const std::size_t pairs = (digits.size() + 1) / 2;
  std::string bytes(2 * pairs, '\0');
  for (std::size_t k = 0; k < pairs; ++k) {
    bytes[2 * k] = static_cast<char>(first_number(digits.substr(2 * k, 2), 16));
  }
  return bytes.substr(0, pairs);
}

// Every element is the first number of the text that follows the subtype letter.
std::string array_bytes(const std::string& value) {
  const char subtype = value.empty() ? '\0' : value[0];
  const std::string text = value.empty() ? "" : value.substr(1);
  const auto count = static_cast<std::uint64_t>(std::count(text.begin(), text.end(), ',')) + 1;
  std::string bytes = subtype + little_endian(count, 4);
  for (std::uint64_t i = 0; i < count; ++i) {
    if (subtype == 'f') {
      bytes += float_bytes(first_float(text));
      continue;
    }
    const auto element = static_cast<std::uint64_t>(first_number(text));
    if (subtype == 'c' || subtype == 'C') bytes += little_endian(element, 1);
    if (subtype == 's' || subtype == 'S') bytes += little_endian(element, 2);
    if (subtype == 'i' || subtype == 'I') bytes += little_endian(element, 4);
  }
  return bytes;
}

std::string value_bytes(char type, const std::string& value) {
  if (type == 'A' && value.empty()) throw LineError{kInvalidLine};
  if (type == 'A') return value.substr(0, 1);
  if (type == 'i') return little_endian(number(value), 4);
  if (type == 'f') return float_bytes(std::strtof(value.c_str(), nullptr));
  if (type == 'Z') return value + '\0';
  if (type == 'H') return hex_bytes(value);
  if (type == 'B') return array_bytes(value);
  return {};
}

std::string tag_bytes(const std::string& field) {
  if (field.empty()) return {};
  if (field.size() < 5) throw LineError{kInvalidLine};
  return field.substr(0, 2) + field[3] + value_bytes(field[3], field.substr(5));
}

// ---- Record ------------------------------------------------------------------------------------

struct Cigar {
  std::uint64_t count = 0;
  long span = 0;
  std::string bytes;
};

Cigar cigar_of(const std::string& field) {
  Cigar cigar;
  if (field == "*") return cigar;
  const std::string letters = "MIDNSHP=X";
  for (const char* at = field.c_str(); at != field.c_str() + field.size();) {
    char* letter = nullptr;
    const long length = std::strtol(at, &letter, 10);
    if (letter == field.c_str() + field.size()) throw LineError{kCigarEndsInDigits};
    const std::size_t code = letters.find(*letter);
    if (code == std::string::npos || cigar.count == 65535) throw LineError{kInvalidLine};
    cigar.bytes += little_endian(static_cast<std::uint64_t>(length) << 4 | code, 4);
    ++cigar.count;
    if (std::string("MDN=X").find(*letter) != std::string::npos) cigar.span += length;
    at = letter + 1;
  }
  return cigar;
}

std::string bases_of(const std::string& letters) {
  std::string bytes((letters.size() + 1) / 2, '\0');
  for (std::size_t i = 0; i < letters.size(); ++i) {
    const std::size_t code = std::string("=ACMGRSVTWYHKDBN").find(letters[i]);
    if (code == std::string::npos) throw LineError{kInvalidLine};
    const auto half = static_cast<unsigned>(i % 2 == 0 ? code << 4 : code);
    bytes[i / 2] = static_cast<char>(static_cast<unsigned char>(bytes[i / 2]) | half);
  }
  return bytes;
}

// Qualities are read from the field on to the end of the line, and past it there are none.
std::string qualities_of(const std::string& field, const std::string& rest, std::size_t count,
                         bool is_last) {
  if (field == "*" && !is_last) return std::string(count, '\xff');
  std::string bytes = rest.substr(0, count);
  for (char& letter : bytes) letter = static_cast<char>(letter - 33);
  bytes.resize(count, '\xff');
  return bytes;
}

std::string record_bytes(const std::string& line, const std::map<std::string, int>& indexes) {
  std::size_t at = 0;
  const auto next = [&] {
    const std::size_t tab = line.find('\t', at);
    if (tab == std::string::npos) throw LineError{kInvalidLine};
    std::string field = line.substr(at, tab - at);
    at = tab + 1;
    return field;
  };
  const auto index = [&](const std::string& name, int otherwise) {
    return indexes.count(name) != 0 ? indexes.at(name) : otherwise;
  };
  const std::string name = next();
  if (name.size() > 254) throw LineError{kInvalidLine};
  const std::uint64_t flag = number(next());
  const int ref = index(next(), -1);
  const auto pos = static_cast<std::int32_t>(number(next()) - 1);
  const std::uint64_t mapq = number(next());
  const Cigar cigar = cigar_of(next());
  const std::string mate = next();
  const int mate_ref = index(mate, mate == "=" ? ref : -1);
  const std::uint64_t mate_pos = number(next()) - 1;
  const std::uint64_t tlen = number(next());
  std::string letters = next();
  letters.resize(letters.size() % 256);
  const std::string bases = bases_of(letters);

  const std::string rest = line.substr(at);
  const std::size_t tab = rest.find('\t');
  const bool is_last = tab == std::string::npos;
  std::string tail = bases + qualities_of(rest.substr(0, tab), rest, letters.size(), is_last);
  for (std::size_t start = tab; start != std::string::npos;) {
    const std::size_t end = rest.find('\t', start + 1);
    tail += tag_bytes(rest.substr(start + 1, end == std::string::npos ? end : end - start - 1));
    start = end;
  }
  const int bin = slow_bin(pos, pos + cigar.span);
  return little_endian(static_cast<std::uint64_t>(ref), 4) +
         little_endian(static_cast<std::uint64_t>(pos), 4) + little_endian(name.size() + 1, 1) +
         little_endian(mapq, 1) + little_endian(static_cast<std::uint64_t>(bin), 2) +
         little_endian(cigar.count, 2) + little_endian(flag, 2) + little_endian(letters.size(), 4) +
         little_endian(static_cast<std::uint64_t>(mate_ref), 4) + little_endian(mate_pos, 4) +
         little_endian(tlen, 4) + name + '\0' + cigar.bytes + tail;
}

}  // namespace

std::vector<std::string> model_lines(std::string_view text) {
  std::vector<std::string> lines;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    lines.emplace_back(text.substr(at, end - at));
    at = end + 1;
  }
  return lines;
}

ModelSamLine model_sam_line(const std::string& text, const std::map<std::string, int>& indexes) {
  try {
    return {text, record_bytes(text, indexes), ""};
  } catch (const LineError& failure) {
    return {text, "", failure.error};
  }
}

ModelSam model_sam(std::string_view file) {
  ModelSam sam;
  std::vector<std::string> lines = model_lines(file);
  sam.header = take_header(lines);
  for (const std::string& line : model_lines(sam.header)) {
    if (!line.starts_with("@SQ")) continue;
    sam.refs.push_back(model_reference(line));
    sam.indexes[sam.refs.back().first] = static_cast<int>(sam.refs.size()) - 1;
  }
  for (std::string& line : lines) {
    if (!has_content(line)) continue;
    if (line.ends_with('\r')) line.pop_back();
    sam.lines.push_back(model_sam_line(line, sam.indexes));
  }
  return sam;
}

ModelSamInfo model_sam_info(std::string_view file, int requested) {
  ModelSamInfo info;
  std::vector<std::string> lines = model_lines(file);
  take_header(lines);
  std::size_t current = 0;
  unsigned last = 0;
  for (const std::string& line : lines) {
    std::string word(line.size() + 1, '\0');
    unsigned position = 0;
    // The word has as much room as the whole line.
    // NOLINTNEXTLINE(cert-err34-c)
    const int taken = std::sscanf(line.c_str(), "%*s%*d%s%u", word.data(), &position);
    if (taken != 2) continue;
    const std::string name = word.c_str();
    auto found = std::find(info.names.begin(), info.names.end(), name);
    if (found == info.names.end()) {
      info.counts.push_back(0);
      found = info.names.insert(found, name);
    }
    const auto index = static_cast<std::size_t>(found - info.names.begin());
    ++info.counts[index];
    const bool is_earlier = index < current || (index == current && index > 0 && position < last);
    if (is_earlier) {
      info.sorted = false;
      if (requested <= 1) break;
      continue;
    }
    current = index;
    last = position;
  }
  return info;
}

}  // namespace readkit
