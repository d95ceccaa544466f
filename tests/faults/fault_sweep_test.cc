// Every gateway function while the system fails it: each open, status, read, write, seek, close,
// removal, mapping and allocation of a call in turn, once or from then on. A call gives its whole
// result or one error that such a failure may lead to; it keeps no memory and no file, changes no
// input and leaves no file that it does not tell of.
#include <algorithm>
#include <cstdio>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "support/child.h"
#include "support/fault_calls.h"
#include "support/faults.h"
#include "support/libraries.h"
#include "support/resident_memory.h"

namespace readkit::faults_fault_sweep_test {
namespace {

// The errors that a fault may lead to. A call that raises none must have given its whole result.
std::set<std::string> errors_of(const Fault& fault, bool needs_random_numbers) {
  std::set<std::string> errors;
  if (needs_random_numbers &&
      (fault.operation == Operation::kOpen || fault.operation == Operation::kRead)) {
    errors.insert("Tessel:cpp:exception");
  }
  const auto add = [&](std::initializer_list<const char*> kinds) {
    for (const char* const kind : kinds) errors.insert(expected_id(kind));
  };
  if (fault.manner == Manner::kEnds) {
    add({"InvalidBAMFormat", "BAMRead", "BAIRead", "SAMRead", "InvalidSAMFormat", "InvalidData"});
  }
  if (fault.manner != Manner::kFails) return errors;
  switch (fault.operation) {
    case Operation::kOpen:
      add({"FileNotFound", "CannotOpenOutFile", "UnableToOpenFile"});
      break;
    case Operation::kRead:
      add({"InvalidBAMFormat", "BAMRead", "BAIRead", "SAMRead", "UnableToOpenFile"});
      break;
    case Operation::kSeek:
      add({"BGZFSeek", "SAMRead", "CannotOpenOutFile"});
      break;
    case Operation::kWrite:
    case Operation::kClose:
      add({"FileWrite"});
      break;
    case Operation::kAllocation:
    case Operation::kMap:
      // Files are opened and lines read by the run-time library, which does not tell why it cannot.
      add({"FileNotFound", "CannotOpenOutFile", "UnableToOpenFile", "SAMRead", "ZLIBDeflate"});
      errors.insert("Tessel:cpp:bad_alloc");
      break;
    case Operation::kStatus:
    case Operation::kRemove:
      break;
  }
  return errors;
}

struct Result {
  std::string error;  // empty for none
  std::string outputs;
  std::map<std::string, std::string> files;

  bool operator==(const Result&) const = default;
};

// The sweeps of one call, in a process of their own.
class Sweep {
 public:
  Sweep(const FaultFolder& folder, const FaultCall& call, SharedNote& note)
      : folder_(folder), call_(call), note_(note), sources_(folder.sources()) {
    error_.reserve(kRoom);
    outputs_.reserve(kRoom);
    // Twice: what the system keeps from the first call on is no loss.
    run(std::nullopt);
    expected_ = run(std::nullopt);
    if (!expected_.error.empty()) report("without a fault: " + expected_.error);
  }

  // "operation, manner, outcome, count" in lines, then what went wrong.
  std::string over(const std::vector<Fault>& faults) {
    for (Fault fault : faults) {
      for (fault.at = 1; meet(fault); ++fault.at) {
      }
    }
    if (folder_.sources() != sources_) report("an input is no longer what it was");
    std::string text;
    for (const auto& [outcome, count] : counts_) {
      text += outcome + "\t" + std::to_string(count) + "\n";
    }
    return text + failures_;
  }

 private:
  // Whether the fault has happened.
  bool meet(const Fault& fault) {
    note_.write(call_.name + ": " + describe(fault));
    const Result result = run(fault);
    if (kept_ != Held()) {
      report(describe(fault) + ": keeps " + std::to_string(kept_.allocations) +
             " allocations and " + std::to_string(kept_.files) + " files");
    }
    if (!struck_) {
      if (result != expected_)
        report(describe(fault) + ": does not happen, but " + differs(result));
      return false;
    }
    const std::string outcome = result.error.empty() ? "the result" : result.error;
    ++counts_[describe_without_number(fault) + "\t" + outcome];
    judge(fault, result);
    return true;
  }

  void judge(const Fault& fault, const Result& result) {
    if (result.error.empty()) {
      if (!is_expected(fault, result)) report(describe(fault) + ": " + differs(result));
      return;
    }
    if (errors_of(fault, call_.is_random).count(result.error) == 0) {
      report(describe(fault) + ": raises " + result.error);
    }
    for (const auto& [name, bytes] : result.files) {
      if (expected_.files.count(name) == 0 && !is_temporary(name)) {
        report(describe(fault) + ": leaves " + name);
      }
    }
  }

  bool is_expected(const Fault& fault, const Result& result) const {
    if (fault.operation == Operation::kRead && tells_of_missing(fault, result)) return true;
    if (fault.operation != Operation::kRemove) return result == expected_;
    Result without_temporaries = result;
    std::erase_if(without_temporaries.files, [&](const auto& file) {
      return is_temporary(file.first) && expected_.files.count(file.first) == 0;
    });
    return without_temporaries == expected_;
  }
  // Text may end after any line. A check tells of what it could not read, or of what is missing.
  bool tells_of_missing(const Fault& fault, const Result& result) const {
    if (fault.manner == Manner::kEnds && call_.reads_text) return true;
    const auto tells = [&](const char* finding) {
      return call_.name.starts_with("kxCheck") && result.outputs.find(finding) != std::string::npos;
    };
    if (fault.manner == Manner::kFails) return tells("ReadFailed");
    return fault.manner == Manner::kEnds && (tells("Truncated") || tells("EndMarker") ||
                                             tells("UnknownKind") || tells("IndexMagic"));
  }
  static bool is_temporary(const std::string& name) {
    return name.size() == 7 && name.starts_with("t.") && name.ends_with(".bam");
  }

  std::string differs(const Result& result) const {
    if (!result.error.empty()) return "raises " + result.error;
    std::string text = result.outputs == expected_.outputs ? "" : "gives other outputs;";
    for (const auto& [name, bytes] : expected_.files) {
      const auto found = result.files.find(name);
      if (found == result.files.end()) {
        text += " does not make " + name;
      } else if (found->second != bytes) {
        text += " makes another " + name + ", of " + std::to_string(found->second.size()) +
                " bytes instead of " + std::to_string(bytes.size());
      }
    }
    for (const auto& [name, bytes] : result.files) {
      if (expected_.files.count(name) == 0) text += " leaves " + name;
    }
    return text;
  }

  // In a thread of its own, with whose end what it has kept for later calls must go.
  Result run(const std::optional<Fault>& fault) {
    folder_.remove_outputs();
    error_.clear();
    outputs_.clear();
    // The system keeps what a thread had of its own until the next one takes its place.
    const auto new_thread = [](const auto& work) { std::thread(work).join(); };
    new_thread([] {});
    const Held before = held();
    new_thread([&] { call_into_texts(fault); });
    new_thread([] {});
    const Held after = held();
    kept_ = {after.allocations - before.allocations, after.files - before.files};
    Result result{error_, outputs_, {}};
    result.files = folder_.outputs();
    if (call_.is_random && result.error.empty()) {
      for (auto& [name, bytes] : result.files) bytes = records_of(bytes);
    }
    return result;
  }
  // Texts that have their room already, so that all other memory must have gone when it ends.
  void call_into_texts(const std::optional<Fault>& fault) {
    try {
      Outputs outputs;
      {
        std::optional<Faults> faults;
        if (fault) faults.emplace(*fault);
        outputs = call_.run();
      }
      outputs_ += described(outputs);
    } catch (const host::HostError& error) {
      error_ += error.identifier();
    } catch (...) {
      error_ += "no error of the host, but " + describe_current_exception();
    }
    struck_ = Faults::have_struck();
  }
  static std::string records_of(const std::string& bam) {
    std::string all;
    for (const std::string& record : same_records(decode_bam(bam).records)) all += record;
    return all;
  }

  static std::string describe_without_number(Fault fault) {
    fault.at = 0;
    return describe(fault);
  }
  void report(const std::string& text) { failures_ += call_.name + ": " + text + "\n"; }

  static constexpr std::size_t kRoom = std::size_t{1} << 20;

  const FaultFolder& folder_;
  const FaultCall& call_;
  SharedNote& note_;
  std::map<std::string, std::string> sources_;
  Result expected_;
  std::string error_;
  std::string outputs_;
  bool struck_ = false;
  Held kept_;
  std::map<std::string, std::size_t> counts_;
  std::string failures_;
};

class FaultSweep : public testing::Test {
 protected:
  static constexpr Lasts kLengths[] = {Lasts::kOnce, Lasts::kForGood};

  // Both lengths of the failures of these operations.
  static std::vector<Fault> failures_of(std::initializer_list<Operation> operations) {
    std::vector<Fault> faults;
    for (const Operation operation : operations) {
      for (const Lasts lasts : kLengths) faults.push_back({operation, Manner::kFails, lasts, 0});
    }
    return faults;
  }

  // Every call with every one of these faults, at every place; or those whose name begins so. All
  // in one other process: starting one, and looking for lost memory at its end, takes sanitizers
  // longer than all the faults of a call.
  void sweep(const FaultFolder& folder, const std::vector<Fault>& faults,
             const std::string& names = {}) {
    SharedNote note;
    const auto report = in_child([&]() -> std::optional<std::string> {
      std::string all;
      for (const FaultCall& call : folder.calls()) {
        if (!call.name.starts_with(names)) continue;
        const std::size_t files_before = open_files();
        std::optional<std::string> text;
        // In a thread of its own, so that this one is without the faults of the other.
        std::thread([&] {
          if (trap_system_calls()) text = Sweep(folder, call, note).over(faults);
        }).join();
        if (!text) return std::nullopt;
        all += *text;
        if (open_files() != files_before) all += call.name + ": a file is still open\n";
      }
      if (has_leaks()) all += "memory is lost\n";
      return all;
    });
    if (!report) GTEST_SKIP() << "this system does not let a process fail its own calls";
    EXPECT_GT(take(*report, note.text()), 0U);
  }
  // How many faults have happened, and what came of them.
  void TearDown() override {
    if (counts_.empty()) return;
    std::size_t points = 0;
    for (const auto& [what, count] : counts_) {
      std::cout << count << "\t" << what << "\n";
      points += count;
    }
    std::cout << points << " fault points, flavour " << flavour_name() << "\n";
  }

 private:
  // Returns how many faults the report counts.
  std::size_t take(const std::string& report, const std::string& last) {
    std::size_t points = 0;
    std::istringstream lines(report);
    for (std::string line; std::getline(lines, line);) {
      const std::size_t tab = line.rfind('\t');
      if (tab == std::string::npos) {
        ADD_FAILURE() << line << (line.find("died") == line.npos ? "" : " in " + last);
        continue;
      }
      const std::size_t count = std::stoul(line.substr(tab + 1));
      counts_[line.substr(0, tab)] += count;
      points += count;
    }
    return points;
  }

  std::map<std::string, std::size_t> counts_;
};

// Little of everything, in several blocks.
FaultFolder small_files() {
  Random random(71);
  return FaultFolder(rich_file(), random_reads(random, 10));
}

// More than the buffers hold, so that files are also written on the way.
FaultFolder large_files() {
  Random random(72);
  BamBuilder sorted;
  sorted.refs(1, 1 << 20);
  int start = 9;
  for (RecordBuilder& read : bulky_reads(random, 4, 100000)) sorted.record(read.at(0, start += 10));
  return FaultFolder(sorted, bulky_reads(random, 5, 100000));
}

// Registered ones and those that are only exported, kxFields among them, which once was in no
// table.
TEST_F(FaultSweep, CallsEveryGatewayFunction) {
  const std::string scope = "readkit::";
  std::vector<std::string> functions;
  std::istringstream symbols(read_file(READKIT_SOURCE_DIR "/tests/layout/symbols/gateways.txt"));
  for (std::string symbol; std::getline(symbols, symbol);) {
    if (symbol.starts_with(scope)) functions.push_back(symbol.substr(scope.size()));
  }
  ASSERT_GE(functions.size(), 24U);
  const FaultFolder folder = small_files();
  const std::vector<FaultCall> calls = folder.calls();
  for (const std::string& name : functions) {
    EXPECT_TRUE(std::any_of(calls.begin(), calls.end(), [&](const FaultCall& call) {
      return call.name.substr(0, call.name.find_first_of(", ")) == name;
    })) << name;
  }
}

// That the search for lost memory, at the end of every call's faults, finds some.
TEST_F(FaultSweep, LostMemoryIsFound) {
  if (!kMemoryIsKept) GTEST_SKIP() << "only sanitizers know what is lost";
  if (access("/proc/self/maps", R_OK) != 0) GTEST_SKIP() << "leaks are not looked for";
  const auto has_found = [](bool loses) {
    return in_child([&]() -> std::optional<std::string> {
      std::fclose(stderr);
      std::thread([&] {
        const auto memory = std::make_unique<std::string>(1000, 'x');
        if (loses) new std::string(*memory);
      }).join();
      return has_leaks() ? "yes" : "no";
    });
  };
  EXPECT_EQ(has_found(false), "no");
  EXPECT_EQ(has_found(true), "yes");
}

TEST_F(FaultSweep, FilesThatFail) {
  sweep(small_files(),
        failures_of({Operation::kOpen, Operation::kStatus, Operation::kRead, Operation::kWrite,
                     Operation::kSeek, Operation::kClose, Operation::kRemove}));
}

TEST_F(FaultSweep, LargeFilesThatFail) {
  std::vector<Fault> faults;
  for (const Operation operation : {Operation::kRead, Operation::kWrite, Operation::kSeek}) {
    faults.push_back({operation, Manner::kFails, Lasts::kOnce, 0});
  }
  faults.push_back({Operation::kWrite, Manner::kInterrupted, Lasts::kEverySecond, 0});
  const FaultFolder folder = large_files();
  for (const char* const names : {"convertFormat", "BAM::sort", "SAM::sort"}) {
    sweep(folder, faults, names);
  }
}

TEST_F(FaultSweep, MemoryThatIsOut) {
  if (!allocations_can_fail()) GTEST_SKIP() << "sanitizers have their own memory";
  sweep(small_files(), failures_of({Operation::kAllocation, Operation::kMap}));
}

TEST_F(FaultSweep, InterruptionsAndShortPieces) {
  std::vector<Fault> faults;
  for (const Operation operation : {Operation::kRead, Operation::kWrite}) {
    for (const Lasts lasts : kLengths) {
      faults.push_back({operation, Manner::kComesShort, lasts, 0});
    }
  }
  for (const Operation operation : {Operation::kOpen, Operation::kRead, Operation::kWrite}) {
    for (const Lasts lasts : {Lasts::kOnce, Lasts::kEverySecond}) {
      faults.push_back({operation, Manner::kInterrupted, lasts, 0});
    }
  }
  sweep(small_files(), faults);
}

TEST_F(FaultSweep, InputsThatBecomeShorter) {
  sweep(small_files(), {{Operation::kRead, Manner::kEnds, Lasts::kForGood, 0}});
}

// ---- What happened before ----------------------------------------------------------------------

// Once the end of a BAM file had been seen, a read that failed in a second pass was taken for it,
// and so was the end of a file that had become shorter: the output was short, and no error told so.
TEST_F(FaultSweep, SecondPassOverABamFileKnowsWhereItEnds) {
  std::vector<Fault> faults = failures_of({Operation::kRead});
  faults.push_back({Operation::kRead, Manner::kEnds, Lasts::kForGood, 0});
  sweep(small_files(), faults, "convertFormat, to_bam_of_chr1");
}

// A SAM file whose header had been read and that could then not be positioned gave no records.
TEST_F(FaultSweep, SamFileThatCannotBePositionedIsNotEmpty) {
  const FaultFolder folder = small_files();
  for (const char* const names : {"samToBam", "samInfo", "convertFormat, to_fastq, SAM"}) {
    sweep(folder, failures_of({Operation::kSeek}), names);
  }
}

// Where the header could not be read on, going back to the records forgot that.
TEST_F(FaultSweep, SamHeaderThatCannotBeReadIsNotShort) {
  sweep(small_files(), failures_of({Operation::kRead}), "convertFormat, to_sam, SAM");
}

// The check of a file that could not be read on found it truncated, or of no known kind.
TEST_F(FaultSweep, CheckTellsOfAFileThatCannotBeRead) {
  sweep(small_files(), failures_of({Operation::kRead}), "kxCheck");
}

// A signal that ended a read made a sound file a damaged one; one that ended a write, a full disk.
TEST_F(FaultSweep, SignalsAreNoErrors) {
  std::vector<Fault> faults;
  for (const Operation operation : {Operation::kOpen, Operation::kRead, Operation::kWrite}) {
    faults.push_back({operation, Manner::kInterrupted, Lasts::kEverySecond, 0});
  }
  sweep(small_files(), faults, "bamIndex");
}

// What tells of a lack of memory needed memory: std::bad_alloc came out of the host instead of its
// own error.
TEST_F(FaultSweep, LackOfMemoryIsAnErrorOfTheHost) {
  if (!allocations_can_fail()) GTEST_SKIP() << "sanitizers have their own memory";
  sweep(small_files(), failures_of({Operation::kAllocation}), "getHeader");
}

}  // namespace
}  // namespace readkit::faults_fault_sweep_test
