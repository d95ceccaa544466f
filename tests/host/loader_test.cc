// Loading libraries: what is found in them, how long they stay, and files that are none.
#include "host/loader.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>

#include <dlfcn.h>

#include "host/call.h"
#include "support/libraries.h"
#include "tests/host/host_test_support.h"

namespace readkit::host::host_loader_test {
namespace {

/// Tells the fake library, while it lives, how to behave on loading.
class FakeMode {
 public:
  explicit FakeMode(const char* mode) { setenv(kVariable, mode, 1); }
  ~FakeMode() { unsetenv(kVariable); }
  FakeMode(const FakeMode&) = delete;
  FakeMode& operator=(const FakeMode&) = delete;

 private:
  static constexpr const char* kVariable = "READKIT_FAKE_LIBRARY";
};

class Loader : public NothingLeaks {};

void load(const std::string& path) { const Library library(path); }

std::string error_text_of_loading(const std::string& path) {
  try {
    load(path);
  } catch (const HostError& e) {
    return e.text();
  }
  return {};
}

bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

TEST_F(Loader, ListsTheFunctionsInTheOrderOfRegistration) {
  const Library library(fake_library_path());
  const std::vector<std::string> names = library.function_names();
  ASSERT_EQ(names.size(), 10U);
  EXPECT_EQ(names.front(), "seqlab.internal.readkit.echo");
  EXPECT_EQ(names.back(), "seqlab.internal.readkit.fail");
  EXPECT_EQ(library.path(), fake_library_path());
}

TEST_F(Loader, FindsTheLibraryThatCameWithTheHost) {
  EXPECT_TRUE(std::filesystem::equivalent(flavour_path(flavour_name()), library_path()));
  EXPECT_NE(flavour_path("exact"), flavour_path("fast"));
  EXPECT_THROW(flavour_path("faster"), HostError);
}

TEST_F(Loader, FindsFunctionsByDottedAndByBareName) {
  const Library library(fake_library_path());
  const Function dotted = library.function("seqlab.internal.readkit.echo");
  const Function bare = library.function("echo");
  EXPECT_EQ(dotted.entry(), bare.entry());
  EXPECT_EQ(bare.name(), "seqlab.internal.readkit.echo");
}

TEST_F(Loader, FindsExportedFunctionsThatAreNotRegistered) {
  const Library library(fake_library_path());
  const Function unlisted = library.function("kxUnlisted");
  EXPECT_EQ(unlisted.name(), "kxUnlisted");
  EXPECT_EQ(text_of(call(unlisted, 1, {})[0].get()), "unlisted");
}

TEST_F(Loader, AFunctionThatIsNotThereRaises) {
  const Library library(fake_library_path());
  for (const char* name : {"", "nothing", "seqlab.internal.readkit.nothing",
                           "seqlab.internal.readkit.kxUnlisted", "TslInitialize_readkit"}) {
    EXPECT_HOST_ERROR(library.function(name), id::kFunctionNotFound);
    EXPECT_FALSE(library.has(name)) << name;
  }
  EXPECT_TRUE(library.has("echo"));
  EXPECT_TRUE(library.has("kxUnlisted"));
}

TEST_F(Loader, TerminatesTheLibraryWhenItsLastUserIsGone) {
  const std::size_t before = live_arrays();
  std::optional<Function> echo;
  {
    const Library library(fake_library_path());
    const Library copy = library;
    EXPECT_EQ(live_arrays(), before + 1);
    echo = copy.function("echo");
  }
  EXPECT_EQ(live_arrays(), before + 1);
  const Owned text = make_text("still callable");
  EXPECT_EQ(text_of(call(*echo, 1, {text.get()})[0].get()), "still callable");
  echo.reset();
  EXPECT_EQ(live_arrays(), before + 1);  // `text` alone
}

TEST_F(Loader, OutputsOutliveTheLibrary) {
  std::vector<Owned> outputs;
  {
    const Library library(fake_library_path());
    const Owned text = make_text("lasting");
    outputs = call(library.function("echo"), 1, {text.get()});
  }
  EXPECT_EQ(text_of(outputs[0].get()), "lasting");
}

TEST_F(Loader, LibrariesLoadedTogetherHaveTheirOwnFunctions) {
  const Library all(fake_library_path());
  const FakeMode mode("registers_two");
  const Library two(fake_library_path());
  EXPECT_EQ(all.function_names().size(), 10U);
  EXPECT_EQ(two.function_names(), (std::vector<std::string>{"seqlab.internal.readkit.echo",
                                                            "seqlab.internal.readkit.counts"}));
  EXPECT_TRUE(all.has("fail"));
  EXPECT_FALSE(two.has("fail"));
}

TEST_F(Loader, ALibraryMayBeLoadedAgainAfterItWasUnloaded) {
  for (int round = 0; round < 3; ++round) {
    const Library library(fake_library_path());
    EXPECT_EQ(library.function_names().size(), 10U);
  }
}

TEST_F(Loader, ANameWithoutASlashIsAFileInTheCurrentFolder) {
  const std::filesystem::path before = std::filesystem::current_path();
  const std::filesystem::path library_file = std::filesystem::absolute(fake_library_path());
  std::filesystem::current_path(library_file.parent_path());
  const Library library(library_file.filename().string());
  std::filesystem::current_path(before);
  EXPECT_TRUE(library.has("echo"));
}

TEST_F(Loader, AMissingFileIsNamed) {
  EXPECT_HOST_ERROR(load("/no/such/library.so"), id::kLibraryNotFound);
  EXPECT_TRUE(contains(error_text_of_loading("/no/such/library.so"), "'/no/such/library.so'"));
  EXPECT_HOST_ERROR(load(""), id::kLibraryNotFound);
}

TEST_F(Loader, AFileThatIsNoLibraryDoesNotLoad) {
  const std::string path = testing::TempDir() + "readkit-loader-test-not-a-library.so";
  std::ofstream(path) << "This is a text.\n";
  EXPECT_HOST_ERROR(load(path), id::kLibraryDoesNotLoad);
  EXPECT_TRUE(contains(error_text_of_loading(path), path));
  std::filesystem::remove(path);
  EXPECT_HOST_ERROR(load(testing::TempDir()), id::kLibraryDoesNotLoad);
}

TEST_F(Loader, ALibraryWithoutTheEntryPointIsRefused) {
  Dl_info info{};
  ASSERT_NE(dladdr(reinterpret_cast<const void*>(&txGetM), &info), 0);
  EXPECT_HOST_ERROR(load(info.dli_fname), id::kNoEntryPoint);
  EXPECT_TRUE(contains(error_text_of_loading(info.dli_fname), "TslInitialize_readkit"));
}

TEST_F(Loader, ALibraryThatRegistersNothingIsRefused) {
  for (const char* behaviour : {"registers_nothing", "refuses"}) {
    const FakeMode mode(behaviour);
    EXPECT_HOST_ERROR(load(fake_library_path()), id::kNothingRegistered);
  }
  const Library library(fake_library_path());
  EXPECT_TRUE(library.has("echo"));
}

TEST_F(Loader, AnErrorOfTheEntryPointArrivesAsHostError) {
  const FakeMode mode("raises");
  EXPECT_HOST_ERROR(load(fake_library_path()), "seqlab:readkit:FileNotFound");
  EXPECT_TRUE(contains(error_text_of_loading(fake_library_path()), "needed-by-the-library"));
}

}  // namespace
}  // namespace readkit::host::host_loader_test
