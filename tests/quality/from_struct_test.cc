// Reads in a structure of the host as the source of a scan.
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "quality/sources.h"
#include "support/gateway_calls.h"
#include "support/quality_scans.h"

namespace readkit::quality_from_struct_test {
namespace {

using Texts = std::vector<std::string>;

host::Owned cells(const Texts& texts) { return host::make_cell_of_texts(texts); }

host::Owned cell_with(host::Owned content) {
  std::vector<host::Owned> contents;
  contents.push_back(std::move(content));
  return host::make_cell({1, 1}, std::move(contents));
}

host::Owned fields(host::Owned sequence, host::Owned quality,
                   const std::string& sequence_name = "Sequence",
                   const std::string& quality_name = "Quality") {
  std::vector<std::pair<std::string, host::Owned>> all;
  all.emplace_back(sequence_name, std::move(sequence));
  all.emplace_back(quality_name, std::move(quality));
  return host::make_struct(std::move(all));
}

distribution_t scan(const host::Owned& data, const encoding_t& encoding = plain_encoding()) {
  return scanned(encoding, [&](const encoding_t* settings, distribution_t* distribution) {
    collectDataFromStruct(data.get(), settings, distribution);
  });
}

class FromStruct : public testing::Test {
 protected:
  static distribution_t scan_texts(const Texts& sequences, const Texts& qualities,
                                   const encoding_t& encoding = plain_encoding()) {
    return scan(fields(cells(sequences), cells(qualities)), encoding);
  }
  static Lengths counted(const Texts& sequences, const Texts& qualities,
                         const encoding_t& encoding = plain_encoding()) {
    return scan_texts(sequences, qualities, encoding).length_histogram;
  }

  LeakCheck leaks_;
};

TEST_F(FromStruct, EveryReadIsCounted) {
  const distribution_t found = scan_texts({"ACGT", "GN"}, {"!5IJ", "!I"});
  EXPECT_EQ(found.read_count, 2);
  EXPECT_EQ(found.length_histogram, (Lengths{{2, 1}, {4, 1}}));
  EXPECT_EQ(found.base_matrix[0], 1);     // A and
  EXPECT_EQ(found.base_matrix[2], 1);     // G at the first position
  EXPECT_EQ(found.quality_matrix[0], 2);  // two of quality 0 there
  EXPECT_EQ(found.quality_matrix[3 * 42 + 41], 1);
  EXPECT_EQ(found.average_histogram[25], 1);  // 101 / 4
}

TEST_F(FromStruct, NoReadsAreNone) { EXPECT_EQ(counted({}, {}), Lengths()); }

TEST_F(FromStruct, CellsMayHaveAnyShape) {
  std::vector<host::Owned> row;
  row.push_back(text("AC"));
  row.push_back(text("ACG"));
  EXPECT_EQ(
      scan(fields(host::make_cell({1, 2}, std::move(row)), cells({"II", "III"}))).length_histogram,
      (Lengths{{2, 1}, {3, 1}}));
}

TEST_F(FromStruct, OtherFieldsDoNotMatter) {
  std::vector<std::pair<std::string, host::Owned>> all;
  all.emplace_back("Header", host::make_scalar(1.0));
  all.emplace_back("Quality", cells({"II"}));
  all.emplace_back("Sequence", cells({"AC"}));
  EXPECT_EQ(scan(host::make_struct(std::move(all))).length_histogram, (Lengths{{2, 1}}));
}

TEST_F(FromStruct, RecordsWithoutReferenceAreNoMatterHere) {
  encoding_t encoding = plain_encoding();
  encoding.flag = 0;
  EXPECT_EQ(counted({"AC"}, {"II"}, encoding), (Lengths{{2, 1}}));
}

// ---- Structures that are none ------------------------------------------------------------------

TEST_F(FromStruct, OnlyAStructureOfOneElementWillDo) {
  for (const host::Dims& dims : {host::Dims{0, 0}, {0, 1}, {1, 0}, {1, 2}, {2, 1}, {2, 2}}) {
    const host::Owned data = host::make_struct_array(dims, {"Sequence", "Quality"});
    for (std::size_t i = 0; i < txGetNumberOfElements(data.get()); ++i) {
      host::set_field(data.get(), i, "Sequence", cells({"AC"}));
      host::set_field(data.get(), i, "Quality", cells({"II"}));
    }
    EXPECT_KIND(scan(data), MemoryDataInvalid);
  }
}

TEST_F(FromStruct, OtherClassesAreInvalid) {
  EXPECT_KIND(scan(text("a.fastq")), MemoryDataInvalid);
  EXPECT_KIND(scan(host::make_string(u"a")), MemoryDataInvalid);
  EXPECT_KIND(scan(host::make_scalar(1.0)), MemoryDataInvalid);
  EXPECT_KIND(scan(host::make_scalar(true)), MemoryDataInvalid);
  EXPECT_KIND(scan(cells({"AC"})), MemoryDataInvalid);
  EXPECT_KIND(scan(cell_with(fields(cells({"AC"}), cells({"II"})))), MemoryDataInvalid);
}

TEST_F(FromStruct, BothFieldsMustBeThere) {
  EXPECT_KIND(scan(host::make_struct({})), MemoryDataInvalid);
  EXPECT_KIND(scan(fields(cells({"AC"}), cells({"II"}), "Sequence", "Other")), MemoryDataInvalid);
  EXPECT_KIND(scan(fields(cells({"AC"}), cells({"II"}), "Other", "Quality")), MemoryDataInvalid);
  EXPECT_KIND(scan(fields(cells({"AC"}), cells({"II"}), "sequence", "quality")), MemoryDataInvalid);
}

TEST_F(FromStruct, FieldThatWasNeverSetIsMissing) {
  const host::Owned data = host::make_struct_array({1, 1}, {"Sequence", "Quality"});
  EXPECT_KIND(scan(data), MemoryDataInvalid);
  host::set_field(data.get(), 0, "Sequence", cells({"AC"}));
  EXPECT_KIND(scan(data), MemoryDataInvalid);
  host::set_field(data.get(), 0, "Quality", cells({"II"}));
  EXPECT_EQ(scan(data).length_histogram, (Lengths{{2, 1}}));
}

TEST_F(FromStruct, BothFieldsMustBeCells) {
  EXPECT_KIND(scan(fields(text("AC"), cells({"II"}))), MemoryNotCell);
  EXPECT_KIND(scan(fields(cells({"AC"}), text("II"))), MemoryNotCell);
  EXPECT_KIND(scan(fields(text("AC"), text("II"))), MemoryNotCell);
  EXPECT_KIND(scan(fields(host::make_string(u"AC"), cells({"II"}))), MemoryNotCell);
  EXPECT_KIND(scan(fields(cells({"AC"}), host::make_scalar(40.0))), MemoryNotCell);
  EXPECT_KIND(scan(fields(host::make_struct({}), cells({"II"}))), MemoryNotCell);
}

TEST_F(FromStruct, CountsMustBeEqual) {
  EXPECT_KIND(scan_texts({"AC", "AC"}, {"II"}), NumSeqNotEqualNumQual);
  EXPECT_KIND(scan_texts({"AC"}, {"II", "II"}), NumSeqNotEqualNumQual);
  EXPECT_KIND(scan_texts({}, {"II"}), NumSeqNotEqualNumQual);
  EXPECT_KIND(scan_texts({"AC"}, {}), NumSeqNotEqualNumQual);
}

TEST_F(FromStruct, CellsThatAreNoTextRaiseTheErrorOfText) {
  const auto bad = [] {
    std::vector<host::Owned> all;
    all.push_back(host::make_scalar(1.0));
    all.push_back(cells({"AC"}));
    all.push_back(host::make_struct({}));
    all.emplace_back();  // an empty cell
    return all;
  };
  for (host::Owned& content : bad()) {
    EXPECT_KIND(scan(fields(cell_with(std::move(content)), cells({"II"}))),
                MustBeStringScalarOrCharacterVector);
  }
  for (host::Owned& content : bad()) {
    EXPECT_KIND(scan(fields(cells({"AC"}), cell_with(std::move(content)))),
                MustBeStringScalarOrCharacterVector);
  }
}

TEST_F(FromStruct, ErrorsComeInTheOrderOfTheChecks) {
  // A missing field, no cell, counts that differ, no text, a bad read: each before what follows.
  EXPECT_KIND(scan(fields(text("AC"), text("II"), "Sequence", "Other")), MemoryDataInvalid);
  EXPECT_KIND(scan(fields(text("AC"), cells({"II"}))), MemoryNotCell);
  EXPECT_KIND(scan(fields(cell_with(host::make_scalar(1.0)), cells({"II", "II"}))),
              NumSeqNotEqualNumQual);
  std::vector<host::Owned> later;
  later.push_back(text("AC"));
  later.push_back(host::make_scalar(1.0));
  EXPECT_KIND(scan(fields(host::make_cell({2, 1}, std::move(later)), cells({"I", "II"}))),
              MustBeStringScalarOrCharacterVector);
}

// ---- Reads -------------------------------------------------------------------------------------

TEST_F(FromStruct, EmptySequenceIsPassedOverWhateverItsQuality) {
  EXPECT_EQ(counted({"", "AC", "", "ACG"}, {"", "II", "~~~~", "III"}), (Lengths{{2, 1}, {3, 1}}));
}

TEST_F(FromStruct, LengthsThatDifferRaiseInvalidData) {
  EXPECT_KIND(scan_texts({"ACGT"}, {"III"}), InvalidData);
  EXPECT_KIND(scan_texts({"ACGT"}, {"IIIII"}), InvalidData);
  EXPECT_KIND(scan_texts({"ACGT"}, {""}), InvalidData);
  EXPECT_KIND(scan_texts({"A", "ACGT"}, {"I", "III"}), InvalidData);
}

TEST_F(FromStruct, QualitiesOutOfRangeRaiseInvalidData) {
  EXPECT_EQ(counted({"AA"}, {"!J"}), (Lengths{{2, 1}}));
  for (const char* quality : {"IK", "KI", "I ", "I\x7f"}) {
    EXPECT_KIND(scan_texts({"AA"}, {quality}), InvalidData);
  }
}

TEST_F(FromStruct, TextIsCountedInBytes) {
  // The letter é is two of them, neither of which is a quality.
  const distribution_t found = scan_texts({"\xc3\xa9"
                                           "C"},
                                          {"III"});
  EXPECT_EQ(found.length_histogram, (Lengths{{3, 1}}));
  EXPECT_EQ(found.base_matrix[4], 1);
  EXPECT_EQ(found.base_matrix[5 + 4], 1);
  EXPECT_EQ(found.base_matrix[10 + 1], 1);
  EXPECT_KIND(scan_texts({"\xc3\xa9"}, {"I"}), InvalidData);
  EXPECT_KIND(scan_texts({"AC"}, {"\xc3\xa9"}), InvalidData);
  EXPECT_KIND(scan_texts({"A"}, {"\xff"}), InvalidData);
}

TEST_F(FromStruct, NulIsALetterLikeAnyOther) {
  EXPECT_EQ(counted({std::string("A\0C", 3)}, {"III"}), (Lengths{{3, 1}}));
  EXPECT_KIND(scan_texts({"ACG"}, {std::string("I\0I", 3)}), InvalidData);
}

// ---- Selection ---------------------------------------------------------------------------------

const Texts kFour = {"A", "AA", "AAA", "AAAA"};
const Texts kFourQualities = {"I", "II", "III", "IIII"};

TEST_F(FromStruct, OnlySelectedReadsAreCounted) {
  for (const auto& [records, lengths] : selections_of_four()) {
    EXPECT_EQ(counted(kFour, kFourQualities, selecting(records)), lengths)
        << testing::PrintToString(records);
  }
}

TEST_F(FromStruct, ReadsThatAreNotSelectedAreCheckedToo) {
  for (const char* bad : {"I", "IK"}) {
    EXPECT_KIND(scan_texts({"AA", "AAA"}, {bad, "III"}, selecting({1})), InvalidData);
    EXPECT_KIND(scan_texts({"AAA", "AA"}, {"III", bad}, selecting({0})), InvalidData);
    EXPECT_KIND(scan_texts({"AA"}, {bad}, selecting({})), InvalidData);
  }
}

TEST_F(FromStruct, ScanStopsAtTheReadBehindTheLastSelectedOne) {
  const Texts sequences = {"AAA", "AA", "A"};
  EXPECT_EQ(counted(sequences, {"III", "II", "KKK"}, selecting({0})), (Lengths{{3, 1}}));
  EXPECT_EQ(counted({"", "AA", "A"}, {"", "II", "K"}, selecting({})), Lengths());
}

TEST_F(FromStruct, EmptySequencesHaveANumberThatIsNeverReached) {
  EXPECT_EQ(counted({"", "AA", "AAA"}, {"", "II", "III"}, selecting({1, 2})),
            (Lengths{{2, 1}, {3, 1}}));
  EXPECT_EQ(counted({"", "AA", "AAA"}, {"", "II", "III"}, selecting({0, 1})), Lengths());
}

}  // namespace
}  // namespace readkit::quality_from_struct_test
