// The index as a file.
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "bam/bai.h"
#include "bam/bam.h"
#include "support/bam_builder.h"
#include "support/bgzf_builder.h"
#include "support/expect_kind.h"
#include "support/index_model.h"
#include "support/memory.h"
#include "support/temp_dir.h"

namespace readkit::bam_bai_file_test {
namespace {

// Two references, the second one with windows; every count is small and not zero.
const ModelIndex kIndex = {
    .refs = {{.bins = {{4681, {{100, 200}, {300, 400}}}, {kModelPseudoBin, {{100, 400}, {5, 6}}}},
              .linear = {100}},
             {.bins = {{0, {{500, 600}}}}, .linear = {0, 500, 550}}},
    .n_no_coor = 77};

class BaiFile : public testing::Test {
 protected:
  BAI load(const std::string& bytes) {
    BAI index;
    EXPECT_TRUE(index.load(folder_.write("a.bai", bytes)));
    return index;
  }
  // What an index holds, as the file that `dump` writes tells.
  ModelIndex dumped(const BAI& index) {
    EXPECT_TRUE(index.dump(folder_.path("dumped.bai")));
    return decode_bai(folder_.read("dumped.bai"));
  }
  void expect_unreadable(const std::string& bytes) {
    const Path path = folder_.write("bad.bai", bytes);
    const auto read = [&] { EXPECT_KIND(BAI().load(path), BAIRead, path); };
    EXPECT_LT(memory_growth(read), kMuchMemory);
  }
  void expect_invalid(const std::string& bytes) {
    const Path path = folder_.write("bad.bai", bytes);
    EXPECT_KIND(BAI().load(path), InvalidBAIFormat, path);
  }

  TempDir folder_;
};

// ---- Writing ---------------------------------------------------------------------------------

TEST_F(BaiFile, IndexOfAFileWithoutRecordsIsSixteenBytes) {
  BAM bam(BamBuilder().refs(3, 1000).write(folder_, "a.bam"));
  EXPECT_TRUE(bam.build_index());
  EXPECT_TRUE(bam.save_index(folder_.path("a.bai")));
  EXPECT_EQ(folder_.read("a.bai"), std::string("BAI\1\0\0\0\0\0\0\0\0\0\0\0\0", 16));
}

TEST_F(BaiFile, EveryFieldStandsWhereTheFormatPutsIt) {
  BAI index;
  index.init(0x10002);
  index.add(RecordBuilder().at(0, 5).seq("ACGT").cigar("4M").record(), 0x10042);
  index.add(RecordBuilder().flag(4).record(), 0x10082);
  index.finish(0x10082);
  EXPECT_TRUE(index.dump(folder_.path("a.bai")));
  const std::string bin =
      int32(4681) + int32(1) + little_endian(0x10002, 8) + little_endian(0x10042, 8);
  const std::string pseudo_bin = int32(37450) + int32(2) + little_endian(0x10002, 8) +
                                 little_endian(0x10042, 8) + little_endian(1, 8) +
                                 little_endian(0, 8);
  const std::string head = "BAI\1" + int32(1) + int32(2);
  const std::string tail = int32(1) + little_endian(0x10002, 8) + little_endian(1, 8);
  // The bins stand in the order of the bin map.
  const std::string file = folder_.read("a.bai");
  EXPECT_EQ(
      file,
      head + (file.compare(12, 4, int32(4681)) == 0 ? bin + pseudo_bin : pseudo_bin + bin) + tail);
}

TEST_F(BaiFile, UnfinishedIndexIsNotWritten) {
  BAI index;
  index.init(0);
  EXPECT_FALSE(index.dump(folder_.path("a.bai")));
  EXPECT_FALSE(BAI().dump(folder_.path("no/a.bai")));
  EXPECT_EQ(folder_.names(), std::vector<std::string>{});
}

TEST_F(BaiFile, FileThatCannotBeMadeRaisesCannotOpenOutFile) {
  const BAI index = load(encode_bai(kIndex));
  EXPECT_KIND(index.dump(folder_.path("no/a.bai")), CannotOpenOutFile, folder_.path("no/a.bai"));
  EXPECT_KIND(index.dump(Path()), CannotOpenOutFile, u"");
  EXPECT_KIND(index.dump(to_path(folder_.folder())), CannotOpenOutFile, to_path(folder_.folder()));
}

TEST_F(BaiFile, ShortWriteRaisesFileWrite) {
  const Path full(u"/dev/full");
  EXPECT_KIND(load(encode_bai(kIndex)).dump(full), FileWrite, full);
  ModelIndex large = kIndex;
  large.refs[0].linear.assign(1 << 16, 7);
  EXPECT_KIND(load(encode_bai(large)).dump(full), FileWrite, full);
}

TEST_F(BaiFile, OnlyWindowsInUseAreWritten) {
  BAI index;
  index.init(9);
  for (int window = 0; window < 5; ++window) {
    index.add(RecordBuilder().at(0, window * 16384).seq("A").cigar("1M").record(),
              static_cast<std::uint64_t>(window + 1) << 40);
  }
  index.finish(std::uint64_t{5} << 40);
  EXPECT_EQ(index.refs()[0].linear.size(), 8U);
  EXPECT_EQ(dumped(index).refs.at(0).linear.size(), 5U);
}

// ---- Reading ---------------------------------------------------------------------------------

TEST_F(BaiFile, LoadedIndexHoldsWhatTheFileHolds) {
  const BAI index = load(encode_bai(kIndex));
  EXPECT_EQ(index.get_num_refs(), 2);
  EXPECT_EQ(index.n_no_coor(), 77U);
  EXPECT_TRUE(index.finished());
  const RefIndex& first = index.refs().at(0);
  EXPECT_EQ(first.n_bin, 2);
  EXPECT_EQ(first.n_intv, 1);
  EXPECT_EQ(first.bins.at(4681).bin, 4681U);
  EXPECT_EQ(first.bins.at(4681).n_chunk, 2);
  EXPECT_EQ(first.bins.at(4681).chunks, (std::vector<Chunk>{{100, 200}, {300, 400}}));
  EXPECT_EQ(first.bins.at(kModelPseudoBin).chunks, (std::vector<Chunk>{{100, 400}, {5, 6}}));
  EXPECT_EQ(index.refs().at(1).linear, (std::vector<std::uint64_t>{0, 500, 550}));
}

TEST_F(BaiFile, MissingFileRaisesFileNotFound) {
  EXPECT_KIND(BAI().load(folder_.path("no.bai")), FileNotFound, folder_.path("no.bai"));
  EXPECT_KIND(BAI().load(Path()), FileNotFound, u"");
}

TEST_F(BaiFile, WrongMagicRaisesInvalidBaiFormat) {
  const std::string file = encode_bai(kIndex);
  expect_invalid("BAI\2" + file.substr(4));
  expect_invalid("bai\1" + file.substr(4));
  expect_invalid("BAM\1" + file.substr(4));
  expect_invalid("CSI\1");
}

TEST_F(BaiFile, EveryPrefixIsUnreadableUpToTheEndOfTheLastReference) {
  const std::string file = encode_bai(kIndex);
  for (std::size_t size = 0; size + 8 < file.size(); ++size) {
    SCOPED_TRACE(size);
    expect_unreadable(file.substr(0, size));
  }
}

TEST_F(BaiFile, FileMayEndAfterTheLastReference) {
  const std::string file = encode_bai(kIndex);
  for (std::size_t missing = 1; missing <= 8; ++missing) {
    const BAI index = load(file.substr(0, file.size() - missing));
    EXPECT_EQ(index.get_num_refs(), 2);
    EXPECT_EQ(index.n_no_coor(), 0U) << missing;
  }
}

TEST_F(BaiFile, MissingCountOfUnplacedRecordsLeavesTheCountUnchanged) {
  BAI index = load(encode_bai(kIndex));
  index.load(folder_.write("b.bai", encode_bai({.refs = {}, .n_no_coor = std::nullopt})));
  EXPECT_EQ(index.n_no_coor(), 77U);
}

TEST_F(BaiFile, BytesAfterTheCountAreIgnored) {
  const BAI index = load(encode_bai(kIndex) + std::string(544, '\x7f'));
  EXPECT_EQ(index.n_no_coor(), 77U);
  EXPECT_EQ(dumped(index).refs.size(), 2U);
}

TEST_F(BaiFile, NoOrFewerReferencesThanNoneLoad) {
  for (const int n_ref : {0, -1, -2147483647 - 1}) {
    const BAI with_count = load("BAI\1" + int32(n_ref) + little_endian(9, 8));
    EXPECT_EQ(with_count.get_num_refs(), n_ref);
    EXPECT_EQ(with_count.n_no_coor(), 9U);
    EXPECT_TRUE(with_count.refs().empty());
    EXPECT_EQ(load("BAI\1" + int32(n_ref)).n_no_coor(), 0U);
  }
}

TEST_F(BaiFile, NegativeCountsRaiseInvalidBaiFormat) {
  for (const std::int64_t count : {-1LL, -2147483648LL}) {
    const std::string head = "BAI\1" + int32(1);
    expect_invalid(head + int32(count));
    expect_invalid(head + int32(1) + int32(4681) + int32(count));
    expect_invalid(head + int32(0) + int32(count));
  }
}

TEST_F(BaiFile, CountsBeyondTheFileRaiseBaiReadAndTakeNoMemory) {
  const std::string head = "BAI\1" + int32(1);
  const std::string rest(64, '\1');
  expect_unreadable("BAI\1" + int32(2147483647));
  expect_unreadable(head + int32(2147483647));
  expect_unreadable(head + int32(2147483647) + int32(4681) + int32(0));
  expect_unreadable(head + int32(1) + int32(4681) + int32(2147483647) + rest);
  expect_unreadable(head + int32(0) + int32(2147483647) + rest);
}

TEST_F(BaiFile, LaterChunksOfARepeatedBinExtendTheEarlierOne) {
  const BAI index =
      load(encode_bai({.refs = {{.bins = {{4681, {{100, 200}}}, {7, {}}, {4681, {{300, 400}}}}}}}));
  const RefIndex& ref = index.refs().at(0);
  EXPECT_EQ(ref.bins.at(4681).chunks, (std::vector<Chunk>{{100, 200}, {300, 400}}));
  EXPECT_EQ(ref.bins.at(4681).n_chunk, 2);
  EXPECT_EQ(ref.n_bin, 2);
  EXPECT_EQ(dumped(index).refs.at(0).chunks(4681).size(), 2U);
}

TEST_F(BaiFile, LoadingAppendsToTheReferencesThatAreThere) {
  BAI index = load(encode_bai(kIndex));
  EXPECT_TRUE(index.load(folder_.path("a.bai")));
  EXPECT_EQ(index.get_num_refs(), 2);
  EXPECT_EQ(index.refs().size(), 4U);
}

TEST_F(BaiFile, FailedLoadLeavesTheReferencesReadBefore) {
  const std::string file = encode_bai(kIndex);
  const Path path = folder_.write("cut.bai", file.substr(0, file.size() - 9));
  BAI index;
  EXPECT_KIND(index.load(path), BAIRead, path);
  ASSERT_EQ(index.refs().size(), 1U);
  EXPECT_EQ(index.refs()[0].n_bin, 2);
}

TEST_F(BaiFile, LongListsOfChunksAndWindowsAreReadWhole) {
  ModelIndex index = {.refs = {{.bins = {{4681, {}}}, .linear = {}}}};
  for (std::uint64_t i = 0; i < 20001; ++i) {
    index.refs[0].bins[0].chunks.emplace_back(i, i + 1);
    index.refs[0].linear.push_back(i * 3);
  }
  EXPECT_EQ(dumped(load(encode_bai(index))), index);
}

TEST_F(BaiFile, LoadedIndexIsWrittenBackWithTheSameContent) {
  ModelIndex written = dumped(load(encode_bai(kIndex)));
  ASSERT_EQ(written.refs.size(), 2U);
  for (std::size_t i = 0; i < 2; ++i) {
    EXPECT_EQ(written.refs[i].numbers(), kIndex.refs[i].numbers());
    for (const ModelBin& bin : kIndex.refs[i].bins) {
      EXPECT_EQ(written.refs[i].chunks(bin.number), bin.chunks);
    }
    EXPECT_EQ(written.refs[i].linear, kIndex.refs[i].linear);
  }
  EXPECT_EQ(written.n_no_coor, 77U);
}

// ---- The index of an open file ---------------------------------------------------------------

class BamIndex : public BaiFile {
 protected:
  BAM open(int refs) {
    return BAM(BamBuilder()
                   .refs(refs, 100000)
                   .record(RecordBuilder().at(0, 5).cigar("5M"))
                   .write(folder_, "a.bam"));
  }
};

TEST_F(BamIndex, IndexWithAsManyReferencesAsTheHeaderIsTaken) {
  BAM bam = open(2);
  EXPECT_FALSE(bam.has_index());
  EXPECT_TRUE(bam.load_index(folder_.write("a.bai", encode_bai(kIndex))));
  EXPECT_TRUE(bam.has_index());
}

TEST_F(BamIndex, IndexWithAnotherNumberOfReferencesIsNotTaken) {
  for (const int refs : {0, 1, 3}) {
    BAM bam = open(refs);
    EXPECT_FALSE(bam.load_index(folder_.write("a.bai", encode_bai(kIndex))));
    EXPECT_FALSE(bam.has_index());
    EXPECT_FALSE(bam.save_index(folder_.path("b.bai")));
  }
  EXPECT_FALSE(folder_.exists("b.bai"));
}

TEST_F(BamIndex, NegativeReferenceCountIsAnotherNumberOfReferences) {
  BAM bam = open(0);
  EXPECT_FALSE(bam.load_index(folder_.write("a.bai", "BAI\1" + int32(-1))));
  EXPECT_TRUE(bam.load_index(folder_.write("a.bai", "BAI\1" + int32(0))));
}

TEST_F(BamIndex, ErrorsOfLoadingTravel) {
  BAM bam = open(2);
  EXPECT_KIND(bam.load_index(folder_.path("no.bai")), FileNotFound, folder_.path("no.bai"));
  const Path path = folder_.write("bad.bai", "BAI");
  EXPECT_KIND(bam.load_index(path), BAIRead, path);
}

TEST_F(BamIndex, SavingWithoutAnIndexWritesNothing) {
  BAM bam = open(2);
  EXPECT_FALSE(bam.save_index(folder_.path("a.bai")));
  EXPECT_FALSE(folder_.exists("a.bai"));
}

TEST_F(BamIndex, LoadedIndexCanBeSaved) {
  BAM bam = open(2);
  bam.load_index(folder_.write("a.bai", encode_bai(kIndex)));
  EXPECT_TRUE(bam.save_index(folder_.path("b.bai")));
  EXPECT_EQ(decode_bai(folder_.read("b.bai")).refs.size(), 2U);
}

}  // namespace
}  // namespace readkit::bam_bai_file_test
