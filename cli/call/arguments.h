// From JSON to host arrays: the inputs of a call, as its user writes them.
//
//   "reads.bam"        a character row vector        null       an empty double array
//   3.5                a double scalar               ["a", "b"] a cell column of such vectors
//   true               a logical scalar
//
// Everything else is spelled out, column by column:
//
//   {"class": "uint32", "dims": [3, 1], "data": [1, 2, 3]}
//
//   class     data                                               without "dims"
//   numeric   numbers; for double and single also "NaN",         a column
//             "Infinity", "-Infinity"
//   logical   true and false, or 1 and 0                         a column
//   char      one string                                         a row
//   string    strings, or null for a missing one                 a column
//   cell      elements in any of these forms                     a column
//   struct    instead of data, "fields": {name: value} for 1-by-1, or "elements": a list of such
//             objects with the same names
//
// A double array takes a list "imag" as long as its data: then it is complex.
#pragma once

#include <string>
#include <vector>

#include "host/array.h"

namespace readkit::cli {

/// The arrays of a JSON list. Raises UsageError, which names the argument (from 1 on) and the place
/// in it, for everything that is not as above.
std::vector<host::Owned> arguments_from_json(std::string json);

}  // namespace readkit::cli
