// BAM files that the library writes of real SAM files, read by itself and by samtools. samtools
// must print the records as the library does, but for the rules; every rule has a file that needs
// it.
#include <algorithm>
#include <exception>
#include <map>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "bam/bam.h"
#include "support/conversion_model.h"
#include "support/gateway_calls.h"
#include "support/real_sams.h"
#include "support/sam_model.h"
#include "support/samtools.h"
#include "support/samtools_lines.h"
#include "support/temp_dir.h"
#include "support/test_data.h"

namespace readkit::convert_real_sam_to_bam_against_samtools_test {
namespace {

using Lines = std::vector<std::string>;

// Rules, each with a file that needs it.
constexpr char kNoReferences[] = "quickcheck refuses a file without references";
constexpr char kNoName[] = "a reference without a name is refused";
constexpr char kLastByte[] =
    "a reference's name has the byte that ended it in its line as a last one";
constexpr char kLongName[] = "the CIGAR of a name of 223 characters or more is the stored one";
constexpr char kLastPosition[] = "the last position is a number of more than 32 bits";
constexpr char kDamaged[] =
    "damaged optional fields end the reading, or are printed in another way";
constexpr char kCut[] = "a sequence that was cut and does not fit its CIGAR ends the reading";

const std::map<std::string, std::string>& examples() {
  static const std::map<std::string, std::string> all = {
      {kNoReferences, "sam/noheader.sam"},
      {kNoName, "hts-specs/sam/passed/hdr.SQ8.sam"},
      {kLastByte, "sam/tiny.sam"},
      {kLongName, "hts-specs/sam/passed/qname.pass.sam"},
      {kLastPosition, "hts-specs/sam/failed/pos.fail3.sam"},
      {kCut, "hts-specs/sam/passed/cigar.pass6.sam"},
      {kDamaged, "hts-specs/sam/passed/aux.pass-H.sam"},
  };
  return all;
}

bool is_sound(const std::string& record) {
  try {
    decode_record(record);
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

bool fits_its_cigar(const std::string& record) {
  const DecodedRecord r = model_fields(record);
  std::size_t bases = 0;
  std::size_t length = 0;
  for (const char letter : r.cigar) {
    if (letter >= '0' && letter <= '9') {
      length = 10 * length + static_cast<std::size_t>(letter - '0');
      continue;
    }
    if (std::string("MIS=X").find(letter) != std::string::npos) bases += length;
    length = 0;
  }
  return r.cigar == "*" || r.seq == "*" || bases == r.seq.size();
}

// What samtools makes of the BAM file of a SAM file, and the rules that this takes.
class Reading {
 public:
  explicit Reading(const std::string& sam) : source_(model_sam_source(read_file(sam))) {
    write_bam(sam);
    read_with_the_library();
    expect_quickcheck();
    expect_view();
  }
  const std::set<std::string>& rules() const { return needed_; }

 private:
  bool needs(const char* rule, bool is_needed) {
    if (is_needed) needed_.insert(rule);
    return is_needed;
  }

  void write_bam(const std::string& sam) {
    try {
      call_gateway("samToBam", 0, inputs(text(sam), text(folder_, "a.bam")));
      EXPECT_EQ(source_.error, "");
    } catch (const host::HostError& error) {
      EXPECT_NE(source_.error, "") << error.identifier();
    }
  }

  void read_with_the_library() {
    BAM bam(folder_.path("a.bam"));
    for (const std::string& record : source_.records) {
      ASSERT_TRUE(bam.next_alignment());
      const ModelText line = model_line(source_, record);
      std::string text;
      const std::string error = outcome_of([&] { text = bam.to_sam(bam.header()); }, "a.bam");
      EXPECT_EQ(error, line.error);
      EXPECT_EQ(text, line.text);
    }
    EXPECT_FALSE(bam.next_alignment());
  }

  bool lacks_a_name() {
    return needs(kNoName, std::any_of(source_.refs.begin(), source_.refs.end(),
                                      [](const auto& ref) { return ref.first.empty(); }));
  }

  void expect_quickcheck() {
    const bool is_refused = needs(kNoReferences, source_.refs.empty()) || lacks_a_name();
    EXPECT_EQ(try_samtools({"quickcheck", folder_.native("a.bam")}).succeeded, !is_refused);
  }

  // The line with names as they are stored, and the CIGAR too.
  std::string line_there(const std::string& record) {
    ModelSource there = source_;
    for (auto& ref : there.refs) ref.first += '\0';
    const std::string mandatory = model_line(there, record, false).text;
    const std::string all = is_sound(record) ? model_line(there, record).text : mandatory;
    const DecodedRecord fields = model_fields(record);
    needs(kLastByte, fields.ref_id >= 0);
    DecodedBam names;
    for (std::size_t i = 0; i < there.refs.size(); ++i) {
      names.refs.emplace_back(there.ref_name(static_cast<int>(i)), 0);
    }
    std::string stored = decoded_line(fields, names, false);
    needs(kLongName, stored != mandatory && fields.name.size() >= 223);
    const std::string last = "-2147483648";
    for (std::size_t at = 0; (at = stored.find('\t' + last + '\t', at)) != std::string::npos;) {
      needs(kLastPosition, true);
      stored.replace(at + 1, last.size(), "2147483648");
    }
    return stored + all.substr(mandatory.size());
  }

  void expect_view() {
    const SamtoolsRun theirs = try_samtools({"view", "--no-PG", folder_.native("a.bam")});
    bool is_refused = lacks_a_name();
    std::size_t at = 0;
    for (const std::string& record : source_.records) {
      is_refused = is_refused || needs(kCut, !fits_its_cigar(record));
      const bool is_damaged = !is_refused && needs(kDamaged, !is_sound(record));
      is_refused = is_refused || (is_damaged && at == theirs.lines.size());
      if (is_refused) break;
      // A name that ends with a newline makes two lines of one.
      for (const std::string& line : model_lines(line_there(record))) {
        ASSERT_LT(at, theirs.lines.size()) << line;
        EXPECT_TRUE(is_damaged ? theirs.lines[at].starts_with(line)
                               : is_same_record(theirs.lines[at], line))
            << theirs.lines[at] << '\n'
            << line;
        ++at;
      }
    }
    EXPECT_EQ(theirs.succeeded, !is_refused);
    EXPECT_TRUE(at == theirs.lines.size());
  }

  const TempDir folder_;
  ModelSource source_;
  std::set<std::string> needed_;
};

class RealSamToBam : public testing::TestWithParam<std::string> {};

INSTANTIATE_TEST_SUITE_P(Files, RealSamToBam, testing::ValuesIn(real_sams()),
                         [](const auto& param) { return sam_test_name(param.param); });

TEST_P(RealSamToBam, IsReadByTheLibraryAndBySamtoolsButForTheRules) {
  SKIP_WITHOUT_TEST_DATA();
  for (const std::string& name : sams_of(GetParam())) {
    SCOPED_TRACE(name);
    const Reading reading(test_file(name));  // expects in passing
  }
}

TEST(RealSamToBamRules, EachIsNeededByItsExample) {
  SKIP_WITHOUT_TEST_DATA();
  for (const auto& [rule, example] : examples()) {
    EXPECT_EQ(Reading(test_file(example)).rules().count(rule), 1U) << rule;
  }
}

}  // namespace
}  // namespace readkit::convert_real_sam_to_bam_against_samtools_test
