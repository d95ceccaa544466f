// What calls must not share: several threads, a fork amid them, loading again and again, and two
// hosts in one process. Files of their own are all that a host must give them.
#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <latch>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "host/call.h"
#include "support/gateway_calls.h"
#include "support/hostile_calls.h"
#include "support/libraries.h"
#include "support/resident_memory.h"

namespace readkit::gateway_threads_test {
namespace {

using Results = std::map<std::string, std::string>;

// A folder with files of its own, which every gateway function works on.
class Workplace {
 public:
  // The files of different seeds differ.
  explicit Workplace(int seed) {
    BamBuilder sorted;
    sorted.text("@HD\tVN:1.6\tSO:coordinate\n").ref("chr1", 100000).ref("chr2", 100000);
    sorted.block_size(1000 + static_cast<std::size_t>(seed));
    std::vector<RecordBuilder> records;
    for (int i = 0; i < kRecords; ++i) {
      records.push_back(RecordBuilder("read" + std::to_string(seed * i))
                            .at(i * 2 / kRecords, i % (kRecords / 2) * (40 + seed))
                            .mapq(20 + seed)
                            .flag(i % 3 == 0 ? 16 : 0)
                            .cigar("3M1I4M")
                            .seq(i % 2 == 0 ? "ACGTACGT" : "GGCATTTA")
                            .qual(i % 5 == 0 ? "IIIIIIII" : "HGFEDCBA")
                            .tag("NH", 'C', 1 + i % 2)
                            .tag_float("XF", 0.5F * static_cast<float>(seed)));
    }
    for (const RecordBuilder& record : records) sorted.record(record);
    sorted.write(folder_, "a.bam");
    std::reverse(records.begin(), records.end());
    BamBuilder reversed;
    reversed.ref("chr1", 100000).ref("chr2", 100000);
    for (const RecordBuilder& record : records) reversed.record(record);
    reversed.write(folder_, "b.bam");
  }

  // What every function gives: its outputs, the files that it makes, or its error.
  Results call_all(const host::Library& library) const {
    Results results;
    const auto file = [this](std::string_view name) { return text(folder_, name); };
    const auto number = [](double value) { return host::make_scalar(value); };
    const auto call = [&](const std::string& name, int nlhs, const Inputs& list) {
      results[std::to_string(results.size()) + ' ' + name] = outcome(library, name, nlhs, list);
    };
    call("getNumReferences", 1, inputs(file("a.bam")));
    call("getReferenceID", 1, inputs(file("a.bam"), text("chr2")));
    call("getReferenceString", 1, inputs(file("a.bam"), number(1)));
    call("getHeader", 3, inputs(file("a.bam")));
    call("bamInfo", 2, inputs(file("a.bam")));
    call("bamIndex", 0, inputs(file("a.bam"), file("a.bai")));
    call("kxBamIndexComplete", 0, inputs(file("a.bam"), file("complete.bai")));
    call("kxCheck", 1, inputs(file("a.bam"), file("complete.bai")));
    call_queries(call);
    call("convertFormat", 0,
         inputs(file("b.bam"), text("bam"), file("b.sam"), text("sam"),
                host::make_row<std::uint32_t>({})));
    call("convertFormat", 0,
         inputs(file("a.bam"), text("bam"), file("a.fastq"), text("fastq"),
                host::make_row<std::uint32_t>({})));
    call("convertFormat", 0,
         inputs(file("a.bam"), text("bam"), file("two.bam"), text("bam"),
                host::make_row<std::uint32_t>({1, 2}), text("chr1")));
    call("samInfo", 3, inputs(file("b.sam")));
    call("samSort", 0, inputs(file("b.sam"), file("sorted")));
    call("samToBam", 0, inputs(file("b.sam"), file("c.bam")));
    call("bamSort", 0, inputs(file("b.bam"), file("sorted")));
    call("kxBamShuffleSeeded", 0, inputs(file("b.bam"), file("mixed"), number(7)));
    call("samWrite", 0,
         inputs(file("a.bam"), file("a"), file("region.sam"), text("chr2:1-5000"),
                host::make_scalar(true), host::make_scalar(false)));
    call("samWriteUnaligned", 0, inputs(file("a.bam"), file("none.sam"), host::make_scalar(true)));
    call("scanQualities", 6,
         inputs(number(1), file("a.fastq"), number(0), number(60), number(33), number(-1),
                number(-1), number(0), number(-1), host::make_row<double>({}), number(-1),
                number(0), number(-1), host::make_scalar(true)));
    call("bamInfo", 2, inputs(file("missing.bam")));
    // Another order each time: that all records are there must do.
    call("kxBamShuffle", 0, inputs(file("b.bam"), file("random")));
    call("bamInfo", 2, inputs(file("random.bam")));
    std::filesystem::remove(folder_.native("random.bam"));
    for (const std::string& name : folder_.names()) {
      results["file " + name] = folder_.read(name);
      if (name != "a.bam" && name != "b.bam") std::filesystem::remove(folder_.native(name));
    }
    return results;
  }

 private:
  static constexpr int kRecords = 120;

  template <typename Call>
  void call_queries(const Call& call) const {
    call("getStartsInReference", 3,
         inputs(text(folder_, "a.bam"), text(folder_, "a.bai"), host::make_scalar(1.0)));
    call("getFeatures", 11,
         inputs(text(folder_, "a.bam"), text(folder_, "a.bai"),
                host::make_cell_of_texts({"Flag", "Position", "MappingQuality", "MatePosition",
                                          "MateIndex", "QueryLength", "EndPosition", "Signature",
                                          "Sequence", "Header", "Quality"}),
                host::make_scalar(1.0), host::make_column<std::uint32_t>({1, 2, 9}),
                host::make_column<std::uint32_t>(std::vector<std::uint32_t>(9, 0))));
    call("kxFields", 5,
         inputs(text(folder_, "a.bam"), text(folder_, "complete.bai"),
                host::make_cell_of_texts({"Position", "Header", "Quality"}),
                host::make_column<double>({0, 1, 1}), host::make_column<double>({1, 1, 500}),
                host::make_column<double>({100000, 1000, 2000})));
    call("getFeatureCountData", 9,
         inputs(text(folder_, "a.bam"), host::make_scalar(1.0), host::make_scalar(true),
                host::make_scalar(true), host::make_scalar(1.0)));
  }

  std::string outcome(const host::Library& library, const std::string& name, int nlhs,
                      const Inputs& list) const {
    std::string text;
    try {
      for (const host::Owned& output : host::call(library.function(name), nlhs, list)) {
        text += described(output.get()) + '\n';
      }
    } catch (const host::HostError& error) {
      text = error.identifier() + ' ' + error.text();
      // The folder differs from run to run; that it is this one is a part of the result.
      const std::size_t at = text.find(folder_.folder());
      if (at != std::string::npos) text.replace(at, folder_.folder().size(), "FOLDER");
    }
    return text;
  }
  TempDir folder_;
};

// Sanitizers keep memory and mappings, and cannot do with two copies of one library.
constexpr bool kIsSanitized = kMemoryIsKept;

constexpr int kThreads = 4;

// Places of work and what comes out of them when nothing else happens.
class Threads : public testing::Test {
 protected:
  Threads() {
    for (int seed = 0; seed < kThreads; ++seed) {
      const auto& place = places_.emplace_back(std::make_unique<Workplace>(seed));
      expected_.push_back(place->call_all(gateway_library()));
    }
  }

  // Calls everything in the place of this number. The name of the first result that is not as it
  // must be; empty when there is none.
  std::string wrong_in(std::size_t place, const host::Library& library) const {
    const Results results = places_[place]->call_all(library);
    if (results.size() != expected_[place].size()) return "number of results";
    const auto [mine, theirs] =
        std::mismatch(results.begin(), results.end(), expected_[place].begin());
    return mine == results.end() ? std::string() : mine->first;
  }
  const Results& expected(std::size_t place) const { return expected_[place]; }

  // Runs `step` in every thread at once, which gives what is wrong.
  static void expect_nothing_wrong(const std::function<std::string(std::size_t)>& step) {
    std::vector<std::string> wrong(kThreads);
    std::latch begin(kThreads);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < kThreads; ++i) {
      threads.emplace_back([&, i] {
        begin.arrive_and_wait();
        wrong[i] = step(i);
      });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(wrong, std::vector<std::string>(kThreads));
  }

 private:
  std::vector<std::unique_ptr<Workplace>> places_;
  std::vector<Results> expected_;
};

TEST_F(Threads, EveryFunctionGivesWhatItGivesAlone) {
  const LeakCheck leaks;
  // The ways to succeed and to fail are both there, and places differ.
  EXPECT_EQ(expected(0).size(), 39U);
  EXPECT_EQ(std::count_if(expected(0).begin(), expected(0).end(),
                          [](const auto& result) {
                            return result.second.find("FOLDER") != std::string::npos;
                          }),
            1);
  for (const char* file : {"file sorted.bam", "file sorted.sam", "file a.fastq"}) {
    EXPECT_NE(expected(0).at(file), "") << file;
    EXPECT_NE(expected(0).at(file), expected(1).at(file)) << file;
  }
  expect_nothing_wrong([&](std::size_t i) {
    std::string wrong;
    for (int round = 0; round < 3; ++round) wrong += wrong_in(i, gateway_library());
    return wrong;
  });
}

TEST_F(Threads, EachLoadsAndUnloadsLibrariesOfItsOwn) {
  const std::vector<std::string> names = gateway_library().function_names();
  expect_nothing_wrong([&](std::size_t i) {
    std::string wrong;
    for (int round = 0; round < 20; ++round) {
      const host::Library library(library_path());
      const host::Library other(fake_library_path());
      if (library.function_names() != names) wrong += "names";
      if (other.function_names().size() != 10) wrong += "names of the other library";
      if (round == 0) wrong += wrong_in(i, library);
    }
    return wrong;
  });
}

// Makes `step` the whole of a child process; whether it succeeded there.
bool child_does(const std::function<bool()>& step) {
  const pid_t child = fork();
  if (child == 0) _exit(step() ? 0 : 1);
  int status = -1;
  waitpid(child, &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

TEST_F(Threads, AChildThatIsForkedAmidThemWorksAsTheyDo) {
  std::atomic<bool> go_on = true;
  std::string wrong[2];
  std::latch begin(3);
  const auto work = [&](std::size_t place) {
    begin.arrive_and_wait();
    do wrong[place] += wrong_in(place, gateway_library());
    while (go_on);
  };
  std::thread first(work, 0);
  std::thread second(work, 1);
  begin.arrive_and_wait();
  for (int i = 0; i < 4; ++i) {
    EXPECT_TRUE(child_does([&] {
      return wrong_in(3, gateway_library()).empty() &&
             wrong_in(3, host::Library(library_path())).empty();
    })) << "child "
        << i;
  }
  go_on = false;
  first.join();
  second.join();
  EXPECT_EQ(wrong[0] + wrong[1] + wrong_in(3, gateway_library()), "");
}

// ---- Loading and unloading -------------------------------------------------------------------

// A copy of a library file, which nobody else has loaded.
class Copy {
 public:
  explicit Copy(const std::string& library) {
    std::filesystem::copy_file(library, folder_.native("copy.so"));
  }
  std::string path() const { return folder_.native("copy.so"); }
  bool is_loaded() const {
    void* const handle = dlopen(path().c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (handle != nullptr) dlclose(handle);
    return handle != nullptr;
  }

 private:
  TempDir folder_;
};

std::string mappings() {
  std::string line;
  std::size_t count = 0;
  for (std::ifstream maps("/proc/self/maps"); std::getline(maps, line);) ++count;
  return std::to_string(count);
}

TEST(Loading, ALibraryIsGoneWithItsLastUserAndTheThreadsThatCalledIt) {
  const Copy copy(library_path());
  const TempDir folder;
  plain_file().write(folder, "a.bam");
  std::thread([&] {
    {
      const host::Library library(copy.path());
      EXPECT_TRUE(copy.is_loaded());
      host::call(library.function("bamInfo"), 2, inputs(text(folder, "a.bam")));
    }
    // What inflates for this thread is of the library's code and goes with the thread.
    EXPECT_TRUE(copy.is_loaded());
  }).join();
  // Some later close takes it away.
  { const host::Library library(copy.path()); }
  EXPECT_FALSE(copy.is_loaded());
}

TEST(Loading, AThousandTimesLeavesNothingBehind) {
  const Copy copy(library_path());
  const TempDir folder;
  plain_file().write(folder, "a.bam");
  const auto load_and_call = [&](int rounds) {
    for (int round = 0; round < rounds; ++round) {
      const host::Library library(copy.path());
      if (round % 10 != 0) continue;
      host::call(library.function("bamInfo"), 2, inputs(text(folder, "a.bam")));
      host::call(library.function("bamSort"), 0,
                 inputs(text(folder, "a.bam"), text(folder, "sorted")));
    }
  };
  // In threads that end: all of it goes each time; and in one that stays.
  const auto both_ways = [&](int rounds) {
    for (int i = 0; i < rounds; ++i) std::thread(load_and_call, 5).join();
    load_and_call(5 * rounds);
  };
  both_ways(10);
  const LeakCheck leaks;
  const std::size_t files = open_files();
  const std::string mapped = mappings();
  forget_resident_peak();
  const std::size_t resident = resident_memory();
  both_ways(kIsSanitized ? 10 : 100);
  EXPECT_EQ(open_files(), files);
  if (kIsSanitized) return;
  EXPECT_EQ(mappings(), mapped);
  forget_resident_peak();
  EXPECT_LT(resident_memory(), resident + (std::size_t{1} << 20));
}

// ---- Two hosts -------------------------------------------------------------------------------

// A second copy of the host in one process, as a package that brings its own would load.
class TwoHosts : public testing::Test {
 protected:
  void SetUp() override {
    if (kIsSanitized) GTEST_SKIP() << "sanitizers know the data of a library by its name";
    plain_file().write(folder_, "a.bam");
  }
  ~TwoHosts() override {
    if (second_ != nullptr) dlclose(second_);
  }

  void open_second(int binding) {
    Dl_info info{};
    ASSERT_NE(dladdr(reinterpret_cast<const void*>(&txGetM), &info), 0);
    copy_ = std::make_unique<Copy>(info.dli_fname);
    second_ = dlopen(copy_->path().c_str(), RTLD_NOW | RTLD_LOCAL | binding);
    ASSERT_NE(second_, nullptr);
  }
  // Has the second host's Library(const std::string&) load the library, and gives what `use` does
  // with it.
  template <typename Use>
  auto with_second(const Use& use) const {
    using Constructor = void (*)(host::Library*, const std::string&);
    const auto construct = reinterpret_cast<Constructor>(
        dlsym(second_,
              "_ZN7readkit4host7LibraryC1ERKNSt7__cxx1112basic_stringIcSt11char_traitsIcE"
              "SaIcEEE"));
    alignas(host::Library) unsigned char memory[sizeof(host::Library)];
    auto* const library = reinterpret_cast<host::Library*>(memory);
    construct(library, library_path());
    const std::unique_ptr<host::Library, void (*)(host::Library*)> owner(
        library, [](host::Library* l) { std::destroy_at(l); });
    return use(*library);
  }
  int references(const host::Library& library) const {
    const std::vector<host::Owned> outputs =
        host::call(library.function("getNumReferences"), 1, inputs(text(folder_, "a.bam")));
    return scalar_of<std::int32_t>(outputs[0]);
  }

 private:
  TempDir folder_;
  std::unique_ptr<Copy> copy_;
  void* second_ = nullptr;
};

TEST_F(TwoHosts, TheSecondLoadsTheLibraryWhileTheFirstHasIt) {
  const host::Library mine(library_path());
  open_second(0);
  EXPECT_EQ(with_second([&](const host::Library& its) { return references(its); }), 2);
  EXPECT_EQ(references(mine), 2);
}

// The library has one host. Another one whose symbols are its own must learn that it is not the
// one.
TEST_F(TwoHosts, OneThatKeepsToItselfIsToldThatNothingWasRegistered) {
  const host::Library mine(library_path());
  open_second(RTLD_DEEPBIND);
  EXPECT_CALL_FAILS(with_second([&](const host::Library& its) { return references(its); }),
                    host::id::kNothingRegistered, library_path());
  EXPECT_EQ(references(mine), 2);
}

}  // namespace
}  // namespace readkit::gateway_threads_test
