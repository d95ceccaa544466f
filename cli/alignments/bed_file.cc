#include "cli/alignments/bed_file.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <string_view>
#include <system_error>
#include <unordered_map>
#include <utility>

#include "cli/files/byte_source.h"
#include "cli/files/lines.h"
#include "cli/job/job.h"
#include "cli/terminal/failure.h"

namespace readkit::cli {
namespace {

// Takes the first word off a line.
std::string_view next_word(std::string_view& line) {
  constexpr std::string_view kBetween = "\t ";
  line.remove_prefix(std::min(line.find_first_not_of(kBetween), line.size()));
  const std::string_view word = line.substr(0, line.find_first_of(kBetween));
  line.remove_prefix(word.size());
  return word;
}

bool parse(std::string_view word, std::int64_t& number) {
  const char* const end = word.data() + word.size();
  const auto [stop, error] = std::from_chars(word.data(), end, number);
  return error == std::errc() && stop == end && number >= 0;
}

class Reader {
 public:
  Reader(std::string bed, const std::vector<Reference>& references) : bed_(std::move(bed)) {
    for (std::size_t i = 0; i < references.size(); ++i) places_.emplace(references[i].name, i);
  }

  void add(std::string_view line) {
    ++line_number_;
    if (line.ends_with('\r')) line.remove_suffix(1);
    const std::string_view whole = line;
    const std::string_view name = next_word(line);
    if (name.empty() || name.starts_with('#') || name == "track" || name == "browser") return;
    std::int64_t begin = 0;
    std::int64_t end = 0;
    if (!parse(next_word(line), begin) || !parse(next_word(line), end) || end < begin) {
      throw Failure(bed_,
                    "line " + std::to_string(line_number_) + " is no region: '" +
                        std::string(whole.substr(0, kMostShown)) + "'",
                    {}, "a line of a BED file is, for example: chr1 <tab> 999 <tab> 2000");
    }
    ++count_;
    add(std::string(name), begin, end);
  }

  // Raises Failure, or says, that some regions are on unknown references.
  void judge(Job& job, const Input& input) const {
    if (unknown_ == 0) return;
    const std::string such = ", such as '" + an_unknown_ + "'";
    const std::string advice = "readkit refs " + input.name() + " lists the references";
    if (unknown_ == count_) {
      throw Failure(bed_,
                    "all regions are on references that " + input.name() + " does not have" + such,
                    {}, advice);
    }
    job.messages().warn(bed_,
                        std::to_string(unknown_) + " of " + std::to_string(count_) +
                            " regions are on references that " + input.name() + " does not have" +
                            such,
                        advice);
  }

  std::vector<Region> take() { return std::move(regions_); }

 private:
  static constexpr std::size_t kMostShown = 60;

  void add(const std::string& name, std::int64_t begin, std::int64_t end) {
    const auto place = places_.find(name);
    if (place == places_.end()) {
      if (unknown_++ == 0) an_unknown_ = name;
    } else if (begin < end && begin < kLastPosition) {
      regions_.push_back({.reference = name,
                          .index = place->second,
                          .begin = begin + 1,
                          .end = std::min(end, kLastPosition)});
    }
  }

  std::string bed_;
  // The first of references of one name counts, as everywhere.
  std::unordered_map<std::string, std::size_t> places_;
  std::vector<Region> regions_;
  std::uint64_t line_number_ = 0;
  std::uint64_t count_ = 0;
  std::uint64_t unknown_ = 0;
  std::string an_unknown_;
};

}  // namespace

std::vector<Region> read_bed(Job& job, const std::string& bed,
                             const std::vector<Reference>& references, const Input& input) {
  Reader reader(bed, references);
  Lines lines([&reader](std::string_view line) { reader.add(line); });
  ByteSource source(bed);
  for (auto bytes = source.read(); !bytes.empty(); bytes = source.read()) {
    lines.add({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  }
  lines.finish();
  reader.judge(job, input);
  return reader.take();
}

}  // namespace readkit::cli
