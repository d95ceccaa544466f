#include "gateway/arguments.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <type_traits>
#include <utility>

#include "core/errors.h"

namespace readkit {
namespace {

constexpr std::u16string_view kIndexSuffix = u".bai";

bool is_number(const txArray* a) {
  const txClassID class_id = txGetClassID(a);
  return class_id == txLOGICAL_CLASS || (class_id >= txDOUBLE_CLASS && class_id <= txUINT64_CLASS);
}

std::int64_t to_int64(double number) {
  constexpr double kLimit = 9223372036854775808.0;  // 2^63
  if (std::isnan(number)) return 0;
  if (number >= kLimit) return std::numeric_limits<std::int64_t>::max();
  if (number < -kLimit) return std::numeric_limits<std::int64_t>::min();
  return static_cast<std::int64_t>(number);
}

std::int64_t to_int64(std::uint64_t number) {
  return static_cast<std::int64_t>(
      std::min<std::uint64_t>(number, std::numeric_limits<std::int64_t>::max()));
}

std::int64_t to_int64(std::int64_t number) { return number; }

template <typename T>
std::vector<std::int64_t> int64_list(const txArray* a, std::size_t count) {
  const T* const values = static_cast<const T*>(txGetData(a));
  std::vector<std::int64_t> numbers(count);
  std::transform(values, values + count, numbers.begin(), [](T value) {
    using Wide = std::conditional_t<std::is_floating_point_v<T>, double, std::int64_t>;
    if constexpr (std::is_same_v<T, std::uint64_t>) return to_int64(value);
    return to_int64(Wide(value));
  });
  return numbers;
}

[[noreturn]] void raise_wrong_type(const char* option, const char* expected) {
  throw InvalidInputType(to_ustring(option), to_ustring(expected));
}

}  // namespace

void validate_argcount(UString name, int nrhs, int min_in, int max_in, int nlhs, int max_out) {
  if (nrhs < min_in || nrhs > max_in) throw InvalidArgCount(std::move(name));
  if (nlhs > max_out) throw TooManyOutputs();
}

Path path_argument(const txArray* a) { return Path(matrix::get_ustring(a)); }

Path index_path_argument(const txArray* a) {
  UString name = matrix::get_ustring(a);
  if (name.size() < kIndexSuffix.size()) throw std::out_of_range("basic_string");
  if (!name.ends_with(kIndexSuffix)) name += kIndexSuffix;
  return Path(std::move(name));
}

std::string text_argument(const txArray* a) { return matrix::get_string(a); }

double scalar_argument(const txArray* a, const char* option) {
  if (!is_number(a) || txGetNumberOfElements(a) == 0) raise_wrong_type(option, "double");
  const double number = txGetScalar(a);
  return std::isnan(number) ? 0.0 : number;
}

std::int64_t int64_argument(const txArray* a, const char* option) {
  if (!is_number(a) || txGetNumberOfElements(a) == 0) raise_wrong_type(option, "double");
  return int64_list_argument(a, 1, option).front();
}

std::int32_t int32_argument(const txArray* a, const char* option) {
  return to_int32(scalar_argument(a, option));
}

std::int32_t to_int32(double number) {
  if (std::isnan(number)) return 0;
  constexpr double kLowest = std::numeric_limits<std::int32_t>::min();
  constexpr double kHighest = std::numeric_limits<std::int32_t>::max();
  return static_cast<std::int32_t>(std::clamp(number, kLowest, kHighest));
}

std::span<const std::uint32_t> uint32_list_argument(const txArray* a, const char* option) {
  const std::size_t count = txGetNumberOfElements(a);
  if (count == 0) return {};
  if (txGetElementSize(a) < sizeof(std::uint32_t)) raise_wrong_type(option, "uint32");
  return {static_cast<const std::uint32_t*>(txGetData(a)), count};
}

std::vector<std::int64_t> int64_list_argument(const txArray* a, std::size_t count,
                                              const char* option) {
  switch (txGetClassID(a)) {
    case txLOGICAL_CLASS:
    case txUINT8_CLASS:
      return int64_list<std::uint8_t>(a, count);
    case txINT8_CLASS:
      return int64_list<std::int8_t>(a, count);
    case txINT16_CLASS:
      return int64_list<std::int16_t>(a, count);
    case txUINT16_CLASS:
      return int64_list<std::uint16_t>(a, count);
    case txINT32_CLASS:
      return int64_list<std::int32_t>(a, count);
    case txUINT32_CLASS:
      return int64_list<std::uint32_t>(a, count);
    case txINT64_CLASS:
      return int64_list<std::int64_t>(a, count);
    case txUINT64_CLASS:
      return int64_list<std::uint64_t>(a, count);
    case txSINGLE_CLASS:
      return int64_list<float>(a, count);
    case txDOUBLE_CLASS:
      return int64_list<double>(a, count);
    default:
      raise_wrong_type(option, "int64");
  }
}

}  // namespace readkit
