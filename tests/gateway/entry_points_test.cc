// Registration: what the host finds when it has loaded the library.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "gateway/gateways.h"
#include "host/registry.h"
#include "support/gateway_calls.h"

namespace readkit::gateway_entry_points_test {
namespace {

using Names = std::vector<std::string>;

const Names& registered_names() {
  static const Names names = {"bamInfo",
                              "bamSort",
                              "bamIndex",
                              "getNumReferences",
                              "getReferenceID",
                              "getReferenceString",
                              "getStartsInReference",
                              "getFeatureCountData",
                              "getFeatures",
                              "getHeader",
                              "convertFormat",
                              "samSort",
                              "samWriteUnaligned",
                              "samWrite",
                              "samToBam",
                              "samInfo",
                              "scanQualities"};
  return names;
}

Names with_namespaces(const Names& names) {
  Names all;
  for (const std::string& name : names) all.push_back("seqlab.internal.readkit." + name);
  return all;
}

Names names_in(const host::Registry& registry) {
  Names names;
  for (const auto& function : registry.functions()) names.push_back(function.name);
  return names;
}

TEST(EntryPoints, SeventeenFunctionsAreRegisteredInTheirOrder) {
  EXPECT_EQ(gateway_library().function_names(), with_namespaces(registered_names()));
  EXPECT_EQ(registered_names().size(), 17U);
}

TEST(EntryPoints, EveryFunctionIsRegisteredWithScopeTwoAndNoComponent) {
  host::Registry registry;
  const host::CurrentRegistry current(registry);
  EXPECT_TRUE(TslInitialize_readkit());
  ASSERT_EQ(names_in(registry), with_namespaces(registered_names()));
  for (const auto& function : registry.functions()) {
    EXPECT_EQ(function.scope, 2) << function.name;
    EXPECT_EQ(function.component, "") << function.name;
    EXPECT_NE(function.entry, nullptr) << function.name;
  }
}

TEST(EntryPoints, EachNameStandsForItsFunction) {
  host::Registry registry;
  const host::CurrentRegistry current(registry);
  TslInitialize_readkit();
  const std::vector<txGateway> entries = {bamInfo,
                                          bamSort,
                                          bamIndex,
                                          getNumReferences,
                                          getReferenceID,
                                          getReferenceString,
                                          getStartsInReference,
                                          getFeatureCountData,
                                          getFeatures,
                                          getHeader,
                                          convertFormat,
                                          samSort,
                                          samWriteUnaligned,
                                          samWrite,
                                          samToBam,
                                          samInfo,
                                          scanQualities};
  ASSERT_EQ(registry.functions().size(), entries.size());
  for (std::size_t i = 0; i < entries.size(); ++i) {
    EXPECT_EQ(registry.functions()[i].entry, entries[i]) << registered_names()[i];
  }
}

TEST(EntryPoints, RegisteringAgainAddsTheSameNamesInTheSameOrder) {
  host::Registry registry;
  const host::CurrentRegistry current(registry);
  EXPECT_TRUE(TslInitialize_readkit());
  EXPECT_TRUE(TslInitialize_readkit());
  EXPECT_EQ(names_in(registry), with_namespaces(registered_names()));
}

TEST(EntryPoints, TerminatingKeepsTheFunctions) {
  host::Registry registry;
  const host::CurrentRegistry current(registry);
  TslInitialize_readkit();
  TslTerminate_readkit();
  EXPECT_EQ(registry.functions().size(), 17U);
}

TEST(EntryPoints, ExtraFunctionsAreExportedButNotRegistered) {
  host::Registry registry;
  const host::CurrentRegistry current(registry);
  TslInitialize_readkit();
  for (const std::string name : {"kxBamIndexComplete", "kxBamShuffle", "kxBamShuffleSeeded",
                                 "kxCheck", "kxFields", "kxSamWriteRegions"}) {
    EXPECT_TRUE(gateway_library().has(name));
    EXPECT_FALSE(gateway_library().has("seqlab.internal.readkit." + name));
    EXPECT_EQ(registry.find(name), nullptr);
  }
}

TEST(EntryPoints, LibraryLoadsTwiceAtATime) {
  const host::Library again(gateway_library().path());
  EXPECT_EQ(again.function_names(), gateway_library().function_names());
  EXPECT_EQ(again.function_names().size(), 17U);
}

}  // namespace
}  // namespace readkit::gateway_entry_points_test
