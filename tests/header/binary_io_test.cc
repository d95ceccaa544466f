// The binary header, read and written.
#include <cstdint>
#include <new>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "header/bam_header.h"
#include "support/bam_builder.h"
#include "support/bgzf_builder.h"
#include "support/bgzf_words.h"
#include "support/expect_kind.h"
#include "support/memory.h"
#include "support/reference_decoder.h"
#include "support/temp_dir.h"
#include "support/test_data.h"

namespace readkit::header_binary_io_test {
namespace {

class BinaryHeader : public testing::Test {
 protected:
  // A file whose data is exactly `content`.
  Path file(const std::string& content) {
    return folder_.write("f", BgzfFile().block(content).marker().bytes());
  }

  BamHeader read(const std::string& content) {
    BGZF in(file(content));
    BamHeader header;
    header.read(in);
    return header;
  }

  std::string written(const BamHeader& header) {
    BGZF out(folder_.path("out"), "w");
    EXPECT_TRUE(header.write(out));
    EXPECT_EQ(out.close(), 0);
    return decode_bgzf(folder_.read("out"));
  }

  TempDir folder_;
};

const char kText[] = "@HD\tVN:1.6\n@SQ\tSN:chr1\tLN:1000\n";

BamBuilder two_references() {
  return BamBuilder().text(kText).ref("chr1", 1000).ref("chrX", 4294967295U);
}

TEST_F(BinaryHeader, TextAndReferencesAreRead) {
  const BamHeader header = read(two_references().header_bytes());
  EXPECT_EQ(header.text(), kText);
  ASSERT_EQ(header.get_num_refs(), 2);
  EXPECT_EQ(header.get_ref(0).stored_name, std::string("chr1\0", 5));
  EXPECT_EQ(header.get_ref(0).l_ref, 1000u);
  EXPECT_EQ(header.get_ref(1).name(), "chrX");
  EXPECT_EQ(header.get_ref(1).l_ref, 4294967295U);
}

TEST_F(BinaryHeader, EmptyHeaderIsRead) {
  const BamHeader header = read("BAM\1" + int32(0) + int32(0));
  EXPECT_EQ(header.text(), "");
  EXPECT_EQ(header.get_num_refs(), 0);
}

TEST_F(BinaryHeader, ReadingReplacesWhatWasThere) {
  BGZF in(file(two_references().header_bytes()));
  BamHeader header;
  header.set_text("old");
  header.add_reference("old", 1);
  header.read(in);
  EXPECT_EQ(header.text(), kText);
  EXPECT_EQ(header.get_num_refs(), 2);
}

TEST_F(BinaryHeader, ReadReturnsTheOffsetOfTheFirstRecord) {
  const std::string header_bytes = two_references().header_bytes();
  BGZF in(file(header_bytes + "rest"));
  BamHeader header;
  EXPECT_EQ(header.read(in), virtual_offset(0, header_bytes.size()));
  EXPECT_EQ(take(in, 4), "rest");
}

TEST_F(BinaryHeader, ReadReturnsTheNextBlocksOffsetWhenTheHeaderFillsItsBlock) {
  const BgzfFile parts = BgzfFile().block(two_references().header_bytes()).block("rest").marker();
  BGZF in(folder_.write("f", parts.bytes()));
  BamHeader header;
  EXPECT_EQ(header.read(in), virtual_offset(parts.offset(1), 0));
}

TEST_F(BinaryHeader, HeaderMaySpanManyBlocks) {
  BamBuilder builder = two_references();
  for (int i = 0; i < 500; ++i) builder.ref("contig" + std::to_string(i), 77);
  folder_.write("f", builder.block_size(101).bytes());
  BGZF in(folder_.path("f"));
  BamHeader header;
  header.read(in);
  EXPECT_EQ(header.get_num_refs(), 502);
  EXPECT_EQ(header.get_ref_id("contig499"), 501);
  EXPECT_EQ(written(header), builder.header_bytes());
}

TEST_F(BinaryHeader, StoredNameIsKeptByteForByte) {
  std::string content = "BAM\1" + int32(0) + int32(3) + int32(3);
  content += std::string("a\0b", 3) + int32(1) + int32(0) + int32(2) + int32(1) + "x" + int32(3);
  const BamHeader header = read(content);
  EXPECT_EQ(header.get_ref(0).stored_name, std::string("a\0b", 3));
  EXPECT_EQ(header.get_ref(1).l_name(), 0);
  EXPECT_EQ(header.get_ref(1).name(), "");
  EXPECT_EQ(header.get_ref(2).name(), "");  // its one byte stands in the terminator's place
  EXPECT_EQ(written(header), content);
}

// ---- What is wrong with a file ----------------------------------------------------------------

TEST_F(BinaryHeader, OtherMagicRaisesInvalidBAMFormat) {
  for (const char* magic : {"BAM\2", "bam\1", "CRAM", "@HD\t"}) {
    const Path path = file(magic + int32(0) + int32(0));
    BGZF in(path);
    BamHeader header;
    EXPECT_KIND(header.read(in), InvalidBAMFormat, path);
  }
}

TEST_F(BinaryHeader, EveryPrefixRaisesBAMRead) {
  const std::string whole = two_references().header_bytes();
  for (std::size_t size = 0; size < whole.size(); ++size) {
    SCOPED_TRACE(size);
    const Path path = file(whole.substr(0, size));
    BGZF in(path);
    BamHeader header;
    EXPECT_KIND(header.read(in), BAMRead, path);
  }
}

TEST_F(BinaryHeader, EveryPrefixOfTheFileRaisesADocumentedError) {
  const std::string whole = two_references().block_size(20).bytes();
  for (std::size_t size = 0; size + 28 < whole.size(); ++size) {
    SCOPED_TRACE(size);
    const Path path = folder_.write("f", whole.substr(0, size));
    BGZF in(path);
    BamHeader header;
    try {
      header.read(in);
      ADD_FAILURE() << "nothing was raised";
    } catch (const MsgIdException& error) {
      EXPECT_TRUE(error.kind() == "InvalidBAMFormat" || error.kind() == "BAMRead") << error.what();
      EXPECT_EQ(error.arguments(), expected_arguments(path));
    }
  }
}

TEST_F(BinaryHeader, NegativeLengthsRaiseTheStandardAllocationError) {
  const std::string rest(100, 'x');
  EXPECT_THROW(read("BAM\1" + int32(-1) + rest), std::bad_alloc);
  EXPECT_THROW(read("BAM\1" + int32(-2147483648LL) + rest), std::bad_alloc);
  EXPECT_THROW(read("BAM\1" + int32(0) + int32(1) + int32(-1) + rest), std::bad_alloc);
}

TEST_F(BinaryHeader, NegativeCountRaisesTheStandardLengthError) {
  EXPECT_THROW(read("BAM\1" + int32(0) + int32(-1)), std::length_error);
  EXPECT_THROW(read("BAM\1" + int32(0) + int32(-2147483648LL)), std::length_error);
}

TEST_F(BinaryHeader, LengthsBeyondTheFileRaiseBAMReadWithoutTheMemoryForThem) {
  const std::string rows[] = {
      "BAM\1" + int32(0x7fffffff) + "text",
      "BAM\1" + int32(0) + int32(0x7fffffff) + int32(5) + "chr1",
      "BAM\1" + int32(0) + int32(1) + int32(0x7fffffff) + "chr1",
      "BAM\1" + int32(4) + "text" + int32(0x7fffffff),
  };
  for (const std::string& content : rows) {
    const Path path = file(content);
    BGZF in(path);
    BamHeader header;
    EXPECT_LT(memory_growth([&] { EXPECT_KIND(header.read(in), BAMRead, path); }), kMuchMemory);
  }
}

TEST_F(BinaryHeader, ErrorsOfTheStreamPassThrough) {
  const Path path = folder_.write("f", "this is no block, and never was");
  BGZF in(path);
  BamHeader header;
  EXPECT_KIND(header.read(in), InvalidBAMFormat, path);
}

// ---- Writing ----------------------------------------------------------------------------------

TEST_F(BinaryHeader, WritingGivesTheFormatsBytes) {
  BamHeader header;
  header.set_text(kText);
  header.add_reference("chr1", 1000);
  header.add_reference("chrX", 4294967295U);
  EXPECT_EQ(written(header), two_references().header_bytes());
}

TEST_F(BinaryHeader, EmptyHeaderIsWritten) {
  EXPECT_EQ(written(BamHeader()), "BAM\1" + int32(0) + int32(0));
}

TEST_F(BinaryHeader, WritingAndReadingBackGivesIdenticalTextAndReferences) {
  BamHeader header;
  header.set_text(std::string("any\0text\n", 9));
  header.add_reference("a", 1);
  header.add_reference("", 0);
  header.add_reference(std::string(300, 'n'), 2);
  const BamHeader back = read(written(header));
  EXPECT_EQ(back.text(), header.text());
  ASSERT_EQ(back.get_num_refs(), header.get_num_refs());
  for (int i = 0; i < header.get_num_refs(); ++i) {
    EXPECT_EQ(back.get_ref(i).stored_name, header.get_ref(i).stored_name);
    EXPECT_EQ(back.get_ref(i).l_ref, header.get_ref(i).l_ref);
  }
}

TEST_F(BinaryHeader, HeaderIsNotFlushedAndSharesItsBlockWithWhatFollows) {
  BGZF out(folder_.path("f"), "w");
  EXPECT_TRUE(BamHeader().write(out));
  EXPECT_EQ(out.tell(), 0u);
  put(out, "first record");
  out.close();
  EXPECT_EQ(decode_blocks(folder_.read("f")).size(), 2u);  // with the marker
}

TEST_F(BinaryHeader, WritingToAReaderRaisesBAMReadOnly) {
  const Path path = file("");
  BGZF in(path);
  EXPECT_KIND(BamHeader().write(in), BAMReadOnly, path);
}

TEST_F(BinaryHeader, EveryRealHeaderIsReadAndWrittenByteForByte) {
  SKIP_WITHOUT_TEST_DATA();
  for (const std::string& name : bam_files()) {
    const std::string data = gunzip_file(name);
    BGZF in(to_path(name));
    BamHeader header;
    header.read(in);
    const std::string bytes = written(header);
    EXPECT_TRUE(data.starts_with(bytes)) << name;
    const std::string rest = data.substr(bytes.size(), 100);
    EXPECT_TRUE(take(in, rest.size()) == rest) << name;  // the stream stands at the first record
  }
}

}  // namespace
}  // namespace readkit::header_binary_io_test
