#include "core/memory.h"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "support/temp_dir.h"

namespace readkit::core_memory_test {
namespace {

constexpr std::uint64_t kMebi = std::uint64_t{1} << 20;

// A made-up system: the reports that the real one has in /proc and /sys. It has 1000 MiB left.
class AvailableMemory : public testing::Test {
 protected:
  AvailableMemory() {
    report("/proc/meminfo",
           "MemTotal:        2048000 kB\nMemFree:          102400 kB\n"
           "MemAvailable:    1024000 kB\nBuffers:            1000 kB\n");
  }

  void report(const std::string& name, const std::string& text) {
    const std::filesystem::path path = folder_.folder() + name;
    std::filesystem::create_directories(path.parent_path());
    write_file(path.string(), text);
  }
  // A group of version 2 or 1: limit, use, and what of the use are files not lately needed.
  void group(const std::string& place, const std::string& limit, std::uint64_t used,
             std::uint64_t files = 0) {
    const std::string name = "/sys/fs/cgroup" + place;
    report(name + "/memory.max", limit + "\n");
    report(name + "/memory.current", std::to_string(used) + "\n");
    report(name + "/memory.stat",
           "anon 5\nfile 7\nactive_file 9\ninactive_file " + std::to_string(files) + "\nslab 4\n");
  }
  void old_group(const std::string& place, std::uint64_t limit, std::uint64_t used,
                 std::uint64_t files = 0) {
    const std::string name = "/sys/fs/cgroup/memory" + place;
    report(name + "/memory.limit_in_bytes", std::to_string(limit) + "\n");
    report(name + "/memory.usage_in_bytes", std::to_string(used) + "\n");
    report(name + "/memory.stat",
           "cache 5\ninactive_file 1\ntotal_active_file 9\n"
           "total_inactive_file " +
               std::to_string(files) + "\n");
  }
  void process_groups(const std::string& lines) { report("/proc/self/cgroup", lines); }
  std::uint64_t available() const { return available_memory(folder_.folder()); }

  TempDir folder_;
};

std::string mebibytes(std::uint64_t count) { return std::to_string(count * kMebi); }

TEST_F(AvailableMemory, WithoutGroupsIsWhatTheMachineHasLeft) {
  EXPECT_EQ(available(), 1000 * kMebi);
}

TEST_F(AvailableMemory, OfASystemThatSaysNothingIsZero) {
  EXPECT_EQ(available_memory(folder_.native("missing")), 0U);
  report("/proc/meminfo", "MemTotal:        2048000 kB\n");
  EXPECT_EQ(available(), 0U);
  report("/proc/meminfo", "");
  EXPECT_EQ(available(), 0U);
}

TEST_F(AvailableMemory, OfALimitedGroupIsWhatItLeaves) {
  process_groups("0::/job\n");
  group("/job", mebibytes(500), 100 * kMebi);
  EXPECT_EQ(available(), 400 * kMebi);
}

TEST_F(AvailableMemory, OfAGroupWithMoreThanTheMachineIsWhatTheMachineHas) {
  process_groups("0::/job\n");
  group("/job", mebibytes(5000), 100 * kMebi);
  EXPECT_EQ(available(), 1000 * kMebi);
}

TEST_F(AvailableMemory, OfAGroupWithoutLimitIsWhatTheMachineHas) {
  process_groups("0::/job\n");
  group("/job", "max", 100 * kMebi);
  EXPECT_EQ(available(), 1000 * kMebi);
}

TEST_F(AvailableMemory, OfAGroupWithoutReportsIsWhatTheMachineHas) {
  process_groups("0::/job\n");
  EXPECT_EQ(available(), 1000 * kMebi);
}

TEST_F(AvailableMemory, FilesNotLatelyNeededCountAsFree) {
  process_groups("0::/job\n");
  group("/job", mebibytes(500), 450 * kMebi, 300 * kMebi);
  EXPECT_EQ(available(), 350 * kMebi);
}

TEST_F(AvailableMemory, MoreFilesThanUseCountAsTheUse) {
  process_groups("0::/job\n");
  group("/job", mebibytes(500), 100 * kMebi, 200 * kMebi);
  EXPECT_EQ(available(), 500 * kMebi);
}

TEST_F(AvailableMemory, UseBeyondTheLimitLeavesNothing) {
  process_groups("0::/job\n");
  group("/job", mebibytes(500), 501 * kMebi);
  EXPECT_EQ(available(), 0U);
}

TEST_F(AvailableMemory, TightestOfTheGroupsAroundCounts) {
  process_groups("0::/outer/middle/inner\n");
  group("/outer", mebibytes(700), 0);
  group("/outer/middle", mebibytes(300), 0);
  group("/outer/middle/inner", mebibytes(600), 0);
  EXPECT_EQ(available(), 300 * kMebi);
  group("/outer", mebibytes(200), 0);
  EXPECT_EQ(available(), 200 * kMebi);
  group("/outer/middle/inner", mebibytes(100), 0);
  EXPECT_EQ(available(), 100 * kMebi);
}

TEST_F(AvailableMemory, GroupThatIsMountedAsTheRootCounts) {
  process_groups("0::/\n");
  group("", mebibytes(90), 10 * kMebi);
  EXPECT_EQ(available(), 80 * kMebi);
  // Seen from inside a container, a name may belong to the system around it.
  process_groups("0::/containers/name/of/outside\n");
  EXPECT_EQ(available(), 80 * kMebi);
}

TEST_F(AvailableMemory, GroupsOfVersion1HaveTheirOwnReports) {
  process_groups("12:cpu,cpuacct:/job\n4:memory:/outer/job\n1:name=systemd:/job\n");
  old_group("", 800 * kMebi, 0);
  EXPECT_EQ(available(), 800 * kMebi);
  old_group("/outer/job", 600 * kMebi, 200 * kMebi, 50 * kMebi);
  EXPECT_EQ(available(), 450 * kMebi);
  old_group("/outer", 300 * kMebi, 100 * kMebi);
  EXPECT_EQ(available(), 200 * kMebi);
}

TEST_F(AvailableMemory, UnlimitedGroupOfVersion1LeavesWhatTheMachineHas) {
  process_groups("4:memory:/job\n");
  old_group("/job", 9223372036854771712U, 100 * kMebi);
  EXPECT_EQ(available(), 1000 * kMebi);
}

TEST_F(AvailableMemory, OtherControllersDoNotCount) {
  process_groups("3:cpu:/job\n");
  old_group("/job", 10 * kMebi, 0);
  group("/job", mebibytes(10), 0);
  EXPECT_EQ(available(), 1000 * kMebi);
}

TEST_F(AvailableMemory, ReportsThatMakeNoSenseAreNoLimit) {
  process_groups("\nnonsense\n0:\n0::\n::::\n0::job");
  group("/job", "unknown", 5);
  EXPECT_EQ(available(), 1000 * kMebi);
}

TEST(AvailableMemoryOfThisMachine, LiesBetweenNothingAndAllOfIt) {
  std::ifstream reports("/proc/meminfo");
  std::string word;
  std::uint64_t total = 0;
  while (reports >> word && word != "MemTotal:") {
  }
  reports >> total;
  if (total == 0) GTEST_SKIP() << "this system has no /proc/meminfo";
  EXPECT_GT(available_memory(), 0U);
  EXPECT_LE(available_memory(), total * 1024);
}

}  // namespace
}  // namespace readkit::core_memory_test
