// Registration: what the host finds when it has loaded the library.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "gateway/gateways.h"
#include "host/registry.h"
#include "support/bam_builder.h"
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
                                 "kxCheck", "kxFields", "kxSamWriteRegions", "kxVerified"}) {
    EXPECT_TRUE(gateway_library().has(name));
    EXPECT_FALSE(gateway_library().has("seqlab.internal.readkit." + name));
    EXPECT_EQ(registry.find(name), nullptr);
  }
}

// ---- kxVerified ---------------------------------------------------------------------------------

TEST(Verified, CallsEveryFunctionWithTheInputsBehindItsName) {
  Names names = registered_names();
  for (const char* more : {"kxBamIndexComplete", "kxBamShuffle", "kxBamShuffleSeeded", "kxCheck",
                           "kxFields", "kxSamWriteRegions"}) {
    names.emplace_back(more);
  }
  for (const std::string& name : names) {
    const char16_t* const own = name == "kxBamShuffle" ? u"bamshuffle" : nullptr;
    EXPECT_CALL_FAILS(call_gateway("kxVerified", 0, inputs(text(name))),
                      "seqlab:readkit:InvalidArgCount", own != nullptr ? own : to_ustring(name));
  }
  EXPECT_CALL_FAILS(call_gateway("kxVerified", 1, {}), "seqlab:readkit:InvalidArgCount",
                    u"kxVerified");
  for (const char* other : {"", "kxVerified", "bamInf", "bamInfo2"}) {
    EXPECT_CALL_FAILS(call_gateway("kxVerified", 1, inputs(text(other), text("x"))),
                      "seqlab:readkit:InvalidInputType", u"name", u"function");
  }
}

TEST(Verified, DamageThatInflatesIsAnErrorOfThisCallAlone) {
  const TempDir folder;
  BamBuilder().refs(1, 1000).record(RecordBuilder("r").at(0, 9)).write(folder, "a.bam");
  std::string bytes = folder.read("a.bam");
  const auto info = [&](const char* name) {
    return column_of<double>(
        call_gateway("kxVerified", 2, inputs(text("bamInfo"), text(folder, name))).at(1));
  };
  EXPECT_EQ(info("a.bam"), (std::vector<double>{0, 1}));
  // The checksum of the first block.
  const std::size_t size =
      static_cast<std::uint8_t>(bytes.at(16)) + 256U * static_cast<std::uint8_t>(bytes.at(17)) + 1U;
  bytes.at(size - 8) = static_cast<char>(bytes.at(size - 8) ^ 1);
  folder.write("b.bam", bytes);
  EXPECT_CALL_FAILS(info("b.bam"), "seqlab:readkit:ZLIBInflate", folder.text("b.bam"));
  EXPECT_EQ(column_of<double>(call_gateway("bamInfo", 2, inputs(text(folder, "b.bam"))).at(1)),
            (std::vector<double>{0, 1}));
}

TEST(Verified, RecordsThatWouldBeLostOrTakenForOthersAreErrors) {
  const TempDir folder;
  const auto outcome = [&](const BamBuilder& file) {
    file.write(folder, "a.bam");
    const auto count = [&](const char* gateway) {
      return gateway == nullptr
                 ? call_gateway("bamInfo", 2, inputs(text(folder, "a.bam")))
                 : call_gateway(gateway, 2, inputs(text("bamInfo"), text(folder, "a.bam")));
    };
    EXPECT_EQ(txGetNumberOfElements(count(nullptr).at(1).get()), 2U);
    try {
      return column_of<double>(count("kxVerified").at(1)).back();
    } catch (const host::HostError& error) {
      EXPECT_EQ(error.identifier(), "seqlab:readkit:InvalidBAMFormat");
      return -1.0;
    }
  };
  const auto named = [](std::size_t length) {
    return RecordBuilder(std::string(length, 'n')).at(0, 9).cigar("4M");
  };
  const RecordBuilder first = RecordBuilder("first").at(0, 9).cigar("4M");
  EXPECT_EQ(outcome(BamBuilder().refs(1, 1000).record(named(222))), 1);
  EXPECT_EQ(outcome(BamBuilder().refs(1, 1000).record(named(223).cigar("*"))), 1);
  EXPECT_EQ(outcome(BamBuilder().refs(1, 1000).record(named(223))), -1);
  for (const std::size_t size : {1U, 4U, 5U, 40U}) {
    const std::string cut = first.bytes().substr(0, size);
    EXPECT_EQ(outcome(BamBuilder().refs(1, 1000).record(first).record_bytes(cut)), -1) << size;
  }
}

TEST(EntryPoints, LibraryLoadsTwiceAtATime) {
  const host::Library again(gateway_library().path());
  EXPECT_EQ(again.function_names(), gateway_library().function_names());
  EXPECT_EQ(again.function_names().size(), 17U);
}

}  // namespace
}  // namespace readkit::gateway_entry_points_test
