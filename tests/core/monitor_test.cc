// Transfers that are watched, and refused.
#include "core/monitor.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "bam/bam.h"
#include "core/file.h"
#include "core/file_stream.h"
#include "support/sort_words.h"
#include "support/temp_dir.h"

namespace readkit {
namespace {

constexpr std::size_t kMuch = std::size_t{3} << 20;

// Writes down what it is shown, and says no to all transfers but the first `allowed`.
class WatchedThread {
 public:
  explicit WatchedThread(std::size_t allowed = SIZE_MAX) : allowed_(allowed) {
    kxSetMonitor(&WatchedThread::show, this);
  }
  ~WatchedThread() { kxSetMonitor(nullptr, nullptr); }
  WatchedThread(const WatchedThread&) = delete;
  WatchedThread& operator=(const WatchedThread&) = delete;

  struct Seen {
    std::string path;
    std::uint64_t position;
    bool is_write;
  };
  const std::vector<Seen>& seen() const { return seen_; }
  bool has_ended() const { return seen_.size() > allowed_; }

  // Expects ascending positions that begin at 0 and come near the end of `size` bytes.
  void expect_all_of(const std::string& path, bool is_write, std::uint64_t size) const {
    ASSERT_FALSE(seen_.empty());
    EXPECT_EQ(seen_.front().position, 0u);
    EXPECT_GE(seen_.back().position + (std::uint64_t{1} << 20), size);
    EXPECT_GE(seen_.size(), 4u) << "looks too seldom to tell how far it is";
    for (std::size_t i = 0; i < seen_.size(); ++i) {
      EXPECT_EQ(seen_[i].path, path);
      EXPECT_EQ(seen_[i].is_write, is_write);
      if (i > 0) {
        EXPECT_GE(seen_[i].position, seen_[i - 1].position);
      }
    }
  }

 private:
  static bool show(void* context, const kxTransfer* transfer) {
    auto& self = *static_cast<WatchedThread*>(context);
    self.seen_.push_back({transfer->path, transfer->position, transfer->is_write});
    return !self.has_ended();
  }

  std::size_t allowed_;
  std::vector<Seen> seen_;
};

std::size_t read_all(File& file) {
  std::string bytes(kMuch + 1, '\0');
  return file.read(bytes.data(), bytes.size());
}

TEST(Monitor, SeesAFileReadFromItsBeginningToItsEnd) {
  const TempDir folder;
  File file(folder.write("f", std::string(kMuch, 'x')), "rb");
  const WatchedThread watch;
  EXPECT_EQ(read_all(file), kMuch);
  watch.expect_all_of(folder.native("f"), false, kMuch);
}

TEST(Monitor, SeesAFileWrittenFromItsBeginningToItsEnd) {
  const TempDir folder;
  File file(folder.path("f"), "wb");
  const WatchedThread watch;
  EXPECT_TRUE(file.write(std::string(kMuch, 'x').data(), kMuch));
  EXPECT_TRUE(file.close());
  watch.expect_all_of(folder.native("f"), true, kMuch);
}

TEST(Monitor, SeesAStreamReadAndWritten) {
  const TempDir folder;
  FileStream out;
  out.open(folder.path("f"), std::ios::out | std::ios::binary);
  {
    const WatchedThread watch;
    for (std::size_t i = 0; i < kMuch / 64; ++i) out << std::string(63, 'x') << '\n';
    out.close();
    EXPECT_TRUE(out.good());
    watch.expect_all_of(folder.native("f"), true, kMuch);
  }
  FileStream in;
  in.open(folder.path("f"), std::ios::in | std::ios::binary);
  const WatchedThread watch;
  std::size_t lines = 0;
  for (std::string_view line; in.next_line(line);) ++lines;
  EXPECT_EQ(lines, kMuch / 64);
  watch.expect_all_of(folder.native("f"), false, kMuch);
}

TEST(Monitor, ARefusedReadIsAFailureAndNotTheEndOfTheFile) {
  const TempDir folder;
  File file(folder.write("f", std::string(kMuch, '\n')), "rb");
  FileStream stream;
  stream.open(folder.path("f"), std::ios::in | std::ios::binary);
  {
    const WatchedThread watch(1);
    const std::size_t got = read_all(file);
    EXPECT_GT(got, 0u);
    EXPECT_LT(got, kMuch);
    EXPECT_TRUE(file.read_failed());
    EXPECT_EQ(watch.seen().size(), 2u);

    // It was said once, and holds for all files of the thread.
    std::string_view line;
    EXPECT_FALSE(stream.next_line(line));
    EXPECT_TRUE(stream.bad());
    EXPECT_EQ(watch.seen().size(), 2u);
  }
  // What comes later is none of its business.
  EXPECT_GT(read_all(file), 0u);
  EXPECT_FALSE(file.read_failed());
}

TEST(Monitor, ARefusedWriteIsAFailureThatCloseTells) {
  const TempDir folder;
  File file(folder.path("f"), "wb");
  FileStream stream;
  stream.open(folder.path("g"), std::ios::out | std::ios::binary);
  const WatchedThread watch(0);
  EXPECT_TRUE(file.write("x", 1)) << "which is kept until there is more";
  EXPECT_FALSE(file.close());
  stream << "x";
  stream.close();
  EXPECT_TRUE(stream.fail());
  EXPECT_EQ(folder.read("f"), "");
  EXPECT_EQ(folder.read("g"), "");
}

TEST(Monitor, ASortThatIsEndedAtAnyMomentFails) {
  const TempDir folder;
  Reads reads;
  for (int i = 0; i < 9; ++i) {
    reads.push_back(RecordBuilder("r" + std::to_string(i)).at(0, 9 - i).bin(0));
  }
  bam_of(reads).write(folder, "a.bam");
  const RunLimits limits = limit_of_records(2);
  std::size_t ended = 0;
  for (std::size_t allowed = 0;; ++allowed) {
    const WatchedThread watch(allowed);
    bool has_failed = false;
    try {
      BAM(folder.path("a.bam")).sort(folder.text("t"), limits);
    } catch (const MsgIdException&) {
      has_failed = true;
    }
    EXPECT_EQ(has_failed, watch.has_ended()) << "after " << allowed << " transfers";
    if (!has_failed) break;
    ++ended;
  }
  EXPECT_GT(ended, 12u) << "runs are written and read";
  EXPECT_EQ(decode_bam(folder.read("t.bam")).records.size(), 9u);
}

}  // namespace
}  // namespace readkit
