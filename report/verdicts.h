// What the numbers of a sample mean: pass, warn or fail, each with the limits that decide.
#pragma once

#include <string>

#include <nlohmann/json.hpp>

namespace readkit::report {

/// The list "verdicts" of a sample's document, which has everything else by then. One that the
/// sample has too few reads for is left out.
nlohmann::ordered_json verdicts_of(const nlohmann::ordered_json& sample);

/// For users: a number, 12.0 as "12"; a verdict's value with its unit, and the limits that it was
/// held against.
std::string number_text(const nlohmann::ordered_json& number);
std::string value_text(const nlohmann::ordered_json& verdict);
std::string limits_text(const nlohmann::ordered_json& verdict);

/// "pass", "warn" or "fail": the worst of these verdicts.
const char* worst_status(const nlohmann::ordered_json& verdicts);

}  // namespace readkit::report
