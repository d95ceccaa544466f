#include "report/encoding.h"

#include <algorithm>

namespace readkit::report {
namespace {

constexpr int kOffset33 = '!';
constexpr int kOffset64 = '@';
// The least character of an offset of 64: the oldest instruments went down to a quality of -5.
constexpr int kLeast64 = ';';
// With an offset of 33 instruments that write short reads go up to 'K' (42), with one of 64 up to
// 'i' (41). Long reads of high fidelity go up to '~', and hardly ever stay above ';'.
constexpr int kUsualMost33 = 'K';
constexpr int kMost64 = 'i';

// The characters that occur, for users: "# to J".
std::string range_text(char least, char most) {
  return least == most ? std::string(1, least) : std::string{least} + " to " + std::string{most};
}

Encoding detected(int least, int most) {
  const std::string range =
      "characters " + range_text(static_cast<char>(least), static_cast<char>(most));
  if (least < kLeast64) {
    return {kOffset33, true, true, "phred+33: " + range + "; those below ; occur only there"};
  }
  if (most > kUsualMost33 && most <= kMost64) {
    return {kOffset64, true, true,
            "phred+64: " + range + "; read as phred+33 none would be below " +
                std::to_string(least - kOffset33) + " and the best would be " +
                std::to_string(most - kOffset33)};
  }
  return {kOffset33, true, false,
          "ambiguous: " + range + " occur in phred+33 and in phred+64; taken as phred+33"};
}

// The characters that occur, from the least to the greatest.
struct Range {
  int least;
  int most;
};

std::optional<Range> range_of(const QualityCounts::Histogram& qualities) {
  const auto occurs = [](std::uint64_t count) { return count != 0; };
  const auto first = std::find_if(qualities.begin(), qualities.end(), occurs);
  if (first == qualities.end()) return {};
  const auto last = std::find_if(qualities.rbegin(), qualities.rend(), occurs);
  return Range{.least = '!' + static_cast<int>(first - qualities.begin()),
               .most = '~' - static_cast<int>(last - qualities.rbegin())};
}

}  // namespace

Encoding encoding_of(EncodingChoice choice, const QualityCounts::Histogram& qualities) {
  if (choice == EncodingChoice::kPhred33) return {kOffset33, false, true, "phred+33"};
  if (choice == EncodingChoice::kPhred64) return {kOffset64, false, true, "phred+64"};
  const std::optional<Range> range = range_of(qualities);
  if (!range) {
    return {kOffset33, true, false, "ambiguous: no qualities to tell from; taken as phred+33"};
  }
  return detected(range->least, range->most);
}

std::optional<char> impossible_character(EncodingChoice choice,
                                         const QualityCounts::Histogram& qualities) {
  const std::optional<Range> range = range_of(qualities);
  if (choice != EncodingChoice::kPhred64 || !range || range->least >= kLeast64) return {};
  return static_cast<char>(range->least);
}

}  // namespace readkit::report
