// The kind of a file by its first bytes.
#include "check/file_kind.h"

#include <string>

#include <gtest/gtest.h>

#include "support/bgzf_builder.h"

namespace readkit::check_file_kind_test {
namespace {

FileKind kind(const std::string& bytes) {
  return file_kind({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()}, true);
}

TEST(CheckedFileKind, BlocksAreKnownByTheirHeader) {
  const std::string file = BgzfFile().block("data").marker().bytes();
  for (std::size_t size = 1; size <= file.size(); ++size) {
    EXPECT_EQ(kind(file.substr(0, size)), FileKind::kBgzf) << size;
  }
  EXPECT_EQ(kind("junk" + file), FileKind::kBgzf);
  EXPECT_EQ(kind("\x1f\x8b\x08" + std::string(100, 'x') + file), FileKind::kBgzf);
  EXPECT_EQ(kind("\x1f\x8b\x08" + std::string(100, 'x')), FileKind::kGzip);
}

TEST(CheckedFileKind, IndexIsKnownByItsMagic) {
  EXPECT_EQ(kind(std::string("BAI\1\0\0\0\0", 8)), FileKind::kIndex);
  EXPECT_EQ(kind("BAI\2"), FileKind::kUnknown);
  EXPECT_EQ(kind("BAI"), FileKind::kUnknown);
}

TEST(CheckedFileKind, TextIsKnownByItsFirstLines) {
  EXPECT_EQ(kind("@HD\tVN:1.6\n"), FileKind::kSam);
  EXPECT_EQ(kind("@SQ SN:a\n"), FileKind::kSam);
  EXPECT_EQ(kind("r1\t0\tchr1\n"), FileKind::kSam);
  EXPECT_EQ(kind("@r1\nACGT\n+\nIIII\n"), FileKind::kFastq);
  EXPECT_EQ(kind("@r1\tx\nACGT\n+\nIIII\n"), FileKind::kFastq);
  EXPECT_EQ(kind("@SQ\tx\nACGT\n+\nIIII\n"), FileKind::kFastq);
  EXPECT_EQ(kind("@CO\tx\n@CO\tx\n+\t\n"), FileKind::kSam);  // the second line has a TAB
  EXPECT_EQ(kind("@r1"), FileKind::kFastq);
  EXPECT_EQ(kind("@HD"), FileKind::kFastq);  // a header line has a TAB behind its type
}

TEST(CheckedFileKind, OtherBytesAreUnknown) {
  EXPECT_EQ(kind(""), FileKind::kEmpty);
  EXPECT_EQ(kind(">chr1\nACGT\n"), FileKind::kUnknown);
  EXPECT_EQ(kind(std::string("a\tb\0c\n", 6)), FileKind::kUnknown);
  EXPECT_EQ(kind(std::string(100, '\0')), FileKind::kUnknown);
  EXPECT_EQ(kind("\x1f" + std::string(100, 'x')), FileKind::kUnknown);
}

}  // namespace
}  // namespace readkit::check_file_kind_test
