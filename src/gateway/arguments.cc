#include "gateway/arguments.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <utility>

#include "core/errors.h"

namespace readkit {
namespace {

constexpr std::u16string_view kIndexSuffix = u".bai";

bool is_number(const txArray* a) {
  const txClassID class_id = txGetClassID(a);
  return class_id == txLOGICAL_CLASS || (class_id >= txDOUBLE_CLASS && class_id <= txUINT64_CLASS);
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

}  // namespace readkit
