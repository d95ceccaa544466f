// One value of the arguments in spelled-out form, and where in the arguments it stands.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "cli/json/numbers.h"
#include "host/array.h"

namespace readkit::cli {

/// Where in the arguments a value stands: a chain from the value outwards, as deep as arrays lie
/// within each other. Places live on the stack of whoever walks through the arguments.
struct Place {
  const Place* outer;
  const char* kind;  ///< "argument", "element", "field"
  std::size_t number;
  std::string_view name;
  int depth;

  Place element(std::size_t index) const { return {this, "element", index + 1, {}, depth + 1}; }
  Place field(std::string_view field_name) const {
    return {this, "field", 0, field_name, depth + 1};
  }
  const Place& outermost() const { return outer == nullptr ? *this : outer->outermost(); }
  /// For example "argument 2, element 3, field 'name'".
  std::string text() const;
};

/// Raises UsageError with the place and the complaint.
[[noreturn]] void fail(const Place& place, const std::string& complaint);

/// The value of a name in an object, or null.
const Json* find(const Json& object, const std::string& name);

/// An object {"class": ..., "dims": ..., "data": ...}, looked at from outside: what its names hold,
/// and in which shape. What it gives lives as long as the object and the place. Everything raises
/// UsageError when the object is not as it should be.
class SpelledOut {
 public:
  SpelledOut(const Json& object, const Place& place);

  const Place& place() const { return place_; }
  const std::string& class_name() const { return class_name_; }
  /// The list under "data", or the one string.
  const Json& list() const { return list(data_, "data"); }
  const std::string& text() const;
  /// The list under "imag"; null when there is none.
  const Json* imag() const { return imag_ == nullptr ? nullptr : &list(imag_, "imag"); }
  /// What a structure has: the value under "fields" or else the list under "elements".
  const Json* fields() const { return fields_; }
  const Json& elements() const { return list(elements_, "elements"); }

  /// For structures, which have one of the two and no data; and for everything else.
  void require_fields_or_elements() const;
  void refuse_fields_and_elements() const;

  /// The dimensions under "dims", which must call for `count` elements; `otherwise` without them.
  host::Dims dims(std::size_t count, host::Dims otherwise) const;

 private:
  const Json& list(const Json* value, const char* name) const;

  const Place& place_;
  std::string class_name_;
  const Json* dims_;
  const Json* data_;
  const Json* imag_;
  const Json* fields_;
  const Json* elements_;
};

}  // namespace readkit::cli
