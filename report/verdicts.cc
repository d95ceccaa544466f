#include "report/verdicts.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <string>

namespace readkit::report {
namespace {

using Json = nlohmann::ordered_json;

// What is judged, and by which limits: a value on the bad side of one.
struct Rule {
  const char* name;
  /// For users: a column's title, and what the value is.
  const char* title;
  const char* meaning;
  /// Whether small values are bad, or large ones.
  bool low_is_bad;
  double warn;
  double fail;
  const char* unit;
};

constexpr Rule kReadRule = {"reads", "Reads", "reads", true, 1, 1, ""};
constexpr Rule kMedian = {
    "position_median", "Medians", "lowest median quality of a position", true, 25, 20, ""};
constexpr Rule kLowerQuartile = {
    "position_lower_quartile", "Quartiles", "lowest lower quartile of a position", true, 10, 5, ""};
constexpr Rule kReadQuality = {
    "read_quality", "Read averages", "most frequent average quality of a read", true, 27, 20, ""};
constexpr Rule kQ30 = {"q30", "Good bases", "bases of quality 30 or more", true, 75, 50, "%"};
constexpr Rule kBaseBalance = {"base_balance",
                               "Base balance",
                               "largest difference of A and T, or C and G, at a position",
                               false,
                               10,
                               20,
                               "%"};
constexpr Rule kOtherLetters = {"other_letters",
                                "Other letters",
                                "most letters other than A, C, G and T at a position",
                                false,
                                5,
                                20,
                                "%"};
constexpr Rule kGcShape = {
    "gc_shape", "GC shape", "distance of the GC histogram from a normal curve", false, 15, 30, "%"};

// Positions that fewer reads reach are left out: the longest of long reads would decide alone.
constexpr double kLeastShare = 0.01;
// A histogram of fewer reads has no shape.
constexpr std::uint64_t kLeastReadsForShape = 1000;

double rounded(double value) { return std::floor(value * 100 + 0.5) / 100; }

const char* status_of(const Rule& rule, double value) {
  const auto beyond = [&](double limit) { return rule.low_is_bad ? value < limit : value > limit; };
  if (beyond(rule.fail)) return "fail";
  return beyond(rule.warn) ? "warn" : "pass";
}

// `where` tells the position, if there is one: " (position 12)".
Json verdict(const Rule& rule, double value, const std::string& where = "") {
  value = rounded(value);
  return {{"name", rule.name},
          {"title", rule.title},
          {"status", status_of(rule, value)},
          {"value", value},
          {"unit", rule.unit},
          {"text", std::string(rule.meaning) + where},
          {"thresholds",
           {{"direction", rule.low_is_bad ? "below" : "above"},
            {"warn", rule.warn},
            {"fail", rule.fail}}}};
}

std::string where(const Json& position) {
  const std::string from = position["from"].dump();
  const std::string to = position["to"].dump();
  return from == to ? " (position " + from + ")" : " (positions " + from + " to " + to + ")";
}

// The verdict of the position that is worst by `value_at`, among those that enough reads reach.
template <typename ValueAt>
Json worst_position(const Rule& rule, const Json& sample, ValueAt value_at) {
  const double least = kLeastShare * sample["reads"].get<double>();
  const Json* worst = nullptr;
  double worst_value = 0;
  for (const Json& position : sample["positions"]) {
    if (position["reads"].get<double>() < least) continue;
    const double value = value_at(position);
    if (worst == nullptr || (rule.low_is_bad ? value < worst_value : value > worst_value)) {
      worst = &position;
      worst_value = value;
    }
  }
  return verdict(rule, worst_value, where(*worst));
}

double letter_percent(const Json& position, std::initializer_list<const char*> letters) {
  double all = 0;
  for (const Json& count : position["bases"]) all += count.get<double>();
  double some = 0;
  for (const char* letter : letters) some += position["bases"][letter].get<double>();
  return 100 * some / all;
}

double imbalance(const Json& position) {
  const auto share = [&](const char* letter) { return letter_percent(position, {letter}); };
  return std::max(std::abs(share("A") - share("T")), std::abs(share("C") - share("G")));
}

// The most frequent average; the worse of two that are equally frequent.
double most_frequent_average(const Json& sample) {
  const Json& averages = sample["read_quality"];
  const auto most =
      std::max_element(averages.begin(), averages.end(),
                       [](const Json& a, const Json& b) { return a["reads"] < b["reads"]; });
  return (*most)["quality"].get<double>();
}

// How much of the reads, in percent, would have to be elsewhere for the histogram to be the normal
// distribution of its own mean and deviation, reads that are missing somewhere counted as well as
// reads too many.
double off_the_normal_curve(const Json& sample) {
  const Json& bins = sample["gc"];
  const auto reads = sample["reads"].get<double>();
  const auto middle = [](const Json& bin) {
    return (bin["from"].get<double>() + bin["to"].get<double>()) / 2;
  };
  double mean = 0;
  for (const Json& bin : bins) mean += bin["reads"].get<double>() * middle(bin) / reads;
  double variance = 0;
  for (const Json& bin : bins) {
    const double distance = middle(bin) - mean;
    variance += bin["reads"].get<double>() * distance * distance / reads;
  }
  // One full bin says no more of its reads than that they lie somewhere in it.
  const double width = bins[0]["to"].get<double>();
  const double deviation = std::sqrt(std::max(variance, width * width / 12));
  const auto part_below = [&](double percent) {
    return std::erfc((mean - percent) / deviation / std::numbers::sqrt2) / 2;
  };
  double off = 0;
  double below = 0;
  for (const Json& bin : bins) {
    const double next = &bin == &bins.back() ? 1 : part_below(bin["to"].get<double>());
    off += std::abs(bin["reads"].get<double>() / reads - (next - below));
    below = next;
  }
  return 100 * off;
}

}  // namespace

Json verdicts_of(const Json& sample) {
  const auto reads = sample["reads"].get<std::uint64_t>();
  if (reads == 0) return Json::array({verdict(kReadRule, 0)});
  const auto number = [](const char* key) {
    return [key](const Json& position) { return position[key].get<double>(); };
  };
  Json verdicts = Json::array({
      worst_position(kMedian, sample, number("p50")),
      worst_position(kLowerQuartile, sample, number("p25")),
      verdict(kReadQuality, most_frequent_average(sample)),
      verdict(kQ30, sample["q30_percent"].get<double>()),
      worst_position(kBaseBalance, sample, imbalance),
      worst_position(kOtherLetters, sample,
                     [](const Json& position) { return letter_percent(position, {"other"}); }),
  });
  if (reads >= kLeastReadsForShape) {
    verdicts.push_back(verdict(kGcShape, off_the_normal_curve(sample)));
  }
  return verdicts;
}

std::string number_text(const Json& number) {
  std::string text = number.dump();
  if (text.ends_with(".0")) text.resize(text.size() - 2);
  return text;
}

std::string value_text(const Json& verdict) {
  return number_text(verdict["value"]) + verdict["unit"].get<std::string>();
}

std::string limits_text(const Json& verdict) {
  const Json& limits = verdict["thresholds"];
  const auto direction = limits["direction"].get<std::string>();
  return "warns " + direction + " " + number_text(limits["warn"]) + ", fails " + direction + " " +
         number_text(limits["fail"]);
}

const char* worst_status(const Json& verdicts) {
  const auto has = [&](const char* status) {
    return std::any_of(verdicts.begin(), verdicts.end(),
                       [&](const Json& verdict) { return verdict["status"] == status; });
  };
  if (has("fail")) return "fail";
  return has("warn") ? "warn" : "pass";
}

}  // namespace readkit::report
