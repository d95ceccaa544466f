#include "cli/command_line/nearest_names.h"

#include <algorithm>
#include <cctype>
#include <utility>

namespace readkit::cli {
namespace {

// Longer names are not guessed: the work grows with the square of their length.
constexpr std::size_t kLongestGuessed = 64;
constexpr std::size_t kMostSteps = 3;

std::string lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

// The number of letters to insert, delete or replace to make one text of the other.
std::size_t distance(const std::string& a, const std::string& b) {
  std::vector<std::size_t> row(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) row[j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::size_t diagonal = std::exchange(row[0], i);
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t replaced = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
      diagonal = row[j];
      row[j] = std::min({replaced, row[j] + 1, row[j - 1] + 1});
    }
  }
  return row[b.size()];
}

// Two ways of naming the same chromosomes: "chr1" and "1".
std::string without_chr(const std::string& lower_name) {
  return lower_name.starts_with("chr") ? lower_name.substr(3) : lower_name;
}

}  // namespace

std::vector<std::string> nearest_names(const std::string& name,
                                       const std::vector<std::string>& known, std::size_t most) {
  if (name.empty() || name.size() > kLongestGuessed) return {};
  const std::size_t limit = std::min(kMostSteps, name.size() - 1);
  std::vector<std::pair<std::size_t, std::string>> near;
  for (const std::string& candidate : known) {
    if (without_chr(lower(candidate)) == without_chr(lower(name))) {
      near.emplace_back(0, candidate);
      continue;
    }
    if (candidate.size() > name.size() + limit || name.size() > candidate.size() + limit) continue;
    const std::size_t steps = distance(lower(name), lower(candidate));
    if (steps <= limit) near.emplace_back(steps, candidate);
  }
  std::stable_sort(near.begin(), near.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  std::vector<std::string> names;
  for (const auto& [steps, candidate] : near) {
    if (steps > near.front().first || names.size() == most) break;
    names.push_back(candidate);
  }
  return names;
}

}  // namespace readkit::cli
