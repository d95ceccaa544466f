// The list of findings.
#include "check/findings.h"

#include <set>
#include <string>

#include <gtest/gtest.h>

namespace readkit::check_findings_test {
namespace {

TEST(Findings, EveryKindHasAnIdentifierOfItsOwn) {
  std::set<std::string_view> identifiers;
  for (std::size_t i = 0; i < kFindingKinds; ++i) {
    identifiers.insert(finding_identifier(static_cast<FindingKind>(i)));
  }
  EXPECT_EQ(identifiers.size(), kFindingKinds);
  EXPECT_EQ(identifiers.count(""), 0U);
  EXPECT_EQ(finding_identifier(FindingKind::kUnknownKind), "UnknownKind");
  EXPECT_EQ(finding_identifier(FindingKind::kBlockCRC), "BlockCRC");
  EXPECT_EQ(finding_identifier(FindingKind::kRecordLayout), "RecordLayout");
  EXPECT_EQ(finding_identifier(FindingKind::kFieldCount), "FieldCount");
  EXPECT_EQ(finding_identifier(FindingKind::kIndexMagic), "IndexMagic");
  EXPECT_EQ(finding_identifier(FindingKind::kIndexEffort), "IndexEffort");
}

TEST(Findings, TextIsThatOfThePartsInTheirOrder) {
  Findings findings;
  findings.add(FindingKind::kBin, 7, 3, "the bin is ", 4681, ", not ", std::uint64_t{1} << 63);
  ASSERT_EQ(findings.list().size(), 1U);
  const Finding& only = findings.list()[0];
  EXPECT_EQ(only.kind, FindingKind::kBin);
  EXPECT_EQ(only.offset, 7U);
  EXPECT_EQ(only.record, 3U);
  EXPECT_EQ(only.text, "the bin is 4681, not 9223372036854775808");
}

TEST(Findings, AllAreCountedAndTheFirstOfAKindAreKept) {
  Findings findings;
  constexpr std::uint64_t kMany = Findings::kMostOfAKind + 5;
  for (std::uint64_t i = 0; i < kMany; ++i) findings.add(FindingKind::kBin, i, i, "x");
  findings.add(FindingKind::kTag, 1, 1, "y");
  EXPECT_EQ(findings.count(), kMany + 1);
  EXPECT_EQ(findings.count(FindingKind::kBin), kMany);
  EXPECT_EQ(findings.count(FindingKind::kTag), 1U);
  ASSERT_EQ(findings.list().size(), Findings::kMostOfAKind + 1);
  EXPECT_EQ(findings.list()[Findings::kMostOfAKind - 1].offset, Findings::kMostOfAKind - 1);
  EXPECT_EQ(findings.list().back().kind, FindingKind::kTag);
}

TEST(Findings, ExcerptIsTheBeginOfALongText) {
  EXPECT_EQ(excerpt("short"), "short");
  EXPECT_EQ(excerpt(std::string(1000, 'a')), std::string(80, 'a'));
}

}  // namespace
}  // namespace readkit::check_findings_test
