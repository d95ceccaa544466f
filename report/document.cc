#include "report/document.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <numeric>
#include <utility>

#include "report/verdicts.h"

namespace readkit::report {
namespace {

using Counts = std::vector<std::pair<std::uint64_t, std::uint64_t>>;

constexpr std::array<const char*, QualityCounts::kLetters> kLetterNames = {"A", "C", "G", "T",
                                                                           "other"};
enum Letter : std::uint8_t { kA, kC, kG, kT, kOther };
constexpr std::array<int, 5> kPercentiles = {10, 25, 50, 75, 90};
constexpr std::uint64_t kMaxLengthBins = 100;

template <typename Array>
std::uint64_t sum_of(const Array& counts) {
  return std::accumulate(counts.begin(), counts.end(), std::uint64_t{0});
}

// A quotient with two decimals, which is more than any of these numbers is good for; halves go up,
// and of nothing it is 0. REQUIRES: 200 * part fits.
double quotient(std::int64_t part, std::uint64_t whole) {
  if (whole == 0) return 0;
  const auto twice = 2 * static_cast<std::int64_t>(whole);
  const std::int64_t hundredths = 200 * part + static_cast<std::int64_t>(whole);
  const std::int64_t cut = hundredths / twice - (hundredths % twice < 0 ? 1 : 0);
  return static_cast<double>(cut) / 100;
}

double percent(std::uint64_t part, std::uint64_t whole) {
  return quotient(100 * static_cast<std::int64_t>(part), whole);
}

// The least of 1, 2, 5, 10, 20, ... that cuts `span` into at most `most` pieces.
std::uint64_t nice_width(std::uint64_t span, std::uint64_t most) {
  for (std::uint64_t power = 1;; power *= 10) {
    for (const std::uint64_t digit : {1U, 2U, 5U}) {
      if (span <= digit * power * most) return digit * power;
    }
  }
}

// ---- Qualities ---------------------------------------------------------------------------------

// Quality 0 of the encoding lies at index `shift` of a histogram.
double mean_of(const QualityCounts::Histogram& counts, int shift) {
  std::int64_t sum = 0;
  for (std::size_t i = 0; i < counts.size(); ++i) {
    sum += static_cast<std::int64_t>(counts[i]) * (static_cast<std::int64_t>(i) - shift);
  }
  return quotient(sum, sum_of(counts));
}

// The least quality that `percentile` percent of all do not exceed (the nearest rank).
int percentile_of(const QualityCounts::Histogram& counts, int percentile, int shift) {
  const std::uint64_t all = sum_of(counts);
  std::uint64_t seen = 0;
  std::size_t i = 0;
  while (i + 1 < counts.size()) {
    seen += counts[i];
    if (seen * 100 >= all * static_cast<std::uint64_t>(percentile) && seen > 0) break;
    ++i;
  }
  return static_cast<int>(i) - shift;
}

double percent_from(const QualityCounts::Histogram& counts, std::size_t quality, int shift) {
  std::uint64_t good = 0;
  for (std::size_t i = quality + static_cast<std::size_t>(shift); i < counts.size(); ++i) {
    good += counts[i];
  }
  return percent(good, sum_of(counts));
}

Json letters_json(const QualityCounts::Letters& letters) {
  Json json = Json::object();
  for (std::size_t i = 0; i < letters.size(); ++i) json[kLetterNames[i]] = letters[i];
  return json;
}

Json positions_json(const QualityCounts& counts, const std::vector<PositionGroup>& groups,
                    std::int64_t from, int shift) {
  Json positions = Json::array();
  for (const auto& [begin, end] : groups) {
    const QualityCounts::Histogram qualities = counts.qualities(begin, end);
    Json group = {{"from", from + static_cast<std::int64_t>(begin)},
                  {"to", from + static_cast<std::int64_t>(end) - 1},
                  // The reads that reach the group.
                  {"reads", sum_of(counts.letters(begin, begin + 1))},
                  {"mean", mean_of(qualities, shift)}};
    for (const int p : kPercentiles) {
      group["p" + std::to_string(p)] = percentile_of(qualities, p, shift);
    }
    Json& occurring = group["counts"] = Json::object();
    for (std::size_t i = 0; i < qualities.size(); ++i) {
      if (qualities[i] == 0) continue;
      occurring[std::to_string(static_cast<int>(i) - shift)] = qualities[i];
    }
    group["bases"] = letters_json(counts.letters(begin, end));
    positions.push_back(std::move(group));
  }
  return positions;
}

// From the least average that occurs to the best, those in between included.
Json read_quality_json(const QualityCounts::Histogram& averages, int shift) {
  const auto occurs = [](std::uint64_t count) { return count != 0; };
  const auto first = std::find_if(averages.begin(), averages.end(), occurs);
  const auto last = std::find_if(averages.rbegin(), averages.rend(), occurs).base();
  Json json = Json::array();
  for (auto i = first; i < last; ++i) {
    json.push_back({{"quality", static_cast<int>(i - averages.begin()) - shift}, {"reads", *i}});
  }
  return json;
}

// ---- Reads -------------------------------------------------------------------------------------

Json gc_json(const QualityCounts& counts) {
  Json json = Json::array();
  constexpr int kStep = 100 / static_cast<int>(QualityCounts::kGcBins);
  int from = 0;
  for (const std::uint64_t reads : counts.gc()) {
    json.push_back({{"from", from}, {"to", from + kStep}, {"reads", reads}});
    from += kStep;
  }
  return json;
}

// Each length alone while they lie close together, otherwise in bins that begin at multiples of
// their width.
Json length_bins(const Counts& lengths) {
  Json bins = Json::array();
  if (lengths.empty()) return bins;
  const std::uint64_t shortest = lengths.front().first;
  const std::uint64_t longest = lengths.back().first;
  const std::uint64_t width = nice_width(longest - shortest + 1, kMaxLengthBins);
  auto next = lengths.begin();
  for (std::uint64_t from = shortest / width * width; from <= longest; from += width) {
    std::uint64_t reads = 0;
    for (; next != lengths.end() && next->first < from + width; ++next) reads += next->second;
    bins.push_back({{"from", from}, {"to", from + width - 1}, {"reads", reads}});
  }
  return bins;
}

std::uint64_t bases_in(const Counts& lengths) {
  std::uint64_t bases = 0;
  for (const auto& [length, reads] : lengths) bases += length * reads;
  return bases;
}

// The shortest length that half of the reads do not exceed.
std::uint64_t median_length(const Counts& lengths, std::uint64_t reads) {
  std::uint64_t seen = 0;
  for (const auto& [length, some] : lengths) {
    seen += some;
    if (seen * 2 >= reads) return length;
  }
  return 0;
}

Json length_json(const Counts& lengths, std::uint64_t reads) {
  const bool none = lengths.empty();
  return {{"min", none ? 0 : lengths.front().first},
          {"max", none ? 0 : lengths.back().first},
          {"mean", quotient(static_cast<std::int64_t>(bases_in(lengths)), reads)},
          {"median", median_length(lengths, reads)},
          {"histogram", length_bins(lengths)}};
}

}  // namespace

std::vector<PositionGroup> position_groups(std::size_t positions, bool alone) {
  const std::size_t width = alone || positions <= kMaxAlone ? 1 : nice_width(positions, kMaxGroups);
  std::vector<PositionGroup> groups;
  for (std::size_t begin = 0; begin < positions; begin += width) {
    groups.push_back({begin, std::min(begin + width, positions)});
  }
  return groups;
}

Json quality_document(const std::string& version, const ScanSettings& settings) {
  const auto number = [](const std::optional<std::int64_t>& n) { return n ? Json(*n) : Json(); };
  // What users give as a whole number is shown as one.
  const auto average = [](const std::optional<double>& n) {
    if (!n) return Json();
    const auto whole = static_cast<std::int64_t>(*n);
    return static_cast<double>(whole) == *n ? Json(whole) : Json(*n);
  };
  return {{"format", "readkit-quality"},
          {"version", 1},
          {"readkit", version},
          {"settings",
           {{"encoding", settings.encoding},
            {"from", settings.from},
            {"to", number(settings.to)},
            {"min_length", settings.min_length},
            {"min_average", average(settings.min_average)},
            {"first", number(settings.first)},
            {"mapped_only", settings.mapped_only},
            {"position_groups", settings.groups}}},
          {"samples", Json::array()}};
}

Json sample_document(const Sample& sample, const QualityCounts& counts,
                     const ScanSettings& settings) {
  const int shift = sample.encoding.shift();
  const Counts lengths = counts.lengths();
  const QualityCounts::Histogram qualities = counts.qualities(0, counts.positions());
  const QualityCounts::Letters letters = counts.letters(0, counts.positions());
  Json json = {
      {"name", sample.name},
      {"file", sample.file},
      {"kind", sample.kind},
      {"encoding",
       {{"name", sample.encoding.name()},
        {"detected", sample.encoding.detected},
        {"certain", sample.encoding.certain},
        {"text", sample.encoding.text}}},
      {"reads", counts.reads()},
      {"bases", sum_of(letters)},
      {"mean_quality", mean_of(qualities, shift)},
      {"q20_percent", percent_from(qualities, 20, shift)},
      {"q30_percent", percent_from(qualities, 30, shift)},
      {"gc_percent", percent(letters[kC] + letters[kG], sum_of(letters) - letters[kOther])},
      {"length", length_json(lengths, counts.reads())},
      {"positions", positions_json(counts, position_groups(counts.positions(), !settings.groups),
                                   settings.from, shift)},
      {"read_quality", read_quality_json(counts.averages(), shift)},
      {"gc", gc_json(counts)},
  };
  json["verdicts"] = verdicts_of(json);
  json["status"] = worst_status(json["verdicts"]);
  return json;
}

}  // namespace readkit::report
