#include "bam/index_file.h"

#include <cstdint>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "bam/bam.h"
#include "core/errors.h"
#include "support/bam_builder.h"
#include "support/bgzf_builder.h"
#include "support/expect_kind.h"
#include "support/index_model.h"
#include "support/memory.h"
#include "support/random_data.h"
#include "support/temp_dir.h"

namespace readkit::bam_index_file_test {
namespace {

const ModelIndex kIndex = {
    .refs = {{.bins = {{4681, {{100, 200}, {300, 400}}}, {kModelPseudoBin, {{100, 400}, {5, 6}}}},
              .linear = {100}},
             {},
             {.bins = {{0, {{500, 600}}}}, .linear = {0, 500, 550}}},
    .n_no_coor = 77};

// The kind of error that reading an index raises, "none" without one.
std::string error_of(const std::function<void()>& read) {
  try {
    read();
  } catch (const BAIRead&) {
    return "BAIRead";
  } catch (const InvalidBAIFormat&) {
    return "InvalidBAIFormat";
  }
  return "none";
}

class OpenIndexFile : public testing::Test {
 protected:
  // Opening a file fails as loading it does.
  void expect_same_error(const std::string& bytes) {
    const Path path = folder_.write("a.bai", bytes);
    EXPECT_EQ(error_of([&] { const IndexFile file(path); }), error_of([&] { BAI().load(path); }));
  }

  TempDir folder_;
};

// ---- Errors ------------------------------------------------------------------------------------

TEST_F(OpenIndexFile, MissingFileRaisesFileNotFound) {
  EXPECT_KIND(IndexFile(folder_.path("no.bai")), FileNotFound, folder_.path("no.bai"));
}

TEST_F(OpenIndexFile, ErrorsCarryThePath) {
  const Path path = folder_.write("a.bai", "BAI\1");
  EXPECT_KIND(IndexFile{path}, BAIRead, path);
  const Path wrong = folder_.write("b.bai", "BAI\2" + std::string(100, '\0'));
  EXPECT_KIND(IndexFile{wrong}, InvalidBAIFormat, wrong);
}

TEST_F(OpenIndexFile, EveryPrefixFailsAsItDoesToLoad) {
  const std::string file = encode_bai(kIndex);
  for (std::size_t size = 0; size <= file.size(); ++size) {
    SCOPED_TRACE(size);
    expect_same_error(file.substr(0, size));
  }
  EXPECT_EQ(error_of([&] { const IndexFile whole(folder_.write("a.bai", file)); }), "none");
}

// The lists are so long that they are passed over without being read.
TEST_F(OpenIndexFile, LongListsThatEndEarlyFailAsTheyDoToLoad) {
  ModelIndex index = kIndex;
  index.refs[2].linear.assign(20000, 9);
  index.refs[0].bins[0].chunks.assign(20000, {1, 2});
  const std::string file = encode_bai(index);
  for (const std::size_t cut : {0U, 1U, 8U, 9U, 20000U, 100000U, 160000U, 200000U, 400000U}) {
    SCOPED_TRACE(cut);
    expect_same_error(file.substr(0, file.size() - cut));
  }
  EXPECT_KIND(IndexFile(folder_.write("b.bai", file.substr(0, file.size() - 9))), BAIRead,
              folder_.path("b.bai"));
}

TEST_F(OpenIndexFile, RandomDamageFailsAsItDoesToLoad) {
  Random random(73);
  for (int round = 0; round < 300; ++round) {
    SCOPED_TRACE(round);
    std::string file = encode_bai(kIndex);
    file[4 + random() % (file.size() - 4)] = static_cast<char>(random());
    expect_same_error(file);
  }
}

TEST_F(OpenIndexFile, CountsBeyondTheFileTakeNoMemory) {
  const std::string head = "BAI\1" + int32(1);
  for (const std::string& bytes :
       {"BAI\1" + int32(2147483647), head + int32(2147483647),
        head + int32(1) + int32(4681) + int32(2147483647), head + int32(0) + int32(2147483647)}) {
    const Path path = folder_.write("a.bai", bytes);
    const auto open = [&] { EXPECT_KIND(IndexFile{path}, BAIRead, path); };
    EXPECT_LT(memory_growth(open), kMuchMemory);
  }
}

TEST_F(OpenIndexFile, FileThatIsCutShortWhileItIsOpenRaisesBaiRead) {
  ModelIndex index = kIndex;
  index.refs[0].linear.assign(200000, 9);  // what lies behind is not in memory any more
  const Path path = folder_.write("a.bai", encode_bai(index));
  IndexFile file(path);
  folder_.write("a.bai", encode_bai(index).substr(0, 30));
  EXPECT_KIND(file.find_chunks(0, 0, 1000), BAIRead, path);
}

// ---- Chunks ------------------------------------------------------------------------------------

TEST_F(OpenIndexFile, ReferencesOutsideTheIndexHaveNoChunks) {
  IndexFile file(folder_.write("a.bai", encode_bai(kIndex)));
  EXPECT_EQ(file.get_num_refs(), 3);
  EXPECT_TRUE(file.find_chunks(-1, 0, 1000).empty());
  EXPECT_TRUE(file.find_chunks(3, 0, 1000).empty());
  EXPECT_TRUE(file.find_chunks(1, 0, 1000).empty());
  EXPECT_EQ(file.find_chunks(0, 0, 1000).size(), 1U);
}

TEST_F(OpenIndexFile, RandomRegionsHaveTheChunksThatALoadedIndexGives) {
  Random random(74);
  std::size_t found = 0;
  for (int round = 0; round < 60; ++round) {
    ModelIndex model = {.refs = std::vector<ModelReference>(3)};
    for (ModelReference& ref : model.refs) {
      for (auto left = random_number(random, 0, 300); left > 0; --left) {
        ModelBin bin;
        bin.number = static_cast<std::uint32_t>(random_number(random, 0, 4800));
        if (random() % 40 == 0) bin.number = kModelPseudoBin;
        for (auto chunks = random_number(random, 0, 4); chunks > 0; --chunks) {
          const std::uint64_t beg = random() % (1 << 24);
          bin.chunks.emplace_back(beg, beg + random() % 100000);
        }
        ref.bins.push_back(bin);  // a number may come twice
      }
      ref.linear.resize(random() % 3000);
      for (std::uint64_t& entry : ref.linear) entry = random() % 3 == 0 ? random() % (1 << 24) : 0;
    }
    const Path path = folder_.write("a.bai", encode_bai(model));
    BAI loaded;
    loaded.load(path);
    IndexFile file(path);
    for (int query = 0; query < 20; ++query) {
      const auto ref = static_cast<int>(random_number(random, 0, 2));
      const auto beg = static_cast<int>(random_number(random, -20000, 3000000));
      const auto end = static_cast<int>(
          beg + random_number(random, -10, std::int64_t{1} << random_number(random, 0, 30)));
      const std::vector<Chunk> chunks = loaded.find_chunks(ref, beg, end);
      ASSERT_EQ(file.find_chunks(ref, beg, end), chunks) << ref << ' ' << beg << ' ' << end;
      found += chunks.size();
    }
  }
  EXPECT_GT(found, 1000U);
}

// ---- The index of an open file -----------------------------------------------------------------

class OpenIndex : public OpenIndexFile {
 protected:
  BAM open(int refs) {
    return BAM(BamBuilder()
                   .refs(refs, 100000)
                   .record(RecordBuilder().at(0, 5).cigar("5M"))
                   .write(folder_, "a.bam"));
  }
};

TEST_F(OpenIndex, IndexOfAnotherNumberOfReferencesIsNotTaken) {
  BAM bam = open(2);
  EXPECT_FALSE(bam.open_index(folder_.write("a.bai", encode_bai(kIndex))));
  EXPECT_FALSE(bam.has_index());
  EXPECT_EQ(bam.filter_overlapping(0, 0, 100).size(), 1U);
  EXPECT_TRUE(open(3).open_index(folder_.path("a.bai")));
}

TEST_F(OpenIndex, ThereIsNothingToSave) {
  BAM bam = open(3);
  EXPECT_TRUE(bam.open_index(folder_.write("a.bai", encode_bai(kIndex))));
  EXPECT_TRUE(bam.has_index());
  EXPECT_FALSE(bam.save_index(folder_.path("b.bai")));
  EXPECT_FALSE(folder_.exists("b.bai"));
}

TEST_F(OpenIndex, LoadingOrBuildingAnotherIndexTakesItsPlace) {
  BAM bam = open(3);
  const Path none = folder_.write("a.bai", encode_bai({.refs = {{}, {}, {}}}));
  EXPECT_TRUE(bam.open_index(none));
  EXPECT_EQ(bam.filter_overlapping(0, 0, 100).size(), 0U);
  bam.build_complete_index();
  EXPECT_EQ(bam.filter_overlapping(0, 0, 100).size(), 1U);
  EXPECT_TRUE(bam.open_index(none));
  EXPECT_EQ(bam.filter_overlapping(0, 0, 100).size(), 0U);
  EXPECT_FALSE(bam.save_index(folder_.path("b.bai")));
  EXPECT_TRUE(bam.load_index(none));
  EXPECT_TRUE(bam.save_index(folder_.path("b.bai")));
}

TEST_F(OpenIndex, PipeIsLoadedWhole) {
  BAM bam = open(3);
  const std::string pipe = folder_.native("pipe.bai");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  std::thread writer([&] {
    BAI index;
    index.load(folder_.write("a.bai", encode_bai(kIndex)));
    index.dump(folder_.path("pipe.bai"));
  });
  EXPECT_TRUE(bam.open_index(folder_.path("pipe.bai")));
  writer.join();
  EXPECT_EQ(bam.index().refs().size(), 3U);
}

}  // namespace
}  // namespace readkit::bam_index_file_test
