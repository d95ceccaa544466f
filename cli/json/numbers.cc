#include "cli/json/numbers.h"

#include <cmath>
#include <limits>
#include <type_traits>
#include <utility>

namespace readkit::cli {
namespace {

// How a value is quoted in a complaint: cut where it is long.
std::string quoted(const Json& value) {
  constexpr std::size_t kMaxLength = 40;
  if (value.is_array()) return "a list";
  if (value.is_object()) return "an object";
  std::string text = value.dump(-1, ' ', true);
  if (text.size() > kMaxLength) text = text.substr(0, kMaxLength) + "...";
  return text;
}

template <typename T>
Complaint out_of_range(const Json& value) {
  return quoted(value) + " is out of range: " + std::to_string(std::numeric_limits<T>::min()) +
         " to " + std::to_string(std::numeric_limits<T>::max());
}

template <typename T>
Complaint integer(const Json& value, T& number) {
  if (value.is_number_unsigned()) {
    const auto n = value.get<std::uint64_t>();
    if (!std::in_range<T>(n)) return out_of_range<T>(value);
    number = static_cast<T>(n);
  } else if (value.is_number_integer()) {
    const auto n = value.get<std::int64_t>();
    if (!std::in_range<T>(n)) return out_of_range<T>(value);
    number = static_cast<T>(n);
  } else if (value.is_number_float()) {
    // Such as 3.0 or 1e6. Beyond 2^53 the text may have been another integer than its double.
    constexpr double kExact = 9007199254740992.0;
    const auto x = value.get<double>();
    if (std::abs(x) >= kExact) return out_of_range<T>(value);
    if (x != std::trunc(x)) return quoted(value) + " is no integer";
    const auto n = static_cast<std::int64_t>(x);
    if (!std::in_range<T>(n)) return out_of_range<T>(value);
    number = static_cast<T>(n);
  } else {
    return quoted(value) + " is no number";
  }
  return {};
}

Complaint real(const Json& value, double& number) {
  if (value.is_string()) {
    const auto& text = value.get_ref<const std::string&>();
    if (text == "NaN") {
      number = std::numeric_limits<double>::quiet_NaN();
    } else if (text == "Infinity") {
      number = std::numeric_limits<double>::infinity();
    } else if (text == "-Infinity") {
      number = -std::numeric_limits<double>::infinity();
    } else {
      return quoted(value) + R"( is no number; the texts for numbers are "NaN", "Infinity", )" +
             R"("-Infinity")";
    }
  } else if (value.is_number_integer() && !value.is_number_unsigned() &&
             value.get<std::int64_t>() == 0) {
    number = -0.0;  // The only zero that the parser calls signed is "-0".
  } else if (value.is_number()) {
    number = value.get<double>();
  } else {
    return quoted(value) + " is no number";
  }
  return {};
}

Complaint truth(const Json& value, bool& number) {
  if (value.is_boolean()) {
    number = value.get<bool>();
  } else if (value.is_number_unsigned() && value.get<std::uint64_t>() <= 1) {
    number = value.get<std::uint64_t>() == 1;
  } else {
    return quoted(value) + " is none of true, false, 1 and 0";
  }
  return {};
}

}  // namespace

template <typename T>
Complaint number_from_json(const Json& value, T& number) {
  if constexpr (std::is_same_v<T, bool>) {
    return truth(value, number);
  } else if constexpr (std::is_same_v<T, double>) {
    return real(value, number);
  } else if constexpr (std::is_same_v<T, float>) {
    double x = 0;
    if (Complaint complaint = real(value, x); !complaint.empty()) return complaint;
    const auto single = static_cast<float>(x);
    if (std::isinf(single) && !std::isinf(x)) return quoted(value) + " is out of range for single";
    number = single;
    return {};
  } else {
    return integer(value, number);
  }
}

template Complaint number_from_json(const Json&, std::int8_t&);
template Complaint number_from_json(const Json&, std::uint8_t&);
template Complaint number_from_json(const Json&, std::int16_t&);
template Complaint number_from_json(const Json&, std::uint16_t&);
template Complaint number_from_json(const Json&, std::int32_t&);
template Complaint number_from_json(const Json&, std::uint32_t&);
template Complaint number_from_json(const Json&, std::int64_t&);
template Complaint number_from_json(const Json&, std::uint64_t&);
template Complaint number_from_json(const Json&, double&);
template Complaint number_from_json(const Json&, float&);
template Complaint number_from_json(const Json&, bool&);

}  // namespace readkit::cli
