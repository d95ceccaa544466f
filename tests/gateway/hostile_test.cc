// Damaged files through every gateway function that reads BAM files: a result or a documented
// error, never anything else. The files are cut at every length and changed at every byte, as they
// stand and inside their compressed data.
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
  // A sweep must have met what it is for.
  void expect_seen(const Outcomes& outcomes) const {
    for (const std::string& outcome : outcomes) {
      EXPECT_TRUE(seen_.count(outcome) > 0) << "the sweep never met " << outcome;
    }
  }

  std::optional<HostileFolder> place_;

 private:
  std::set<std::string> seen_;
};

std::string changed(std::string bytes, std::size_t at, int bits) {
  bytes[at] = static_cast<char>(bytes[at] ^ bits);
  return bytes;
}

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
  // The same bytes inside the blocks.
  Outcomes with_content(const std::string& content, const std::string& what) {
    return with(BgzfFile().blocks(content, 150).marker().bytes(), what);
  }

  BamBuilder file_;
  std::string bytes_;
  std::vector<HostileCall> calls_;
  Outcomes sound_;
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
    for (std::size_t size = 0; size < bytes_.size(); ++size) {
      if (size == header_end + 1) drop_header_calls();
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
    }
  };
  EXPECT_LT(memory_growth(sweep), kSweepMemory);
  expect_seen({kOk, kNotBam, kCutShort});
}

TEST_P(HostileBam, EveryChangedByteGivesADocumentedOutcome) {
  const std::size_t header_end = behind_header();
  const auto sweep = [&] {
    for (std::size_t at = 0; at < bytes_.size(); ++at) {
      if (at == header_end) drop_header_calls();
      for (const int bits : {0xff, 0x01}) with(changed(bytes_, at, bits), std::to_string(at));
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

TEST_P(HostileBam, EveryChangedByteOfTheContentGivesADocumentedOutcome) {
  const std::string content = file_.content();
  // For the small file one more bit, which makes numbers large instead of negative.
  const bool is_plain = std::string(GetParam().name) == "plain";
  const std::vector<int> flips = is_plain ? std::vector{0xff, 0x01, 0x40} : std::vector{0xff, 0x01};
  const auto sweep = [&] {
    for (std::size_t at = 0; at < content.size(); ++at) {
      if (at == file_.header_bytes().size()) drop_header_calls();
      for (const int bits : flips) {
        with_content(changed(content, at, bits), "content at " + std::to_string(at));
      }
    }
  };
  EXPECT_LT(memory_growth(sweep), kSweepMemory);
  expect_seen({kOk, kNotBam, kCutShort, "seqlab:readkit:BAMUnsorted",
               "seqlab:readkit:ReferenceIDNotFound", "Tessel:cpp:bad_alloc",
               "Tessel:cpp:length_error"});
  if (is_plain) expect_seen({"seqlab:readkit:PositionTooBig"});
}

TEST_P(HostileBam, EveryPrefixOfTheContentIsAFileThatEndsThere) {
  const std::string content = file_.content();
  const std::size_t header = file_.header_bytes().size();
  for (std::size_t size = 0; size < content.size(); ++size) {
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

// ---- Damaged indexes ---------------------------------------------------------------------------

class HostileBai : public Hostile {
 protected:
  void SetUp() override {
    prepare(rich_file());
    index_ = place_->index();
    for (const HostileCall& call : place_->calls()) {
      if (call.uses_index) calls_.push_back(call);
    }
    ASSERT_EQ(calls_.size(), 3U);
  }
  Outcomes with(const std::string& bytes, const std::string& what) {
    write("a.bai", bytes);
    return run(calls_, what);
  }

  std::string index_;

  std::vector<HostileCall> calls_;
};

TEST_F(HostileBai, EveryPrefixIsCutShortUpToTheLastCount) {
  for (std::size_t size = 0; size <= index_.size(); ++size) {
    const std::string expected = size + 8 < index_.size() ? kIndexCutShort : kOk;
    for (const std::string& outcome : with(index_.substr(0, size), std::to_string(size))) {
      ASSERT_EQ(outcome, expected) << size;
    }
  }
}

TEST_F(HostileBai, EveryChangedByteGivesADocumentedOutcome) {
  const auto sweep = [&] {
    for (std::size_t at = 0; at < index_.size(); ++at) {
      for (const int bits : {0xff, 0x01, 0x40}) with(changed(index_, at, bits), std::to_string(at));
    }
  };
  EXPECT_LT(memory_growth(sweep), kSweepMemory);
  expect_seen({kOk, kIndexCutShort, kNotBai, kNotBam});
}

}  // namespace
}  // namespace readkit::gateway_hostile_test
