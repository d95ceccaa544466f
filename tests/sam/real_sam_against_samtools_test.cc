// Real SAM files, read and written again, against what samtools makes of them. Every difference has
// a rule, and every rule a file that needs it.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <limits>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/real_sams.h"
#include "support/sam_model.h"
#include "support/samtools.h"
#include "support/temp_dir.h"
#include "support/test_data.h"

namespace readkit::sam_real_sam_against_samtools_test {
namespace {

using Lines = std::vector<std::string>;

constexpr std::size_t kFlag = 1;
constexpr std::size_t kRname = 2;
constexpr std::size_t kPos = 3;
constexpr std::size_t kMapq = 4;
constexpr std::size_t kCigar = 5;
constexpr std::size_t kRnext = 6;
constexpr std::size_t kPnext = 7;
constexpr std::size_t kTlen = 8;
constexpr std::size_t kSeq = 9;
constexpr std::size_t kQual = 10;
constexpr std::size_t kTags = 11;

constexpr long kHighestPosition = std::numeric_limits<std::int32_t>::max();

long number(const std::string& field) { return std::strtol(field.c_str(), nullptr, 10); }

bool any_tag(const Lines& line, const std::function<bool(const std::string&)>& is_so) {
  return line.size() > kTags && std::any_of(line.begin() + kTags, line.end(), is_so);
}
bool is_tag(const std::string& field, char type) {
  return field.size() >= 5 && field[2] == ':' && field[3] == type && field[4] == ':';
}
bool is_hex(const std::string& field) { return is_tag(field, 'H'); }

// ---- Files that samtools refuses whole ---------------------------------------------------------

struct FileRule {
  const char* name;
  const char* example;
  std::function<bool(const std::string& bytes, std::size_t lines_before)> explains;
};

const std::vector<FileRule> kFileRules = {
    {"the file is empty", "invalid/zero_bytes.sam",
     [](const std::string& bytes, std::size_t) { return bytes.empty(); }},
    {"a header line has no TAB behind its kind", "invalid/buggyHeader.sam",
     [](const std::string& bytes, std::size_t) {
       const Lines header = model_lines(model_sam(bytes).header);
       return std::any_of(header.begin(), header.end(),
                          [](const std::string& line) { return line.find('\t') != 3; });
     }},
    {"a line is empty", "failed/rnext.fail3.sam",
     [](const std::string& bytes, std::size_t lines_before) {
       const Lines lines = model_lines(bytes);
       const std::size_t header = model_lines(model_sam(bytes).header).size();
       return lines.size() > header + lines_before && lines[header + lines_before].empty();
     }},
};

// ---- Lines that only one of the two refuses ----------------------------------------------------

struct LineRule {
  const char* name;
  const char* example;
  std::function<bool(const Lines& source)> explains;
};

// What ends the reading of a file here, or the writing of a record, and does not for samtools.
const std::vector<LineRule> kRefusedHere = {
    {"the sequence is *", "sam/xx#minimal.sam",
     [](const Lines& source) { return source.at(kSeq) == "*"; }},
    {"the sequence has letters outside of =ACMGRSVTWYHKDBN", "passed/seq.warn.sam",
     [](const Lines& source) {
       return source.at(kSeq) != "*" &&
              source[kSeq].find_first_not_of("=ACMGRSVTWYHKDBN") != std::string::npos;
     }},
    {"an optional field is an array", "passed/aux.pass-B.sam",
     [](const Lines& source) {
       return any_tag(source, [](const std::string& field) { return is_tag(field, 'B'); });
     }},
    {"a field of type H spoils those behind it, so that they cannot be written",
     "sam/auxf#values.sam", [](const Lines& source) { return any_tag(source, is_hex); }},
};

bool is_plain_number(const std::string& field, long lowest) {
  const std::size_t digits = field.starts_with('-') ? 1 : 0;
  return field.size() > digits && number(field) >= lowest &&
         field.find_first_not_of("0123456789", digits) == std::string::npos;
}

// What samtools refuses, and is read here.
const std::vector<LineRule> kRefusedThere = {
    {"FLAG is no number, negative, or has a 0 before it", "failed/flag.fail3.sam",
     [](const Lines& source) {
       const std::string& flag = source.at(kFlag);
       return !is_plain_number(flag, 0) || (flag.size() > 1 && flag[0] == '0');
     }},
    {"POS, MAPQ or PNEXT is no number or negative", "failed/pos.fail1.sam",
     [](const Lines& source) {
       return !is_plain_number(source.at(kPos), 0) || !is_plain_number(source.at(kMapq), 0) ||
              !is_plain_number(source.at(kPnext), 0);
     }},
    {"TLEN is no number", "failed/tlen.fail1.sam",
     [](const Lines& source) {
       return !is_plain_number(source.at(kTlen), std::numeric_limits<long>::min());
     }},
    {"CIGAR is empty", "failed/cigar.fail5.sam",
     [](const Lines& source) { return source.at(kCigar).empty(); }},
    {"as many qualities as bases there are not", "failed/qual.fail3.sam",
     [](const Lines& source) {
       return source.at(kQual) != "*" && source[kQual].size() != source[kSeq].size();
     }},
    {"a quality is outside of ! to ~", "failed/qual.fail1.sam",
     [](const Lines& source) {
       const std::string& text = source.at(kQual);
       return std::any_of(text.begin(), text.end(), [](char c) { return c < '!' || c > '~'; });
     }},
    {"an optional field has no tag of two letters or no type", "failed/aux.fail-format3.sam",
     [](const Lines& source) {
       return any_tag(source, [](const std::string& field) {
         return field.size() < 5 || field[2] != ':' || field[4] != ':' ||
                std::string("AifZHBcCsSIdD").find(field[3]) == std::string::npos;
       });
     }},
    {"a field of type i has no value", "invalid/truncated_tag.sam",
     [](const Lines& source) {
       return any_tag(source, [](const std::string& field) {
         return is_tag(field, 'i') && field.size() == 5;
       });
     }},
    {"a field of type i is below -2147483648 or above 4294967295", "failed/aux.fail-i2.sam",
     [](const Lines& source) {
       return any_tag(source, [](const std::string& field) {
         return is_tag(field, 'i') &&
                (number(field.substr(5)) < -2147483648L || number(field.substr(5)) > 4294967295L);
       });
     }},
    {"a field of type H has an odd number of digits", "failed/aux.fail-H1.sam",
     [](const Lines& source) {
       return any_tag(
           source, [](const std::string& field) { return is_hex(field) && field.size() % 2 == 0; });
     }},
    {"an array has no comma behind its subtype", "invalid/tagfilter.sam",
     [](const Lines& source) {
       return any_tag(source, [](const std::string& field) {
         return is_tag(field, 'B') && field.size() > 6 && field[6] != ',';
       });
     }},
};

// samtools wants a list of the references as soon as a record has one.
bool lacks_references(const ModelSam& sam, const Lines& source) {
  return sam.refs.empty() && source.at(kRname) != "*";
}

// ---- Fields that differ ------------------------------------------------------------------------

struct Fields {
  std::size_t index;
  const Lines& source;
  const std::string& theirs;
  const std::string& ours;

  const std::string& field() const { return source.at(index); }
};

struct FieldRule {
  const char* name;
  const char* example;
  std::function<bool(const Fields&)> explains;
};

bool is_cut(const Fields& f) {
  return f.source[kSeq].size() > 255 && f.theirs.substr(0, f.source[kSeq].size() % 256) == f.ours;
}

std::string printed(const char* format, float value) {
  char text[64];
  std::snprintf(text, sizeof text, format, static_cast<double>(value));
  return text;
}

const std::vector<FieldRule> kFieldRules = {
    {"FLAG beyond 65535: modulo 65536 here, 65535 there", "failed/flag.fail.sam",
     [](const Fields& f) {
       return f.index == kFlag && number(f.field()) > 65535 && f.theirs == "65535" &&
              f.ours == std::to_string(number(f.field()) % 65536);
     }},
    {"a read without reference, position or CIGAR gets flag 4 there", "passed/flag.warn.sam",
     [](const Fields& f) {
       const bool lacks =
           f.source[kRname] == "*" || f.source[kPos] == "0" || f.source[kCigar] == "*";
       return f.index == kFlag && lacks && f.ours == f.field() &&
              number(f.theirs) == (number(f.ours) | 4);
     }},
    {"MAPQ beyond 255: modulo 256 here, 255 there", "failed/mapq.fail2.sam",
     [](const Fields& f) {
       return f.index == kMapq && number(f.field()) > 255 && f.theirs == "255" &&
              f.ours == std::to_string(number(f.field()) % 256);
     }},
    {"POS and PNEXT keep 32 bits here", "sam/longref.sam",
     [](const Fields& f) {
       return (f.index == kPos || f.index == kPnext) && number(f.field()) > kHighestPosition &&
              f.theirs == f.field() &&
              f.ours == std::to_string(static_cast<std::int32_t>(number(f.field())));
     }},
    {"the CIGAR of a name of 223 characters or more comes from other bytes here",
     "passed/qname.pass.sam",
     [](const Fields& f) {
       return f.index == kCigar && f.source[0].size() >= 223 && f.theirs == f.field();
     }},
    {"RNEXT of a mate without position is * there", "passed/pnext.warn.sam",
     [](const Fields& f) {
       return f.index == kRnext && f.ours == "=" && f.theirs == "*" && f.source[kPnext] == "0";
     }},
    {"SEQ and QUAL have their length modulo 256 here", "passed/cigar.pass6.sam",
     [](const Fields& f) { return (f.index == kSeq || f.index == kQual) && is_cut(f); }},
    {"a QUAL of * that ends the line is quality text here", "sam/ce#supp.sam",
     [](const Fields& f) {
       std::string text = "*";
       text.resize(f.source[kSeq].size(), ' ');
       return f.index == kQual && f.source.size() == kTags && f.field() == "*" && f.theirs == "*" &&
              f.ours == text;
     }},
    {"a field of type i beyond 2147483647 is negative here", "sam/inttest.sam",
     [](const Fields& f) {
       return is_tag(f.field(), 'i') && f.theirs == f.field() &&
              number(f.field().substr(5)) - number(f.ours.substr(5)) == 4294967296L;
     }},
    {"a field of type f has six decimals here", "passed/aux.pass-f.sam",
     [](const Fields& f) {
       if (!is_tag(f.field(), 'f')) return false;
       const float value = std::strtof(f.field().c_str() + 5, nullptr);
       return f.theirs.substr(5) == printed("%g", value) &&
              f.ours.substr(5) == printed("%f", value);
     }},
    {"fields of type H keep their first digits here, and spoil those behind them",
     "passed/aux.pass-H.sam",
     [](const Fields& f) { return f.index >= kTags && any_tag(f.source, is_hex); }},
};

// ---- The comparison ----------------------------------------------------------------------------

constexpr char kNoReferences[] = "a record has a reference and the header lists none";

// The rules that a file needs; what no rule explains is a test failure.
class Comparison {
 public:
  explicit Comparison(const std::string& file)
      : bytes_(read_file(file)),
        sam_(model_sam(bytes_)),
        ours_(read_lines(file)),
        theirs_(try_samtools({"view", "--no-PG", file})) {
    EXPECT_EQ(ours_.size(), sam_.lines.size());
    EXPECT_LE(theirs_.lines.size(), ours_.size());
    for (std::size_t i = 0; i < std::min(ours_.size(), theirs_.lines.size()); ++i) {
      compare_line(split_tabs(sam_.lines[i].text), split_tabs(theirs_.lines[i]), ours_[i]);
    }
    theirs_.succeeded ? expect_all_lines() : explain_refusal();
  }
  const std::set<std::string>& rules() const { return needed_; }

 private:
  template <typename Rules, typename... Args>
  bool explain(const Rules& rules, const Args&... args) {
    const auto rule = std::find_if(rules.begin(), rules.end(),
                                   [&](const auto& r) { return r.explains(args...); });
    if (rule == rules.end()) return false;
    needed_.insert(rule->name);
    return true;
  }

  void compare_line(const Lines& source, const Lines& theirs, const ReadLine& ours) {
    if (!ours.error.empty() || !ours.write_error.empty()) {
      EXPECT_TRUE(explain(kRefusedHere, source)) << joined(source) << '\n'
                                                 << ours.error << ours.write_error;
      return;
    }
    const Lines written = split_tabs(ours.written);
    const std::string none;
    for (std::size_t i = 0; i < std::max(theirs.size(), written.size()); ++i) {
      const std::string& there = i < theirs.size() ? theirs[i] : none;
      const std::string& here = i < written.size() ? written[i] : none;
      if (there == here) continue;
      ASSERT_LT(i, source.size()) << joined(source);
      EXPECT_TRUE(explain(kFieldRules, Fields{i, source, there, here}))
          << joined(source) << "\nthere " << there << "\nhere  " << here;
    }
  }

  void expect_all_lines() { EXPECT_EQ(theirs_.lines.size(), ours_.size()); }

  // samtools stops at the line behind the last one that it printed.
  void explain_refusal() {
    const std::size_t at = theirs_.lines.size();
    if (explain(kFileRules, bytes_, at)) return;
    ASSERT_LT(at, ours_.size());
    if (!ours_[at].error.empty()) return;
    const Lines source = split_tabs(sam_.lines[at].text);
    if (lacks_references(sam_, source)) {
      needed_.insert(kNoReferences);
      return;
    }
    EXPECT_TRUE(explain(kRefusedThere, source)) << joined(source);
  }

  std::string bytes_;
  ModelSam sam_;
  std::vector<ReadLine> ours_;
  SamtoolsRun theirs_;
  std::set<std::string> needed_;
};

class RealSamAgainstSamtools : public testing::TestWithParam<std::string> {};

INSTANTIATE_TEST_SUITE_P(Files, RealSamAgainstSamtools, testing::ValuesIn(real_sams()),
                         [](const auto& param) { return sam_test_name(param.param); });

TEST_P(RealSamAgainstSamtools, EveryDifferenceHasARule) {
  SKIP_WITHOUT_TEST_DATA();
  for (const std::string& name : sams_of(GetParam())) {
    SCOPED_TRACE(name);
    const Comparison comparison(test_file(name));  // expects in passing
  }
}

// Every rule with its example.
std::vector<std::pair<std::string, std::string>> all_rules() {
  std::vector<std::pair<std::string, std::string>> all = {{kNoReferences, "sam/noheader.sam"}};
  for (const FileRule& rule : kFileRules) all.emplace_back(rule.name, rule.example);
  for (const LineRule& rule : kRefusedHere) all.emplace_back(rule.name, rule.example);
  for (const LineRule& rule : kRefusedThere) all.emplace_back(rule.name, rule.example);
  for (const FieldRule& rule : kFieldRules) all.emplace_back(rule.name, rule.example);
  return all;
}

TEST(SamtoolsRules, EachIsNeededByItsExample) {
  SKIP_WITHOUT_TEST_DATA();
  for (const auto& [rule, example] : all_rules()) {
    EXPECT_EQ(Comparison(example_file(example)).rules().count(rule), 1U) << rule;
  }
}

}  // namespace
}  // namespace readkit::sam_real_sam_against_samtools_test
