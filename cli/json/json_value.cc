#include "cli/json/json_value.h"

#include <cstdint>
#include <string>

namespace readkit::cli {

void write_value(JsonWriter& json, const nlohmann::ordered_json& value) {
  if (value.is_object()) {
    json.begin_object();
    for (const auto& [name, member] : value.items()) {
      json.key(name);
      write_value(json, member);
    }
    json.end_object();
  } else if (value.is_array()) {
    json.begin_array();
    for (const auto& element : value) write_value(json, element);
    json.end_array();
  } else if (value.is_string()) {
    json.value(value.get_ref<const std::string&>());
  } else if (value.is_boolean()) {
    json.value(value.get<bool>());
  } else if (value.is_number_unsigned()) {
    json.value(value.get<std::uint64_t>());
  } else if (value.is_number_integer()) {
    json.value(value.get<std::int64_t>());
  } else if (value.is_number()) {
    json.value(value.get<double>());
  } else {
    json.null();
  }
}

}  // namespace readkit::cli
