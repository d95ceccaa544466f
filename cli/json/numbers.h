// One number from JSON to the type that an array stores, exactly or not at all.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

namespace readkit::cli {

/// JSON values; objects keep the order of their names.
using Json = nlohmann::ordered_json;

/// What is wrong with a number; empty when nothing is.
using Complaint = std::string;

/// Converts `value` for an array with elements of type T: the integer types, `double`, `float`, or
/// `bool`. Returns a complaint and leaves `number` alone when it is no such number.
template <typename T>
Complaint number_from_json(const Json& value, T& number);

extern template Complaint number_from_json(const Json&, std::int8_t&);
extern template Complaint number_from_json(const Json&, std::uint8_t&);
extern template Complaint number_from_json(const Json&, std::int16_t&);
extern template Complaint number_from_json(const Json&, std::uint16_t&);
extern template Complaint number_from_json(const Json&, std::int32_t&);
extern template Complaint number_from_json(const Json&, std::uint32_t&);
extern template Complaint number_from_json(const Json&, std::int64_t&);
extern template Complaint number_from_json(const Json&, std::uint64_t&);
extern template Complaint number_from_json(const Json&, double&);
extern template Complaint number_from_json(const Json&, float&);
extern template Complaint number_from_json(const Json&, bool&);

}  // namespace readkit::cli
