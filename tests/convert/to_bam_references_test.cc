// Conversions into BAM that keep only some references.
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/conversions.h"
#include "support/expect_kind.h"
#include "support/full_disk.h"

namespace readkit::convert_to_bam_references_test {
namespace {

using Set = std::set<std::string>;
using References = std::vector<std::pair<std::string, std::uint32_t>>;

constexpr char kNotKept[] = "unordered_map::at: key not found";

// From "a.bam" or "a.sam", files of the same reads.
class ToBamReferences : public testing::TestWithParam<std::string> {
 protected:
  // References "chr1" to "chr9", "chr1" of length 1001, "chr2" of length 1002...
  void write(const Reads& reads) {
    BamBuilder file;
    std::string text = "@HD\tVN:1.6\n";
    for (std::uint32_t i = 1; i <= 9; ++i) {
      const std::string name = "chr" + std::to_string(i);
      file.ref(name, 1000 + i);
      text += "@SQ\tSN:" + name + "\tLN:" + std::to_string(1000 + i) + '\n';
    }
    file.text(text);
    for (const RecordBuilder& read : reads) file.record(read);
    text_ = text;
    file.write(folder_, "a.bam");
    folder_.write("a.sam", text + sam_lines_of(decode_bam(file.bytes())));
  }
  void run(const Set& refs, const Ordinals& ordinals = {}) const {
    Conversion{GetParam(), "bam"}.with_input(folder_, [&](auto& in) {
      in.to_bam(folder_.path("t.bam"), ordinals.data(), ordinals.size(), refs);
    });
  }
  DecodedBam written() const { return decode_bam(folder_.read("t.bam")); }

  std::string text_;
  TempDir folder_;
};

INSTANTIATE_TEST_SUITE_P(Sources, ToBamReferences, testing::Values("bam", "sam"),
                         [](const auto& param) { return param.param; });

RecordBuilder read_at(const std::string& name, int ref, int mate_ref) {
  return RecordBuilder(name).at(ref, 5).mate(mate_ref, 7).cigar("4M").seq("ACGT").qual("IIII");
}

TEST_P(ToBamReferences, ReferencesOfMatesAreKeptAndRecordsRenumbered) {
  write({read_at("a", 1, 6), read_at("b", 1, 1), read_at("c", 1, -1)});
  run({"chr2"});
  const DecodedBam bam = written();
  EXPECT_EQ(bam.refs, (References{{"chr2", 1002}, {"chr7", 1007}}));
  ASSERT_EQ(names_of(bam.records), (Names{"a", "b", "c"}));
  const std::vector<std::pair<int, int>> expected = {{0, 1}, {0, 0}, {0, -1}};
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ(bam.records[i].ref_id, expected[i].first);
    EXPECT_EQ(bam.records[i].next_ref_id, expected[i].second);
  }
}

TEST_P(ToBamReferences, OnlyTheTwoReferenceIndexesOfARecordChange) {
  const RecordBuilder read = read_at("a", 4, 7).flag(0x63).mapq(9).tlen(-3).tag("NM", 'i', 3);
  write({read});
  run({"chr5"});
  const std::string as_it_was = RecordBuilder(read).at(0, 5).mate(1, 7).bytes();
  EXPECT_EQ(written().records.at(0).bytes, as_it_was);
}

TEST_P(ToBamReferences, DictionaryKeepsTheOrderOfTheHeader) {
  write({read_at("a", 8, 0), read_at("b", 4, 8)});
  run({"chr9", "chr5"});
  EXPECT_EQ(written().refs, (References{{"chr1", 1001}, {"chr5", 1005}, {"chr9", 1009}}));
  EXPECT_EQ(written().records.at(0).ref_id, 2);
  EXPECT_EQ(written().records.at(0).next_ref_id, 0);
  EXPECT_EQ(written().records.at(1).ref_id, 1);
}

TEST_P(ToBamReferences, HeaderTextStaysWhole) {
  write({read_at("a", 1, 1)});
  run({"chr2"});
  EXPECT_EQ(written().text, text_);
}

TEST_P(ToBamReferences, MatesOfRecordsThatAreNotChosenAreKeptToo) {
  write({read_at("a", 1, 1), read_at("b", 1, 6), read_at("c", 3, 2)});
  run({"chr2"}, {1});
  EXPECT_EQ(written().refs, (References{{"chr2", 1002}, {"chr7", 1007}}));
  EXPECT_EQ(names_of(written().records), (Names{"a"}));
}

TEST_P(ToBamReferences, ChosenRecordsMustLieOnKeptReferences) {
  write({read_at("a", 1, 1), read_at("b", 3, 3), read_at("c", -1, -1), read_at("d", 1, 1)});
  EXPECT_STD(run({"chr2"}), std::out_of_range, kNotKept);
  EXPECT_EQ(names_of(written().records), (Names{"a"}));
  EXPECT_STD(run({"chr2"}, {2}), std::out_of_range, kNotKept);
  EXPECT_STD(run({"chr2"}, {1, 3}), std::out_of_range, kNotKept);
  EXPECT_EQ(names_of(written().records), (Names{"a"}));
  run({"chr2"}, {1, 4});
  EXPECT_EQ(names_of(written().records), (Names{"a", "d"}));
}

TEST_P(ToBamReferences, RecordsWithoutReferenceFailEvenIfStarIsGiven) {
  write({read_at("a", -1, -1)});
  EXPECT_STD(run({"chr1", "*"}), std::out_of_range, kNotKept);
}

TEST_P(ToBamReferences, MateThatIsNotKeptIsDropped) {
  // "chr3" comes in by the second record, too late for the mate of the first.
  write({read_at("a", 2, 6), read_at("b", 1, 2)});
  run({"chr2"});
  EXPECT_EQ(written().refs, (References{{"chr2", 1002}, {"chr3", 1003}}));
  EXPECT_EQ(written().records.at(0).ref_id, 1);
  EXPECT_EQ(written().records.at(0).next_ref_id, -1);
}

TEST_P(ToBamReferences, NamesThatTheHeaderLacksDoNotMatterBesideOthers) {
  write({read_at("a", 1, 1)});
  run({"chr2", "chrZ", ""});
  EXPECT_EQ(written().refs, (References{{"chr2", 1002}}));
}

TEST_P(ToBamReferences, OnlyUnknownNamesRaiseInvalidHeaderSubset) {
  write({read_at("a", 1, 1)});
  for (const Set& refs : {Set{"chrZ"}, Set{"CHR1", "chr"}, Set{""}, Set{"*"}}) {
    EXPECT_KIND(run(refs), InvalidHeaderSubset);
  }
}

TEST_P(ToBamReferences, FileWithoutRecordsKeepsWhatIsNamed) {
  write({});
  run({"chr4", "chr6"});
  EXPECT_EQ(written().refs, (References{{"chr4", 1004}, {"chr6", 1006}}));
  EXPECT_TRUE(written().records.empty());
}

TEST_P(ToBamReferences, AllNamesGiveTheFileItself) {
  write({read_at("a", 1, 6), read_at("b", 8, -1)});
  Set all;
  for (int i = 1; i <= 9; ++i) all.insert("chr" + std::to_string(i));
  run(all);
  const std::string with_all = folder_.read("t.bam");
  run({});
  EXPECT_EQ(with_all, folder_.read("t.bam"));
}

TEST_P(ToBamReferences, ConvertingTwiceFromOneObjectRenumbersOnce) {
  write({read_at("a", 4, 7)});
  Conversion{GetParam(), "bam"}.with_input(folder_, [&](auto& in) {
    const Set refs = {"chr5"};
    in.to_bam(folder_.path("1.bam"), nullptr, 0, refs);
    in.to_bam(folder_.path("2.bam"), nullptr, 0, refs);
    EXPECT_EQ(refs, (Set{"chr5"}));
    in.to_bam(folder_.path("3.bam"), nullptr, 0, {});
  });
  EXPECT_EQ(folder_.read("1.bam"), folder_.read("2.bam"));
  EXPECT_EQ(records_in(folder_, "3.bam").at(0).ref_id, 4);
}

TEST_P(ToBamReferences, InputIsRefusedAsOutput) {
  write({read_at("a", 1, 1)});
  const Path input = folder_.path("a." + GetParam());
  const std::string before = folder_.read("a." + GetParam());
  const auto onto_itself = [&](auto& in) { in.to_bam(input, nullptr, 0, {"chr2"}); };
  EXPECT_KIND((Conversion{GetParam(), "bam"}.with_input(folder_, onto_itself)), CannotOpenOutFile,
              input);
  EXPECT_EQ(folder_.read("a." + GetParam()), before);
}

// ---- Damaged indexes ---------------------------------------------------------------------------

TEST(ToBamReferencesOfBam, ReferenceOutsideTheDictionaryRaisesReferenceIDNotFound) {
  const TempDir folder;
  BamBuilder()
      .refs(2, 100)
      .record(RecordBuilder("a").at(0, 5))
      .record(RecordBuilder("b").at(2, 5))
      .write(folder, "a.bam");
  BAM in(folder.path("a.bam"));
  EXPECT_KIND(in.to_bam(folder.path("t.bam"), nullptr, 0, {"chr1"}), ReferenceIDNotFound, u"2");
  const unsigned first = 1;
  EXPECT_KIND(in.to_bam(folder.path("t.bam"), &first, 1, {"chr1"}), ReferenceIDNotFound, u"2");
}

TEST(ToBamReferencesOfBam, MateOutsideTheDictionaryRaisesReferenceIDNotFound) {
  const TempDir folder;
  BamBuilder().refs(2, 100).record(RecordBuilder("a").at(0, 5).mate(2, 5)).write(folder, "a.bam");
  BAM in(folder.path("a.bam"));
  EXPECT_KIND(in.to_bam(folder.path("t.bam"), nullptr, 0, {"chr1"}), ReferenceIDNotFound, u"2");
}

}  // namespace
}  // namespace readkit::convert_to_bam_references_test
