// A JSON value that was made in memory, written into a document.
#pragma once

#include <nlohmann/json.hpp>

#include "cli/json/json_writer.h"

namespace readkit::cli {

/// Writes `value` where a value is expected.
void write_value(JsonWriter& json, const nlohmann::ordered_json& value);

}  // namespace readkit::cli
