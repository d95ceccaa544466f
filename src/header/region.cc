// Region strings: name:begin-end.
#include <string>

#include "core/errors.h"
#include "header/bam_header.h"

namespace readkit {
namespace {

std::string without_commas(std::string text) {
  std::erase(text, ',');
  return text;
}

}  // namespace

bool BamHeader::parse_region(const std::string& region, int* ref_id, int* beg, int* end) const {
  const std::size_t colon = region.find(':');
  if (colon == std::string::npos) throw InvalidRegion(to_ustring(region));
  *ref_id = get_ref_id(std::string_view(region).substr(0, colon));
  const std::size_t dash = region.find('-', colon + 1);
  if (dash == std::string::npos) throw InvalidRegion(to_ustring(region));
  const int first = std::stoi(without_commas(region.substr(colon + 1, dash - colon - 1)));
  *beg = first - 1;  // no text without a dash is below 0
  *end = std::stoi(without_commas(region.substr(dash + 1)));
  return true;
}

}  // namespace readkit
