#include "check/fastq_file.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "check/characters.h"
#include "check/text_lines.h"

namespace readkit {
namespace {

constexpr std::size_t kLines = 4;  // of a read
enum Line : std::size_t { kHeader, kBases, kSeparator, kQualities };

bool is_fastq_base(char c) { return is_letter(c) || c == '.' || c == '-' || c == '*'; }

class FastqCheck {
 public:
  FastqCheck(File& file, CheckResult& result) : lines_(file), file_(file), result_(result) {}

  void run() {
    result_.kind = "FASTQ";
    result_.end_marker = true;
    while (fill()) {
      if (is_read()) {
        check_read();
        count_ = 0;
      } else {
        pass_over();
      }
    }
    check_rest();
    if (file_.read_failed()) {
      add(FindingKind::kReadFailed, lines_.number(), "the file cannot be read on");
    } else if (!result_.end_marker) {
      add(FindingKind::kLastLine, lines_.number(), "the last line has no newline at its end");
    }
  }

 private:
  template <typename... Parts>
  void add(FindingKind kind, std::uint64_t line, const Parts&... parts) {
    result_.findings.add(kind, line, ordinal_, parts...);
  }
  // The number of a line of the read.
  std::uint64_t number(Line line) const { return lines_.number() - count_ + 1 + line; }

  // Takes lines until there are those of a read; false when there are no more.
  bool fill() {
    std::string_view line;
    for (; count_ < kLines && lines_.next(line); ++count_) {
      result_.end_marker = lines_.is_ended();
      read_[count_].assign(line);
    }
    return count_ == kLines;
  }

  bool is_read() const {
    return read_[kHeader].starts_with('@') && read_[kSeparator].starts_with('+');
  }

  // Drops the first line; only the first of a row of such lines is a finding, and none for empty
  // ones that nothing follows.
  void pass_over() {
    if (!are_empty()) {
      if (!is_lost_) add_structure();
      is_lost_ = true;
    }
    std::rotate(read_.begin(), read_.begin() + 1, read_.end());
    --count_;
  }
  bool are_empty() const {
    return std::all_of(read_.begin(), read_.begin() + count_,
                       [](const std::string& line) { return line.empty(); });
  }
  void add_structure() {
    add(FindingKind::kReadStructure, number(kHeader),
        "no read of four lines, the first with @ and the third with +, begins here: ",
        excerpt(read_[kHeader]));
  }

  void check_read() {
    is_lost_ = false;
    ordinal_ = ++result_.records;
    const std::string_view bases = read_[kBases];
    const std::string_view qualities = read_[kQualities];
    const std::string_view name = std::string_view(read_[kHeader]).substr(1);
    const std::string_view repeated = std::string_view(read_[kSeparator]).substr(1);
    if (name.empty()) add(FindingKind::kReadName, number(kHeader), "the read has no name");
    if (!repeated.empty() && repeated != name) {
      add(FindingKind::kReadName, number(kSeparator),
          "the name behind + is another one: ", excerpt(repeated));
    }
    if (!std::all_of(bases.begin(), bases.end(), is_fastq_base)) {
      add(FindingKind::kSequence, number(kBases),
          "the sequence has characters that are no letters");
    }
    if (!std::all_of(qualities.begin(), qualities.end(), is_printable)) {
      add(FindingKind::kQuality, number(kQualities),
          "the qualities have characters outside of ! to ~");
    }
    if (qualities.size() != bases.size()) {
      add(FindingKind::kQualityLength, number(kQualities), "there are ", qualities.size(),
          " qualities and ", bases.size(), " bases");
    }
    ordinal_ = 0;
  }

  // Fewer lines than a read has.
  void check_rest() {
    if (are_empty() || is_lost_) return;
    if (read_[kHeader].starts_with('@')) {
      ordinal_ = result_.records + 1;
      add(FindingKind::kRecordTruncated, number(kHeader), "the file ends inside a read");
      ordinal_ = 0;
    } else {
      add_structure();
    }
  }

  TextLines lines_;
  File& file_;
  CheckResult& result_;
  std::array<std::string, kLines> read_;
  std::size_t count_ = 0;  // lines in `read_`
  std::uint64_t ordinal_ = 0;
  bool is_lost_ = false;
};

}  // namespace

void check_fastq(File& file, CheckResult& result) { FastqCheck(file, result).run(); }

}  // namespace readkit
