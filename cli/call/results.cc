#include "cli/call/results.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>
#include <vector>

#include "cli/json/json_string.h"

namespace readkit::cli {
namespace {

constexpr int kDoubleDigits = 17;
constexpr int kSingleDigits = 9;
// No number takes more bytes.
constexpr std::size_t kNumberRoom = 32;
constexpr std::string_view kSeparator = ", ";

char* copy(std::string_view text, char* to) { return to + text.copy(to, text.size()); }

template <typename T>
char* format(T value, char* to) {
  if constexpr (std::is_same_v<T, bool>) {
    return copy(value ? "true" : "false", to);
  } else if constexpr (std::is_integral_v<T>) {
    return std::to_chars(to, to + kNumberRoom, value).ptr;
  } else {
    if (std::isnan(value)) return copy(R"("NaN")", to);
    if (std::isinf(value)) return copy(value > 0 ? R"("Infinity")" : R"("-Infinity")", to);
    // Whole numbers, the usual case, have the same digits either way while all of them are shown.
    constexpr bool kSingle = std::is_same_v<T, float>;
    constexpr double kWhole = kSingle ? 1e9 : 1e15;
    if (std::abs(value) < kWhole && value == std::trunc(value) && !std::signbit(value)) {
      return std::to_chars(to, to + kNumberRoom, static_cast<std::int64_t>(value)).ptr;
    }
    return std::to_chars(to, to + kNumberRoom, static_cast<double>(value),
                         std::chars_format::general, kSingle ? kSingleDigits : kDoubleDigits)
        .ptr;
  }
}

class Writer {
 public:
  explicit Writer(Output& out) : out_(out) {}

  void array(const txArray* a);

 private:
  template <typename T>
  void numbers(std::span<const T> values);
  template <typename T>
  void data(const txArray* a) {
    out_.append(R"(, "data": )");
    numbers(host::data_of<T>(a));
  }
  void doubles(const txArray* a);
  void contents(const txArray* a);
  void strings(const txArray* a);
  void cells(const txArray* a);
  void structure(const txArray* a);
  void fields(const txArray* a, const std::vector<std::string>& names, std::size_t index);

  Output& out_;
};

template <typename T>
void Writer::numbers(std::span<const T> values) {
  out_.append('[');
  bool first = true;
  for (const T value : values) {
    char* to = out_.room(kSeparator.size() + kNumberRoom);
    if (!first) to = copy(kSeparator, to);
    first = false;
    out_.advance(format(value, to));
  }
  out_.append(']');
}

void Writer::doubles(const txArray* a) {
  data<double>(a);
  const std::span<const double> imag = host::imaginary_of(a);
  if (!imag.empty()) {
    out_.append(R"(, "imag": )");
    numbers(imag);
  }
}

void Writer::strings(const txArray* a) {
  out_.append(R"(, "data": [)");
  const std::size_t count = txGetNumberOfElements(a);
  for (std::size_t i = 0; i < count; ++i) {
    if (i != 0) out_.append(", ");
    if (const host::OptionalText element = matrix::getString(a, i)) {
      write_json_string(out_, *element);
    } else {
      out_.append("null");
    }
  }
  out_.append(']');
}

void Writer::cells(const txArray* a) {
  out_.append(R"(, "data": [)");
  const std::size_t count = txGetNumberOfElements(a);
  for (std::size_t i = 0; i < count; ++i) {
    if (i != 0) out_.append(", ");
    array(host::cell_of(a, i));
  }
  out_.append(']');
}

void Writer::fields(const txArray* a, const std::vector<std::string>& names, std::size_t index) {
  out_.append('{');
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (i != 0) out_.append(", ");
    write_json_string(out_, names[i]);
    out_.append(": ");
    array(host::field_of(a, names[i], index));
  }
  out_.append('}');
}

void Writer::structure(const txArray* a) {
  const std::vector<std::string> names = host::field_names_of(a);
  if (host::dims_of(a) == host::Dims{1, 1}) {
    out_.append(R"(, "fields": )");
    fields(a, names, 0);
    return;
  }
  out_.append(R"(, "elements": [)");
  const std::size_t count = txGetNumberOfElements(a);
  for (std::size_t i = 0; i < count; ++i) {
    if (i != 0) out_.append(", ");
    fields(a, names, i);
  }
  out_.append(']');
}

void Writer::contents(const txArray* a) {
  switch (txGetClassID(a)) {
    case txDOUBLE_CLASS:
      return doubles(a);
    case txSINGLE_CLASS:
      return data<float>(a);
    case txINT8_CLASS:
      return data<std::int8_t>(a);
    case txUINT8_CLASS:
      return data<std::uint8_t>(a);
    case txINT16_CLASS:
      return data<std::int16_t>(a);
    case txUINT16_CLASS:
      return data<std::uint16_t>(a);
    case txINT32_CLASS:
      return data<std::int32_t>(a);
    case txUINT32_CLASS:
      return data<std::uint32_t>(a);
    case txINT64_CLASS:
      return data<std::int64_t>(a);
    case txUINT64_CLASS:
      return data<std::uint64_t>(a);
    case txLOGICAL_CLASS:
      return data<bool>(a);
    case txCHAR_CLASS: {
      const std::span<const char16_t> units = host::data_of<char16_t>(a);
      out_.append(R"(, "data": )");
      return write_json_string(out_, {units.data(), units.size()});
    }
    case txSTRING_CLASS:
      return strings(a);
    case txCELL_CLASS:
      return cells(a);
    case txSTRUCT_CLASS:
      return structure(a);
    case txUNKNOWN_CLASS:
      break;
  }
}

// An empty cell and a field never set read as the empty array that they stand for.
void Writer::array(const txArray* a) {
  if (a == nullptr) {
    out_.append(R"({"class": "double", "dims": [0, 0], "data": []})");
    return;
  }
  out_.append(R"({"class": ")");
  out_.append(host::class_name(txGetClassID(a)));
  out_.append(R"(", "dims": )");
  numbers(std::span<const std::size_t>(host::dims_of(a)));
  contents(a);
  out_.append('}');
}

}  // namespace

void write_outputs(Output& out, std::span<const host::Owned> outputs) {
  Writer writer(out);
  out.append(R"({"outputs": [)");
  const char* separator = "\n  ";
  for (const host::Owned& output : outputs) {
    out.append(separator);
    separator = ",\n  ";
    if (output) {
      writer.array(output.get());
    } else {
      out.append("null");
    }
  }
  out.append(outputs.empty() ? "]}\n" : "\n]}\n");
}

void write_error(Output& out, const host::HostError& error) {
  out.append(R"({"error": {"identifier": )");
  write_json_string(out, error.identifier());
  out.append(R"(, "arguments": [)");
  bool first = true;
  for (const ErrorArgument& argument : error.arguments()) {
    if (!first) out.append(", ");
    first = false;
    if (const auto* const number = std::get_if<std::int64_t>(&argument)) {
      out.append(std::to_string(*number));
    } else if (const auto* const units = std::get_if<UString>(&argument)) {
      write_json_string(out, *units);
    } else {
      write_json_string(out, std::get<std::string>(argument));
    }
  }
  out.append(R"(], "message": )");
  write_json_string(out, error.text());
  out.append("}}\n");
}

}  // namespace readkit::cli
