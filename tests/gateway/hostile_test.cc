// Damaged files through every gateway function that reads such a file, and through kxCheck: a
// result or a documented error, never anything else. The files are cut at every length and changed
// at every byte, the smallest one at every bit, as they stand and inside their compressed data.
#include <algorithm>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/bgzf_builder.h"
#include "support/hostile_calls.h"
#include "support/memory.h"
#include "support/reference_decoder.h"

namespace readkit::gateway_hostile_test {
namespace {

using Outcomes = std::vector<std::string>;

class Hostile : public testing::Test {
 protected:
  void prepare(const BamBuilder& sound) { place_.emplace(sound); }
  void write(const std::string& name, const std::string& bytes) { place_->write(name, bytes); }

  // All calls; every outcome is a documented one.
  Outcomes run(const std::vector<HostileCall>& calls, const std::string& what) {
    Outcomes outcomes;
    for (const HostileCall& call : calls) {
      outcomes.push_back(call.run());
      seen_.insert(outcomes.back());
      EXPECT_TRUE(documented_outcomes().count(outcomes.back()) > 0)
          << what << ": " << call.name << " gives " << outcomes.back();
    }
    return outcomes;
  }
  // A sweep of every place must have met what it is for.
  void expect_seen(const Outcomes& outcomes) const {
    if (stride_ > 1) return;
    for (const std::string& outcome : outcomes) {
      EXPECT_TRUE(seen_.count(outcome) > 0) << "the sweep never met " << outcome;
    }
  }

  std::optional<HostileFolder> place_;
  std::size_t stride_ = kStride;

 private:
  std::set<std::string> seen_;
};

std::string changed(std::string bytes, std::size_t at, int bits) {
  bytes[at] = static_cast<char>(bytes[at] ^ bits);
  return bytes;
}

const std::vector<int> kEveryBit = {0x01, 0x02, 0x04, 0x08, 0x10, 0x20, 0x40, 0x80};
// All bits; the lowest one; one that makes numbers large.
const std::vector<int> kFewBits = {0xff, 0x01, 0x40};

struct Sample {
  const char* name;
  BamBuilder (*file)();
};

class HostileBam : public Hostile, public testing::WithParamInterface<Sample> {
 protected:
  void SetUp() override {
    file_ = GetParam().file();
    bytes_ = file_.bytes();
    ASSERT_LT(bytes_.size(), 1500U);
    prepare(file_);
    calls_ = place_->calls();
    sound_ = run(calls_, "the sound file");
    for (const std::string& outcome : sound_) EXPECT_EQ(outcome, kOk);
    is_plain_ = std::string(GetParam().name) == "plain";
    // The small file is damaged at every place, the large one at every fifth.
    flips_ = is_plain_ ? kEveryBit : kFewBits;
    stride_ = is_plain_ ? kStride : 5 * kStride;
  }

  Outcomes with(const std::string& bytes, const std::string& what) {
    write("a.bam", bytes);
    return run(calls_, what);
  }
  // Calls that read the header alone do not meet what lies behind its last block.
  void drop_header_calls() {
    std::erase_if(calls_, [](const HostileCall& call) { return !call.reads_records; });
  }
  std::size_t behind_header() const {
    std::size_t data = 0;
    for (const DecodedBlock& block : decode_blocks(bytes_)) {
      data += block.data.size();
      if (data >= file_.header_bytes().size()) return block.offset + block.bytes.size();
    }
    return bytes_.size();
  }
  // The same bytes inside the blocks. Where kxCheck finds nothing, no function finds damage.
  Outcomes with_content(const std::string& content, const std::string& what) {
    const Outcomes outcomes = with(BgzfFile().blocks(content, 150).marker().bytes(), what);
    const std::set<std::string> damage = {kNotBam,
                                          kCutShort,
                                          kDamaged,
                                          "seqlab:readkit:InvalidSAMFormat",
                                          "seqlab:readkit:InvalidTagType",
                                          "Tessel:cpp:bad_alloc",
                                          "Tessel:cpp:length_error"};
    const std::string findings = place_->check();
    for (std::size_t i = 0; i < outcomes.size() && findings == "none"; ++i) {
      if (calls_[i].uses_index) continue;  // which is that of the sound file
      EXPECT_FALSE(damage.contains(outcomes[i])) << what << ": " << calls_[i].name;
    }
    return outcomes;
  }

  BamBuilder file_;
  std::string bytes_;
  std::vector<HostileCall> calls_;
  Outcomes sound_;
  bool is_plain_ = false;
  std::vector<int> flips_;
};

INSTANTIATE_TEST_SUITE_P(Samples, HostileBam,
                         testing::Values(Sample{"plain", plain_file}, Sample{"rich", rich_file}),
                         [](const auto& param) { return std::string(param.param.name); });

// Where sweeps may stop for lack of memory: far above what they take, far below a damaged count.
constexpr std::size_t kSweepMemory = std::size_t{1} << 30;

// ---- Sweeps ------------------------------------------------------------------------------------

TEST_P(HostileBam, EveryPrefixFailsWhereItEnds) {
  const std::vector<DecodedBlock> blocks = decode_blocks(bytes_);
  const std::size_t header_end = behind_header();
  const auto sweep = [&] {
    for (std::size_t size = 0; size < bytes_.size(); size += stride_) {
      if (size > header_end) drop_header_calls();
      const Outcomes outcomes = with(bytes_.substr(0, size), "cut at " + std::to_string(size));
      const auto cut = std::find_if(blocks.begin(), blocks.end(), [&](const DecodedBlock& block) {
        return size < block.offset + block.bytes.size();
      });
      // A cut inside a block's header is a bad header, one behind it a short block.
      const std::string expected = size - cut->offset < 18 ? kNotBam : kCutShort;
      for (std::size_t i = 0; i < calls_.size(); ++i) {
        if (calls_[i].reads_all) {
          ASSERT_EQ(outcomes[i], expected) << size << ": " << calls_[i].name;
        } else {
          ASSERT_TRUE(outcomes[i] == kOk || outcomes[i] == expected) << size;
        }
      }
      ASSERT_NE(place_->check(), "none") << "kxCheck does not see a cut at " << size;
    }
  };
  EXPECT_LT(memory_growth(sweep), kSweepMemory);
  expect_seen({kOk, kNotBam, kCutShort});
}

TEST_P(HostileBam, EveryChangedByteGivesADocumentedOutcome) {
  const std::size_t header_end = behind_header();
  const auto sweep = [&] {
    for (std::size_t at = 0; at < bytes_.size(); at += stride_) {
      if (at >= header_end) drop_header_calls();
      for (const int bits : flips_) with(changed(bytes_, at, bits), std::to_string(at));
    }
  };
  EXPECT_LT(memory_growth(sweep), kSweepMemory);
  expect_seen({kOk, kNotBam, kCutShort, kDamaged});
}

// MTIME, XFL and OS, and CRC32 and ISIZE at the end of each block.
TEST_P(HostileBam, BytesThatNobodyLooksAtMayBeAnything) {
  for (const DecodedBlock& block : decode_blocks(bytes_)) {
    std::vector<std::size_t> unseen = {4, 5, 6, 7, 8, 9};
    for (std::size_t i = 1; i <= 8; ++i) unseen.push_back(block.bytes.size() - i);
    for (const std::size_t offset : unseen) {
      const std::size_t at = block.offset + offset;
      ASSERT_EQ(with(changed(bytes_, at, 0xff), std::to_string(at)), sound_) << at;
    }
  }
}

// What kxCheck does not see, among all flipped bits, is nothing but what means nothing: MTIME, XFL
// and OS of a block (not of the marker, which has its own), and bits of the compressed data with
// which a decoder that knows nothing of them makes the same bytes.
TEST_P(HostileBam, CheckSeesEveryFlippedBitThatMeansSomething) {
  const std::string data = decode_bgzf(bytes_);
  std::set<std::size_t> free_bytes;
  for (const DecodedBlock& block : decode_blocks(bytes_)) {
    if (block.data.empty()) continue;
    for (std::size_t offset = 4; offset < 10; ++offset) free_bytes.insert(block.offset + offset);
  }
  std::size_t without_meaning = 0;
  for (std::size_t at = 0; at < bytes_.size(); at += stride_) {
    for (const int bits : flips_) {
      const std::string damaged = changed(bytes_, at, bits);
      write("a.bam", damaged);
      const bool is_seen = place_->check() != "none";
      if (free_bytes.contains(at)) {
        EXPECT_FALSE(is_seen) << at << ", " << bits;
      } else if (!is_seen) {
        EXPECT_EQ(decode_bgzf(damaged), data) << at << ", " << bits;
        ++without_meaning;
      }
    }
  }
  EXPECT_LE(without_meaning, bytes_.size() * flips_.size() / 100);
}

TEST_P(HostileBam, EveryChangedByteOfTheContentGivesADocumentedOutcome) {
  const std::string content = file_.content();
  const auto sweep = [&] {
    for (std::size_t at = 0; at < content.size(); at += stride_) {
      if (at >= file_.header_bytes().size()) drop_header_calls();
      for (const int bits : flips_) {
        with_content(changed(content, at, bits), "content at " + std::to_string(at));
      }
    }
  };
  EXPECT_LT(memory_growth(sweep), kSweepMemory);
  expect_seen({kOk, kNotBam, kCutShort, "seqlab:readkit:BAMUnsorted",
               "seqlab:readkit:ReferenceIDNotFound", "Tessel:cpp:bad_alloc",
               "Tessel:cpp:length_error"});
  if (is_plain_) expect_seen({"seqlab:readkit:PositionTooBig"});
}

TEST_P(HostileBam, EveryPrefixOfTheContentIsAFileThatEndsThere) {
  const std::string content = file_.content();
  const std::size_t header = file_.header_bytes().size();
  for (std::size_t size = 0; size < content.size(); size += stride_) {
    const Outcomes outcomes =
        with_content(content.substr(0, size), "content cut at " + std::to_string(size));
    for (std::size_t i = 0; i < calls_.size(); ++i) {
      if (size < header) {
        ASSERT_EQ(outcomes[i], kCutShort) << size << ": " << calls_[i].name;
      } else if (!calls_[i].uses_index) {
        // A record cut short is the end.
        const bool is_missing_nh = outcomes[i] == "seqlab:readkit:AllNHTagsMissing";
        ASSERT_TRUE(outcomes[i] == kOk || is_missing_nh) << size << ": " << calls_[i].name;
      }
    }
  }
}

TEST_P(HostileBam, FilesAreClosedHoweverACallEnds) {
  const std::size_t before = open_files();
  with(bytes_, "sound");
  for (const std::size_t size : {bytes_.size() / 2, bytes_.size() - 1}) {
    with(bytes_.substr(0, size), "cut short");
  }
  EXPECT_EQ(open_files(), before);
}

// Whatever bytes a sound block holds: functions that take every record agree on whether they can,
// and on how many there are; a query through a complete index of the file finds what it finds
// without.
TEST(HostileRecords, FunctionsAgreeOnADamagedRecord) {
  const BamBuilder file = plain_file();
  const HostileFolder place(file);
  const std::string content = file.content();
  const std::set<std::string> takers = {"to_bam", "to_fastq", "to_fasta", "bamSort",
                                        "kxBamShuffleSeeded"};
  const std::vector<HostileCall> calls = place.calls();
  const auto result_of_call = [&](const std::string& name) {
    const auto call = std::find_if(calls.begin(), calls.end(),
                                   [&](const HostileCall& one) { return one.name == name; });
    return call->result();
  };
  std::size_t queries = 0;
  for (std::size_t at = file.header_bytes().size(); at < content.size(); at += kStride) {
    for (const int bits : kFewBits) {
      place.write("a.bam", BgzfFile().block(changed(content, at, bits)).marker().bytes());
      std::set<std::string> results;
      for (const std::string& name : takers) results.insert(result_of_call(name));
      EXPECT_EQ(results.size(), 1U) << at << ", " << bits << testing::PrintToString(results);
      const Inputs files =
          inputs(text(place.files().folder(), "a.bam"), text(place.files().folder(), "a.bai"));
      try {
        call_gateway("kxBamIndexComplete", 0, files);
      } catch (const host::HostError&) {
        continue;
      }
      ++queries;
      const bool is_sorted = result_of_call("bamInfo").starts_with("ok sorted");
      for (const std::string name : {"getStartsInReference", "samWrite", "kxFields",
                                     "kxFields_of_20", "kxSamWriteRegions"}) {
        // The index takes a file that goes back to the first reference, and finds what comes there.
        if (!is_sorted && ends_behind_regions(name)) continue;
        EXPECT_EQ(result_of_call(name + ", index"), result_of_call(name))
            << name << ": " << at << ", " << bits;
      }
    }
  }
  EXPECT_GT(queries, 0U);
}

// ---- Damaged indexes ---------------------------------------------------------------------------

class HostileBai : public Hostile {
 protected:
  void SetUp() override {
    prepare(rich_file());
    index_ = place_->index();
    for (const HostileCall& call : place_->calls()) {
      if (call.uses_index) calls_.push_back(call);
    }
    ASSERT_EQ(calls_.size(), 6U);
  }
  Outcomes with(const std::string& bytes, const std::string& what) {
    write("a.bai", bytes);
    return run(calls_, what);
  }

  std::string index_;

  std::vector<HostileCall> calls_;
};

TEST_F(HostileBai, EveryPrefixIsCutShortUpToTheLastCount) {
  const FileCall alone = place_->files().on_index().end()[-2];
  for (std::size_t size = 0; size <= index_.size(); size += kStride) {
    const std::string expected = size + 8 < index_.size() ? kIndexCutShort : kOk;
    for (const std::string& outcome : with(index_.substr(0, size), std::to_string(size))) {
      ASSERT_EQ(outcome, expected) << size;
    }
    // Without its last count an index is whole.
    const bool is_whole = size == index_.size() || size + 8 == index_.size();
    ASSERT_EQ(result_of(alone) == "none", is_whole) << size;
  }
}

TEST_F(HostileBai, EveryChangedByteGivesADocumentedOutcome) {
  const auto sweep = [&] {
    for (std::size_t at = 0; at < index_.size(); at += kStride) {
      for (const int bits : kFewBits) with(changed(index_, at, bits), std::to_string(at));
    }
  };
  EXPECT_LT(memory_growth(sweep), kSweepMemory);
  expect_seen({kOk, kIndexCutShort, kNotBai, kNotBam});
}

// An index in which kxCheck finds nothing finds every record of the file.
TEST_F(HostileBai, IndexThatPassesTheCheckFindsEveryRecord) {
  index_ = place_->complete_index();
  const FileCall both = place_->files().on_index().back();
  write("a.bai", index_);
  EXPECT_EQ(result_of(both), "none");
  std::vector<std::string> sound;
  for (const HostileCall& call : calls_) sound.push_back(call.result());
  std::size_t passed = 0;
  for (std::size_t at = 0; at < index_.size(); at += kStride) {
    for (const int bits : kFewBits) {
      write("a.bai", changed(index_, at, bits));
      if (result_of(both) != "none") continue;
      ++passed;
      for (std::size_t i = 0; i < calls_.size(); ++i) {
        EXPECT_EQ(calls_[i].result(), sound[i]) << calls_[i].name << ": " << at << ", " << bits;
      }
    }
  }
  EXPECT_GT(passed, 0U) << "offsets of windows and chunks may be lower than they need be";
}

// ---- Damaged text ------------------------------------------------------------------------------

// Calls on a text that is cut at every length, changed at every byte, and loses every byte: results
// or documented errors.
void sweep_text(const FileCalls& files, const std::string& name, const std::string& sound,
                const std::vector<FileCall>& calls, const std::set<std::string>& wanted) {
  std::set<std::string> seen;
  const auto with = [&](const std::string& text, std::size_t at) {
    files.write(name, text);
    for (const FileCall& call : calls) {
      const std::string outcome = outcome_of(call);
      seen.insert(outcome);
      EXPECT_TRUE(wanted.contains(outcome)) << call.name << " gives " << outcome << " at " << at;
    }
  };
  const auto sweep = [&] {
    for (std::size_t at = 0; at <= sound.size(); at += kStride) {
      with(sound.substr(0, at), at);
      if (at == sound.size()) break;
      with(std::string(sound).erase(at, 1), at);
      for (const int bits : {0x01, 0xff}) with(changed(sound, at, bits), at);
      // What separates fields and lines, ends a text, or looks like something else.
      for (const char value : {'\0', '\t', '\n', '@', '9'}) {
        with(std::string(sound).replace(at, 1, 1, value), at);
      }
    }
  };
  EXPECT_LT(memory_growth(sweep), kSweepMemory);
  EXPECT_TRUE(kStride > 1 || seen == wanted) << testing::PrintToString(seen);
}

TEST(HostileSamText, EveryDamageGivesADocumentedOutcome) {
  const FileCalls files;
  sweep_text(files, "a.sam",
             "@SQ\tSN:chr1\tLN:1000\n"
             "a\t0\tchr1\t10\t9\t2S3M\t=\t9\t-1\tACGTN\tII!~5\tXA:A:q\tXf:f:1\tXH:H:1A\n"
             "b\t4\t*\t0\t0\t*\t*\t0\t0\tAC\tI5\tXZ:Z:t\n",
             files.on_sam(),
             {kOk, "seqlab:readkit:InvalidSAMFormat", "seqlab:readkit:InvalidTagType",
              "seqlab:scanqualities:InvalidData", "Tessel:cpp:out_of_range",
              "Tessel:cpp:invalid_argument"});
}

TEST(HostileFastqText, EveryDamageGivesADocumentedOutcome) {
  const FileCalls files;
  sweep_text(files, "a.fastq", "@a\nACGTN\n+\nII!~5\n@b b\r\nAC\r\n+b b\r\nI5\r\n@c\n\n+\n\n",
             files.on_fastq(), {kOk, "seqlab:scanqualities:InvalidData"});
}

}  // namespace
}  // namespace readkit::gateway_hostile_test
