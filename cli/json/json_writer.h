// A JSON document, written as it comes: nothing of it is kept.
//
//   JsonWriter json(out);
//   json.begin_object();
//   json.member("file", "reads.bam");
//   json.key("counts");
//   json.begin_array();
//   json.value(3);
//   json.end_array();
//   json.end_object();
//
// Members of objects have lines of their own, and so have elements that are objects or lists;
// numbers and texts of a list share a line. Texts that are not UTF-8 come out as in json_string.h.
#pragma once

#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "cli/terminal/output.h"

namespace readkit::cli {

class JsonWriter {
 public:
  /// `out` must outlive the writer.
  explicit JsonWriter(Output& out) : out_(out) {}

  void begin_object() { begin('{'); }
  void end_object() { end('}'); }
  void begin_array() { begin('['); }
  void end_array() { end(']'); }
  /// REQUIRES: an object is open, and the next call gives the value.
  void key(std::string_view name);

  void value(std::string_view text);
  void value(const char* text) { value(std::string_view(text)); }
  void value(const std::string& text) { value(std::string_view(text)); }
  void value(bool truth) { raw(truth ? "true" : "false"); }
  void value(double number);
  template <std::integral T>
  void value(T number) {
    raw(std::to_string(number));
  }
  void null() { raw("null"); }

  template <typename T>
  void member(std::string_view name, const T& what) {
    key(name);
    value(what);
  }

 private:
  struct Level {
    bool empty = true;
    bool on_lines = false;  // has an element on a line of its own
  };
  void begin(char bracket);
  void end(char bracket);
  void raw(std::string_view text);
  void before_value(bool container);
  void new_line();

  Output& out_;
  std::vector<Level> levels_;
  bool after_key_ = false;
};

}  // namespace readkit::cli
