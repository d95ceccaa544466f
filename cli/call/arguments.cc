#include "cli/call/arguments.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "cli/call/spelled_out.h"
#include "cli/json/json_text.h"
#include "cli/json/numbers.h"
#include "cli/terminal/usage_error.h"

namespace readkit::cli {
namespace {

using host::Dims;
using host::Owned;

constexpr int kMaxDepth = 100;
constexpr char kOtherFields[] = "all elements must have the same fields";

// What an array of T is filled from: vectors of bool have no data block.
template <typename T>
struct StoredAs {
  using Type = T;
};
template <>
struct StoredAs<bool> {
  using Type = std::uint8_t;
};

class Reader {
 public:
  explicit Reader(const ShieldedJson& json) : json_(json) {}

  Owned read(const Json& value, const Place& place) const {
    if (place.depth > kMaxDepth) {
      fail(place.outermost(),
           "more than " + std::to_string(kMaxDepth) + " arrays lie within each other");
    }
    switch (value.type()) {
      case Json::value_t::string:
        return host::make_text(units(value));
      case Json::value_t::boolean:
        return host::make_scalar(value.get<bool>());
      case Json::value_t::null:
        return host::make_array(Dims{0, 0}, std::span<const double>());
      case Json::value_t::array:
        return texts(value, place);
      case Json::value_t::object:
        return spelled_out(SpelledOut(value, place));
      default: {
        double number = 0;
        const Complaint complaint = number_from_json(value, number);
        if (!complaint.empty()) fail(place, complaint);
        return host::make_scalar(number);
      }
    }
  }

 private:
  std::u16string units(const Json& value) const {
    return json_.units_of(value.get_ref<const std::string&>());
  }

  Owned texts(const Json& list, const Place& place) const {
    std::vector<Owned> cells;
    cells.reserve(list.size());
    for (const Json& text : list) {
      if (!text.is_string()) {
        fail(place.element(cells.size()),
             "a plain list holds strings only; spell out everything else: "
             R"({"class": ..., "dims": [...], "data": [...]})");
      }
      cells.push_back(host::make_text(units(text)));
    }
    const Dims dims{cells.size(), 1};
    return host::make_cell(dims, std::move(cells));
  }

  Owned spelled_out(const SpelledOut& it) const {
    using Read = Owned (Reader::*)(const SpelledOut&) const;
    static constexpr std::pair<std::string_view, Read> kClasses[] = {
        {"double", &Reader::numbers<double>},
        {"single", &Reader::numbers<float>},
        {"int8", &Reader::numbers<std::int8_t>},
        {"uint8", &Reader::numbers<std::uint8_t>},
        {"int16", &Reader::numbers<std::int16_t>},
        {"uint16", &Reader::numbers<std::uint16_t>},
        {"int32", &Reader::numbers<std::int32_t>},
        {"uint32", &Reader::numbers<std::uint32_t>},
        {"int64", &Reader::numbers<std::int64_t>},
        {"uint64", &Reader::numbers<std::uint64_t>},
        {"logical", &Reader::numbers<bool>},
        {"char", &Reader::characters},
        {"string", &Reader::strings},
        {"cell", &Reader::cells},
        {"struct", &Reader::structure},
    };
    std::string known;
    for (const auto& [name, read_class] : kClasses) {
      if (it.class_name() == name) {
        if (name != "struct") it.refuse_fields_and_elements();
        return (this->*read_class)(it);
      }
      known += (known.empty() ? "" : ", ") + std::string(name);
    }
    fail(it.place(), "unknown class '" + it.class_name() + "'; the classes are " + known);
  }

  template <typename T>
  std::vector<typename StoredAs<T>::Type> values(const SpelledOut& it, const Json& list) const {
    std::vector<typename StoredAs<T>::Type> numbers;
    numbers.reserve(list.size());
    for (const Json& entry : list) {
      T number{};
      const Complaint complaint = number_from_json(entry, number);
      if (!complaint.empty()) fail(it.place().element(numbers.size()), complaint);
      numbers.push_back(number);
    }
    return numbers;
  }

  template <typename T>
  Owned numbers(const SpelledOut& it) const {
    const auto data = values<T>(it, it.list());
    const Dims dims = it.dims(data.size(), {data.size(), 1});
    if (it.imag() == nullptr) {
      return host::make_from_bytes(dims, host::class_id_of<T>(), data.data(), data.size());
    }
    const std::vector<double> imag = values<double>(it, *it.imag());
    const std::vector<double> real(data.begin(), data.end());
    if (imag.size() != real.size()) fail(it.place(), "'imag' must be as long as 'data'");
    return host::make_complex(dims, real, imag);
  }

  Owned characters(const SpelledOut& it) const {
    const std::u16string units = json_.units_of(it.text());
    const Dims dims = it.dims(units.size(), {1, units.size()});
    return host::make_array(dims, std::span<const char16_t>(units));
  }

  Owned strings(const SpelledOut& it) const {
    std::vector<host::OptionalText> texts;
    texts.reserve(it.list().size());
    for (const Json& entry : it.list()) {
      if (entry.is_null()) {
        texts.emplace_back();
      } else if (entry.is_string()) {
        texts.emplace_back(units(entry));
      } else {
        fail(it.place().element(texts.size()), "must be a string, or null for a missing one");
      }
    }
    const Dims dims = it.dims(texts.size(), {texts.size(), 1});
    return host::make_string_array(dims, std::move(texts));
  }

  Owned cells(const SpelledOut& it) const {
    std::vector<Owned> cells;
    cells.reserve(it.list().size());
    for (const Json& entry : it.list()) {
      cells.push_back(read(entry, it.place().element(cells.size())));
    }
    const Dims dims = it.dims(cells.size(), {cells.size(), 1});
    return host::make_cell(dims, std::move(cells));
  }

  Owned structure(const SpelledOut& it) const {
    it.require_fields_or_elements();
    std::vector<const Json*> elements;
    if (it.fields() != nullptr) {
      elements.push_back(it.fields());
    } else {
      for (const Json& element : it.elements()) elements.push_back(&element);
    }
    const Dims dims = it.dims(elements.size(), {elements.size(), 1});
    std::vector<std::string> names;
    for (const Json* const element : elements) {
      if (!element->is_object()) fail(it.place(), "the fields of a structure must be an object");
      if (element != elements.front()) continue;
      for (const auto& field : element->items()) names.push_back(field.key());
    }
    Owned structure = host::make_struct_array(dims, names);
    for (std::size_t i = 0; i < elements.size(); ++i) {
      const Place place = it.fields() != nullptr ? it.place() : it.place().element(i);
      if (elements[i]->size() != names.size()) fail(place, kOtherFields);
      for (const std::string& name : names) {
        const Json* const field = find(*elements[i], name);
        if (field == nullptr) fail(place, kOtherFields);
        host::set_field(structure.get(), i, name, read(*field, place.field(name)));
      }
    }
    return structure;
  }

  const ShieldedJson& json_;
};

Json parse(const std::string& text) {
  try {
    return Json::parse(text);
  } catch (const Json::exception& e) {
    // "[json.exception.parse_error.101] parse error at line 1, column 2: ..."
    const std::string what = e.what();
    const std::size_t start = what.find("] ");
    throw UsageError("the arguments are no JSON: " +
                     (start == std::string::npos ? what : what.substr(start + 2)));
  }
}

}  // namespace

std::vector<Owned> arguments_from_json(std::string json) {
  const ShieldedJson shielded(std::move(json));
  const Json list = parse(shielded.text());
  if (!list.is_array()) throw UsageError("the arguments must be a JSON list: [...]");
  const Reader reader(shielded);
  std::vector<Owned> arguments;
  arguments.reserve(list.size());
  for (const Json& value : list) {
    const Place place{nullptr, "argument", arguments.size() + 1, {}, 0};
    try {
      arguments.push_back(reader.read(value, place));
    } catch (const std::length_error&) {
      fail(place, "no array can have these dimensions");
    }
  }
  return arguments;
}

}  // namespace readkit::cli
