#include "python/quality_page.h"

#include <cstdint>
#include <optional>
#include <tuple>
#include <utility>
#include <vector>

#include <pybind11/stl.h>

#include "python/arrays_in.h"
#include "report/counts.h"
#include "report/document.h"
#include "report/page.h"

namespace py = pybind11;

namespace readkit::python {
namespace {

using report::Encoding;
using report::Sample;
using report::ScanSettings;

template <typename T>
void take(const py::dict& settings, const char* name, T& member) {
  member = settings[name].cast<T>();
}

ScanSettings settings_of(const py::dict& given) {
  ScanSettings settings;
  take(given, "min_length", settings.min_length);
  take(given, "min_average", settings.min_average);
  take(given, "from", settings.from);
  take(given, "to", settings.to);
  take(given, "mapped_only", settings.mapped_only);
  take(given, "encoding", settings.encoding);
  return settings;
}

Encoding encoding_of(int offset) {
  Encoding encoding;
  encoding.offset = offset;
  encoding.text = encoding.name();
  return encoding;
}

}  // namespace

std::string quality_page(const std::string& page, const py::dict& settings,
                         const py::list& samples) {
  const ScanSettings read = settings_of(settings);
  report::Json document = report::quality_document(READKIT_VERSION, read);
  for (const py::handle one : samples) {
    const auto [name, file, kind, offset, tables] =
        one.cast<std::tuple<std::string, std::string, std::string, int, std::vector<py::object>>>();
    std::vector<host::Owned> outputs;
    for (const py::object& table : tables) outputs.push_back(to_host(table));
    const report::QualityCounts counts(std::move(outputs));
    document["samples"].push_back(
        report::sample_document(Sample{name, file, kind, encoding_of(offset)}, counts, read));
  }
  return report::quality_page(document, page);
}

}  // namespace readkit::python
