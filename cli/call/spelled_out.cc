#include "cli/call/spelled_out.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <optional>

#include "cli/terminal/usage_error.h"

namespace readkit::cli {
namespace {

constexpr std::size_t kMaxDims = 32;
constexpr std::array<std::string_view, 6> kNames = {"class", "dims",   "data",
                                                    "imag",  "fields", "elements"};

// The number of elements that dimensions call for; nothing when no number is large enough.
std::optional<std::size_t> product(const host::Dims& dims) {
  bool overflow = false;
  std::size_t count = 1;
  for (const std::size_t size : dims) {
    if (size == 0) return 0;
    overflow = overflow || count > std::numeric_limits<std::size_t>::max() / size;
    count *= size;
  }
  return overflow ? std::nullopt : std::optional(count);
}

}  // namespace

std::string Place::text() const {
  const std::string here = std::string(kind) + " " +
                           (name.empty() ? std::to_string(number) : "'" + std::string(name) + "'");
  return outer == nullptr ? here : outer->text() + ", " + here;
}

void fail(const Place& place, const std::string& complaint) {
  throw UsageError(place.text() + ": " + complaint);
}

const Json* find(const Json& object, const std::string& name) {
  const auto found = object.find(name);
  return found == object.end() ? nullptr : &*found;
}

SpelledOut::SpelledOut(const Json& object, const Place& place)
    : place_(place),
      dims_(find(object, "dims")),
      data_(find(object, "data")),
      imag_(find(object, "imag")),
      fields_(find(object, "fields")),
      elements_(find(object, "elements")) {
  for (const auto& item : object.items()) {
    if (std::find(kNames.begin(), kNames.end(), item.key()) == kNames.end()) {
      fail(place, "unknown name '" + item.key() + "'");
    }
  }
  const Json* const class_name = find(object, "class");
  if (class_name == nullptr || !class_name->is_string()) {
    fail(place, "'class' is missing or no text");
  }
  class_name_ = class_name->get<std::string>();
  if (imag_ != nullptr && class_name_ != "double") fail(place, "only double takes 'imag'");
}

const std::string& SpelledOut::text() const {
  if (data_ == nullptr) fail(place_, "'data' is missing");
  if (!data_->is_string()) fail(place_, "'data' of class char must be one string");
  return data_->get_ref<const std::string&>();
}

const Json& SpelledOut::list(const Json* value, const char* name) const {
  if (value == nullptr) fail(place_, std::string("'") + name + "' is missing");
  if (!value->is_array()) fail(place_, std::string("'") + name + "' must be a list");
  return *value;
}

void SpelledOut::require_fields_or_elements() const {
  if ((fields_ == nullptr) == (elements_ == nullptr) || data_ != nullptr) {
    fail(place_, "a structure has either 'fields' or 'elements', and no 'data'");
  }
}

void SpelledOut::refuse_fields_and_elements() const {
  if (fields_ != nullptr || elements_ != nullptr) {
    fail(place_, "only a structure has 'fields' or 'elements'");
  }
}

host::Dims SpelledOut::dims(std::size_t count, host::Dims otherwise) const {
  if (dims_ == nullptr) return otherwise;
  if (!dims_->is_array() || dims_->size() < 2 || dims_->size() > kMaxDims) {
    fail(place_, "'dims' must be a list of 2 to " + std::to_string(kMaxDims) + " numbers");
  }
  host::Dims dims;
  dims.reserve(dims_->size());
  for (const Json& entry : *dims_) {
    std::uint64_t size = 0;
    const Complaint complaint = number_from_json(entry, size);
    if (!complaint.empty()) fail(place_, "'dims': " + complaint);
    dims.push_back(size);
  }
  if (const std::optional<std::size_t> wanted = product(dims); wanted != count) {
    fail(place_, "'dims' call for " + (wanted ? std::to_string(*wanted) : "too many") +
                     " elements, but there are " + std::to_string(count));
  }
  return dims;
}

}  // namespace readkit::cli
