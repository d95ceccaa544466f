// Fields of the records of one reference, found through an index.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "cli/job/input.h"
#include "cli/job/query_index.h"
#include "host/array.h"

namespace readkit::cli {

class Job;

/// The names of the fields that records have here.
const std::vector<std::string>& record_fields();
/// Whether a field is a text; the others are numbers.
bool is_text_field(const std::string& field);

/// A field of some records: numbers as they are shown, positions from 1 on and ends inclusive.
class Column {
 public:
  Column(const std::string& field, const txArray* array);

  bool is_text() const { return is_text_; }
  const std::string& text(std::size_t row) const { return texts_[row]; }
  std::uint32_t number(std::size_t row) const { return static_cast<std::uint32_t>(numbers_[row]); }

 private:
  bool is_text_;
  std::vector<std::string> texts_;
  std::vector<double> numbers_;
};

/// Some records, a column for each field.
struct Rows {
  std::size_t size = 0;
  std::vector<Column> columns;
};

class ReferenceRecords {
 public:
  /// Looks up where all records of a reference begin. Raises Failure when they are not in
  /// coordinate order. The arguments must outlive this.
  ReferenceRecords(Job& job, const Input& input, std::size_t reference, const QueryIndex& index);

  std::size_t count() const { return starts_.size(); }
  /// Fields of the records with these numbers, from 1 on and ascending. Raises Failure when the
  /// index leads to other records.
  Rows batch(const std::vector<std::string>& fields, std::span<const std::uint32_t> ordinals) const;

 private:
  Job& job_;
  const Input& input_;
  std::size_t reference_;
  const QueryIndex& index_;
  std::vector<std::uint32_t> starts_;  // from 0 on
};

}  // namespace readkit::cli
