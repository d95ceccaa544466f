// Every gateway function where its files are something else than it expects: folders, pipes, full
// or read-only places, places that do not exist; and where the system limits what it may take.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include "support/child.h"
#include "support/fault_calls.h"
#include "support/faults.h"
#include "support/full_disk.h"

namespace readkit::faults_file_conditions_test {
namespace {

std::set<std::string> ids_of(std::initializer_list<const char*> kinds) {
  std::set<std::string> ids;
  for (const char* const kind : kinds) ids.insert(expected_id(kind));
  return ids;
}
const std::set<std::string> kNotOpened = ids_of({"FileNotFound", "CannotOpenOutFile"});
const std::set<std::string> kNotWritten = ids_of({"FileWrite"});
const std::set<std::string> kNotRead =
    ids_of({"FileNotFound", "InvalidBAMFormat", "BAIRead", "SAMRead", "UnableToOpenFile"});

Random& numbers() {
  static Random random(81);
  return random;
}

class FileConditions : public testing::Test {
 protected:
  FileConditions() : folder_(rich_file(), random_reads(numbers(), 10)), calls_(folder_.calls()) {}

  // The identifier of the error, empty for none. Expects that nothing stays open or allocated.
  std::string error_of(const FaultCall& call) {
    const LeakCheck leaks;
    const std::size_t open_before = open_files();
    std::string error;
    try {
      last_ = described(call.run());
    } catch (const host::HostError& raised) {
      error = raised.identifier();
    }
    EXPECT_EQ(open_files(), open_before) << call.name;
    return error;
  }
  // The files that a call makes when nothing hinders it.
  Names outputs_of(const FaultCall& call) {
    folder_.remove_outputs();
    EXPECT_EQ(error_of(call), "") << call.name;
    Names names;
    for (const auto& [name, bytes] : folder_.outputs()) names.push_back(name);
    folder_.remove_outputs();
    return names;
  }
  // Every output, with `place` in its place.
  void expect_of_outputs(const std::set<std::string>& errors,
                         const std::function<void(const std::string& native)>& place) {
    int outputs = 0;
    for (const FaultCall& call : calls_) {
      for (const std::string& name : outputs_of(call)) {
        ++outputs;
        place(folder_.folder().native(name));
        const std::string error = error_of(call);
        EXPECT_TRUE(errors.count(error) > 0) << call.name << " raises " << error;
        folder_.remove_outputs();
      }
    }
    EXPECT_GE(outputs, 20);
  }

  // In a child, whose expectations nobody else hears of.
  static std::string failures() { return HasFailure() ? "something is left over\n" : ""; }

  FaultFolder folder_;
  std::vector<FaultCall> calls_;
  std::string last_;  // the outputs of the last call
};

// ---- Outputs -----------------------------------------------------------------------------------

TEST_F(FileConditions, OutputThatIsAFolderCannotBeOpened) {
  expect_of_outputs(kNotOpened,
                    [](const std::string& name) { std::filesystem::create_directory(name); });
}

TEST_F(FileConditions, OutputInAMissingFolderCannotBeOpened) {
  expect_of_outputs(kNotOpened, [](const std::string& name) {
    std::filesystem::create_symlink(name + ".none/file", name);
  });
}

TEST_F(FileConditions, OutputOnAFullDeviceRaisesFileWrite) {
  expect_of_outputs(kNotWritten, [](const std::string& name) {
    std::filesystem::create_symlink("/dev/full", name);
  });
}

TEST_F(FileConditions, OutputThatIsAPipeGetsTheSameBytes) {
  for (const FaultCall& call : calls_) {
    if (call.is_random) continue;
    for (const std::string& name : outputs_of(call)) {
      ASSERT_EQ(error_of(call), "");
      const std::string expected = folder_.folder().read(name);
      folder_.remove_outputs();
      const std::string native = folder_.folder().native(name);
      ASSERT_EQ(mkfifo(native.c_str(), 0600), 0);
      const int pipe = open(native.c_str(), O_RDWR | O_NONBLOCK);
      EXPECT_EQ(error_of(call), "") << call.name;
      std::string found(std::size_t{1} << 16, '\0');
      const ssize_t got = read(pipe, found.data(), found.size());
      found.resize(static_cast<std::size_t>(std::max(got, ssize_t{0})));
      close(pipe);
      EXPECT_TRUE(found == expected) << call.name;
      folder_.remove_outputs();
    }
  }
}

// The super-user may write everywhere: another user does it.
TEST_F(FileConditions, OutputInAReadOnlyFolderCannotBeOpened) {
  std::vector<FaultCall> writers;
  for (const FaultCall& call : calls_) {
    if (!outputs_of(call).empty()) writers.push_back(call);
  }
  ASSERT_GE(writers.size(), 20U);
  const std::string folder = folder_.folder().folder();
  ASSERT_EQ(chmod(folder.c_str(), 0555), 0);
  const auto report = in_child([&]() -> std::optional<std::string> {
    constexpr uid_t kNobody = 65534;
    if (geteuid() == 0 && setuid(kNobody) != 0) return std::nullopt;
    const int made = open((folder + "/made").c_str(), O_CREAT | O_WRONLY, 0600);
    if (made >= 0 || access((folder + "/a.bam").c_str(), R_OK) != 0) return std::nullopt;
    std::string text;
    for (const FaultCall& call : writers) {
      const std::string error = error_of(call);
      if (kNotOpened.count(error) == 0) text += call.name + " raises " + error + "\n";
    }
    return text + failures();
  });
  chmod(folder.c_str(), 0755);
  if (!report) GTEST_SKIP() << "no folder is read-only for this user";
  EXPECT_EQ(*report, "");
}

// ---- Inputs ------------------------------------------------------------------------------------

TEST_F(FileConditions, InputThatIsAFolderIsNoFile) {
  const TempDir& files = folder_.folder();
  int errors = 0;
  std::vector<std::string> expected;
  for (const FaultCall& call : calls_) {
    folder_.remove_outputs();
    error_of(call);
    expected.push_back(last_);
  }
  folder_.remove_outputs();
  for (const auto& [name, bytes] : folder_.sources()) {
    std::filesystem::remove(files.native(name));
    std::filesystem::create_directory(files.native(name));
    for (std::size_t i = 0; i < calls_.size(); ++i) {
      const std::string error = error_of(calls_[i]);
      if (error.empty()) {
        EXPECT_TRUE(last_ == expected[i] || last_.find("ReadFailed") != std::string::npos)
            << calls_[i].name << ", " << name;
      } else {
        ++errors;
        EXPECT_TRUE(kNotRead.count(error) > 0) << calls_[i].name << " raises " << error;
      }
      folder_.remove_outputs();
    }
    std::filesystem::remove(files.native(name));
    files.write(name, bytes);
  }
  EXPECT_GE(errors, 35);
}

extern "C" void do_nothing(int) {}

// Puts a pipe in the place of a file and feeds it with the file's bytes, slowly, while `run` reads
// it and a timer interrupts that again and again.
void through_interrupted_pipe(const std::string& name, const std::function<void()>& run) {
  const std::string bytes = read_file(name);
  std::filesystem::remove(name);
  ASSERT_EQ(mkfifo(name.c_str(), 0600), 0);
  struct sigaction action = {};
  action.sa_handler = do_nothing;  // and no SA_RESTART
  sigaction(SIGALRM, &action, nullptr);
  signal(SIGPIPE, SIG_IGN);  // of a reader that gives up too early
  sigset_t alarm;
  sigemptyset(&alarm);
  sigaddset(&alarm, SIGALRM);
  pthread_sigmask(SIG_BLOCK, &alarm, nullptr);
  std::thread feeder([&] {
    const int pipe = open(name.c_str(), O_WRONLY);
    constexpr std::size_t kPieces = 4;
    for (std::size_t i = 0; i < kPieces; ++i) {
      usleep(5000);
      const std::size_t from = i * bytes.size() / kPieces;
      const std::size_t to = (i + 1) * bytes.size() / kPieces;
      if (write(pipe, bytes.data() + from, to - from) < 0) break;
    }
    close(pipe);
  });
  pthread_sigmask(SIG_UNBLOCK, &alarm, nullptr);
  const itimerval often = {{0, 1000}, {0, 1000}};
  const itimerval never = {};
  setitimer(ITIMER_REAL, &often, nullptr);
  run();
  setitimer(ITIMER_REAL, &never, nullptr);
  feeder.join();
  std::filesystem::remove(name);
  write_file(name, bytes);
}

// A signal while a pipe was waited for made what came through it a damaged file.
TEST_F(FileConditions, SignalsDoNotDisturbReadingAPipe) {
  const std::set<std::string> names = {"getHeader", "bamInfo", "scanQualities, q.fastq",
                                       "scanQualities, q.bam", "kxCheck, q.fastq"};
  std::size_t met = 0;
  for (const FaultCall& call : calls_) {
    if (names.count(call.name) == 0) continue;
    ++met;
    ASSERT_EQ(error_of(call), "");
    const std::string expected = last_;
    const char* const input = call.name.find("q.bam") != call.name.npos     ? "q.bam"
                              : call.name.find("q.fastq") != call.name.npos ? "q.fastq"
                                                                            : "a.bam";
    std::string error;
    through_interrupted_pipe(folder_.folder().native(input), [&] { error = error_of(call); });
    EXPECT_EQ(error, "") << call.name;
    EXPECT_TRUE(last_ == expected) << call.name;
  }
  EXPECT_EQ(met, names.size());
}

// ---- Limits of the system
// ------------------------------------------------------------------------

// A limit of file sizes ends a process, unless the host lets the signal be: the library leaves
// signals alone. FileWrite is then what comes (the tests of full disks).
TEST_F(FileConditions, LimitOfFileSizesEndsAProcessThatDoesNotIgnoreItsSignal) {
  for (const bool is_ignored : {false, true}) {
    const auto report = in_child([&]() -> std::optional<std::string> {
      signal(SIGXFSZ, is_ignored ? SIG_IGN : SIG_DFL);
      const rlimit core = {0, 0};
      const rlimit limit = {50, 50};
      setrlimit(RLIMIT_CORE, &core);
      setrlimit(RLIMIT_FSIZE, &limit);
      for (const FaultCall& call : calls_) {
        if (call.name == "samToBam, SAM") return error_of(call);
      }
      return std::nullopt;
    });
    ASSERT_TRUE(report);
    EXPECT_EQ(*report, is_ignored ? "seqlab:readkit:FileWrite"
                                  : "died of signal " + std::to_string(SIGXFSZ));
  }
}

TEST_F(FileConditions, LimitOfMemoryGivesAResultOrAnError) {
  if (!allocations_can_fail()) GTEST_SKIP() << "sanitizers need much address space";
  const std::set<std::string> errors = {"Tessel:cpp:bad_alloc",
                                        "seqlab:readkit:FileNotFound",
                                        "seqlab:readkit:CannotOpenOutFile",
                                        "seqlab:readkit:SAMRead",
                                        "seqlab:readkit:ZLIBDeflate",
                                        "seqlab:scanqualities:UnableToOpenFile"};
  std::size_t failed = 0;
  for (const std::size_t more : {0U, 200U, 700U, 1500U, 3000U, 9000U, 20000U}) {
    const auto report = in_child([&]() -> std::optional<std::string> {
      constexpr std::size_t kKibibyte = 1024;
      std::size_t pages = 0;
      std::ifstream("/proc/self/statm") >> pages;
      const rlim_t most = pages * static_cast<std::size_t>(getpagesize()) + more * kKibibyte;
      const rlimit limit = {most, most};
      setrlimit(RLIMIT_AS, &limit);
      std::string text;
      for (const FaultCall& call : calls_) {
        folder_.remove_outputs();
        const std::string error = error_of(call);
        if (!error.empty()) text += error + "\n";
      }
      return text + failures();
    });
    ASSERT_TRUE(report);
    std::istringstream lines(*report);
    for (std::string line; std::getline(lines, line); ++failed) {
      EXPECT_TRUE(errors.count(line) > 0) << line << ", " << more << " KiB";
    }
  }
  EXPECT_GT(failed, 10U);
}

}  // namespace
}  // namespace readkit::faults_file_conditions_test
