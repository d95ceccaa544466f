#include "support/samtools_lines.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <vector>

#include "support/samtools.h"

namespace readkit {
namespace {

using Lines = std::vector<std::string>;

// samtools prints floats as short as "%g" makes them, the library with six decimals.
bool are_near(double theirs, double ours) {
  if (std::isnan(theirs) || std::isinf(theirs)) return std::isnan(ours) || theirs == ours;
  return std::fabs(theirs - ours) <= 5.1e-7 + 1e-5 * std::fabs(theirs);
}
bool are_near_lists(const std::string& theirs, const std::string& ours) {
  const char* a = theirs.c_str();
  const char* b = ours.c_str();
  while (true) {
    char* a_end = nullptr;
    char* b_end = nullptr;
    if (!are_near(std::strtod(a, &a_end), std::strtod(b, &b_end))) return false;
    if (a_end == a || b_end == b || *a_end != *b_end) return false;
    if (*a_end == '\0') return true;
    a = a_end + 1;
    b = b_end + 1;
  }
}

// Where the library's text is another than samtools', by rule. A rule is given a field of samtools'
// line and the library's one at its place and says whether it makes them equal.
struct Rule {
  const char* name;
  std::function<bool(const std::string& theirs, const std::string& ours)> explains;
};
const std::vector<Rule>& rules() {
  static const std::vector<Rule> all = {
      {"arrays are printed without their subtype",
       [](const std::string& theirs, const std::string& ours) {
         return theirs.size() > 7 && theirs.compare(2, 3, ":B:") == 0 && theirs[5] != 'f' &&
                ours == theirs.substr(0, 5) + theirs.substr(7);
       }},
      {"arrays of floats are printed without their subtype and with six decimals",
       [](const std::string& theirs, const std::string& ours) {
         return theirs.size() > 7 && theirs.compare(2, 5, ":B:f,") == 0 && ours.size() > 5 &&
                ours.substr(0, 5) == theirs.substr(0, 5) &&
                are_near_lists(theirs.substr(7), ours.substr(5));
       }},
      {"floats are printed with six decimals",
       [](const std::string& theirs, const std::string& ours) {
         return theirs.size() > 5 && theirs.compare(2, 3, ":f:") == 0 && ours.size() > 5 &&
                ours.substr(0, 5) == theirs.substr(0, 5) && ours[ours.size() - 7] == '.' &&
                are_near_lists(theirs.substr(5), ours.substr(5));
       }},
  };
  return all;
}

bool agree(const std::string& theirs, const std::string& ours) {
  return theirs == ours || std::any_of(rules().begin(), rules().end(), [&](const Rule& rule) {
           return rule.explains(theirs, ours);
         });
}

// samtools puts the CIGAR that a field CG holds in place of the stored one and leaves the field
// out; the library prints what is stored.
bool holds_cigar_in_field(const Lines& ours) {
  return std::any_of(ours.begin(), ours.end(),
                     [](const std::string& field) { return field.starts_with("CG:B:"); });
}

}  // namespace

testing::AssertionResult is_same_record(const std::string& theirs, const std::string& ours) {
  Lines there = split_tabs(theirs);
  Lines here = split_tabs(ours);
  if (holds_cigar_in_field(here)) {
    there.erase(there.begin() + 5);
    here.erase(here.begin() + 5);
    std::erase_if(here, [](const std::string& field) { return field.starts_with("CG:B:"); });
  }
  bool is_same = there.size() == here.size();
  for (std::size_t i = 0; is_same && i < there.size(); ++i) is_same = agree(there[i], here[i]);
  if (is_same) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "there " << theirs << "\nhere  " << ours;
}

}  // namespace readkit
