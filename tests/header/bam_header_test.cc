#include "header/bam_header.h"

#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/expect_kind.h"

namespace readkit::header_bam_header_test {
namespace {

BamHeader three_references() {
  BamHeader header;
  header.set_text("@HD\tVN:1.6\n@SQ\tSN:chr1\tLN:1000\n@SQ\tSN:chr2\tLN:2000\n");
  header.add_reference("chr1", 1000);
  header.add_reference("chr2", 2000);
  header.add_reference("chr3", 3000);
  return header;
}

std::vector<std::string> names(const BamHeader& header) {
  std::vector<std::string> names;
  for (const Reference& reference : header.references()) names.emplace_back(reference.name());
  return names;
}

using Names = std::vector<std::string>;

TEST(BamHeader, StartsEmpty) {
  const BamHeader header;
  EXPECT_EQ(header.text(), "");
  EXPECT_EQ(header.get_num_refs(), 0);
}

TEST(BamHeader, ReferenceHoldsItsNameWithOneMoreByte) {
  const BamHeader header = three_references();
  const Reference& reference = header.get_ref(1);
  EXPECT_EQ(reference.l_name(), 5);
  EXPECT_EQ(reference.stored_name, std::string("chr2\0", 5));
  EXPECT_EQ(reference.name(), "chr2");
  EXPECT_EQ(reference.l_ref, 2000u);
}

TEST(BamHeader, ReferenceWithoutANameHasAnEmptyName) {
  EXPECT_EQ(Reference().l_name(), 0);
  EXPECT_EQ(Reference().name(), "");
}

TEST(BamHeader, IndexOutsideTheDictionaryRaisesReferenceIDNotFoundWithItInDecimal) {
  const BamHeader header = three_references();
  EXPECT_KIND(header.get_ref(-1), ReferenceIDNotFound, u"-1");
  EXPECT_KIND(header.get_ref(3), ReferenceIDNotFound, u"3");
  EXPECT_KIND(header.get_ref(2147483647), ReferenceIDNotFound, u"2147483647");
  EXPECT_KIND(header.get_ref(-2147483647 - 1), ReferenceIDNotFound, u"-2147483648");
  EXPECT_KIND(BamHeader().get_ref(0), ReferenceIDNotFound, u"0");
}

TEST(BamHeader, NameIsFoundWhenItIsExactlyTheSame) {
  const BamHeader header = three_references();
  EXPECT_EQ(header.get_ref_id("chr1"), 0);
  EXPECT_EQ(header.get_ref_id("chr3"), 2);
  EXPECT_KIND(header.get_ref_id("chr"), ReferenceIDNotFound, u"chr");
  EXPECT_KIND(header.get_ref_id("chr11"), ReferenceIDNotFound, u"chr11");
  EXPECT_KIND(header.get_ref_id("CHR1"), ReferenceIDNotFound, u"CHR1");
  EXPECT_KIND(header.get_ref_id(""), ReferenceIDNotFound, u"");
  EXPECT_KIND(header.get_ref_id("*"), ReferenceIDNotFound, u"*");
}

TEST(BamHeader, UnknownNameOfAnyBytesIsCarriedUnharmed) {
  EXPECT_KIND(BamHeader().get_ref_id("\xff"), ReferenceIDNotFound, UString{0xDCFF});
}

TEST(BamHeader, FirstOfTwoReferencesOfOneNameIsFound) {
  BamHeader header = three_references();
  header.add_reference("chr2", 5);
  EXPECT_EQ(header.get_ref_id("chr2"), 1);
}

// ---- Subset -----------------------------------------------------------------------------------

TEST(BamHeaderSubset, OfOneNameLeavesThatReferenceAlone) {
  BamHeader header = three_references();
  const std::unordered_map<int, int> expected = {{1, 0}};
  EXPECT_EQ(header.subset({"chr2"}), expected);
  EXPECT_EQ(names(header), Names{"chr2"});
  EXPECT_EQ(header.get_num_refs(), 1);
  EXPECT_EQ(header.get_ref(0).l_ref, 2000u);
}

TEST(BamHeaderSubset, KeepsDictionaryOrderWhateverTheNamesOrder) {
  BamHeader header;
  for (const char* name : {"b", "d", "a", "c"}) header.add_reference(name, 1);
  const std::unordered_map<int, int> expected = {{1, 0}, {2, 1}};
  EXPECT_EQ(header.subset({"a", "d", "unknown"}), expected);
  EXPECT_EQ(names(header), (Names{"d", "a"}));
}

TEST(BamHeaderSubset, OfAllNamesChangesNothing) {
  BamHeader header = three_references();
  const std::unordered_map<int, int> expected = {{0, 0}, {1, 1}, {2, 2}};
  EXPECT_EQ(header.subset({"chr1", "chr2", "chr3"}), expected);
  EXPECT_EQ(names(header), (Names{"chr1", "chr2", "chr3"}));
}

TEST(BamHeaderSubset, KeepsEveryReferenceOfAName) {
  BamHeader header = three_references();
  header.add_reference("chr1", 7);
  const std::unordered_map<int, int> expected = {{0, 0}, {3, 1}};
  EXPECT_EQ(header.subset({"chr1"}), expected);
  EXPECT_EQ(names(header), (Names{"chr1", "chr1"}));
}

TEST(BamHeaderSubset, LeavesTheTextAsItIs) {
  BamHeader header = three_references();
  const std::string text = header.text();
  header.subset({"chr2"});
  EXPECT_EQ(header.text(), text);
}

TEST(BamHeaderSubset, WithoutAnyMatchRaisesInvalidHeaderSubsetAndKeepsTheDictionary) {
  BamHeader header = three_references();
  EXPECT_KIND(header.subset({"chrZ"}), InvalidHeaderSubset);
  EXPECT_KIND(header.subset({}), InvalidHeaderSubset);
  EXPECT_EQ(header.get_num_refs(), 3);
  EXPECT_KIND(BamHeader().subset({"chr1"}), InvalidHeaderSubset);
}

TEST(BamHeaderSubset, MapHasAMaximumLoadFactorOfOne) {
  EXPECT_EQ(three_references().subset({"chr1"}).max_load_factor(), 1.0F);
}

// ---- A value ----------------------------------------------------------------------------------

TEST(BamHeader, CopyIsIndependent) {
  BamHeader header = three_references();
  const BamHeader copy = header;
  header.subset({"chr3"});
  header.set_text("");
  EXPECT_EQ(names(copy), (Names{"chr1", "chr2", "chr3"}));
  EXPECT_EQ(copy.text(), three_references().text());
  header = copy;
  EXPECT_EQ(header.get_num_refs(), 3);
}

TEST(BamHeader, MoveTakesTextAndReferences) {
  BamHeader header = three_references();
  const BamHeader moved = std::move(header);
  EXPECT_EQ(names(moved), (Names{"chr1", "chr2", "chr3"}));
  EXPECT_EQ(moved.text(), three_references().text());
}

}  // namespace
}  // namespace readkit::header_bam_header_test
