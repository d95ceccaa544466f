// The page that shows counts of qualities in a browser: the one that `readkit quality --report`
// makes, by the same code.
#pragma once

#include <string>

#include <pybind11/pybind11.h>

namespace readkit::python {

/// The page: `page` is the one without numbers. `settings` has the members of
/// report::ScanSettings; each of `samples` is (name, file, kind, offset, tables), with the tables
/// that report::QualityCounts takes as NumPy arrays. Raises ValueError for others.
std::string quality_page(const std::string& page, const pybind11::dict& settings,
                         const pybind11::list& samples);

}  // namespace readkit::python
