// The function registry and the operations by which a library fills it.
#include "host/registry.h"

#include <thread>

#include <gtest/gtest.h>

namespace readkit::host::host_registry_test {
namespace {

void first_gateway(int, txArray**, int, const txArray**) {}
void second_gateway(int, txArray**, int, const txArray**) {}

// The namespace that libraries fill, looked up in their way.
txFunctionNamespace* library_namespace() {
  return txFindInnerNamespace(txFindInnerNamespace(txFindNamespace("seqlab"), "internal"),
                              "readkit");
}

bool add(const char* name, txGateway function) {
  return txAddFunction(library_namespace(), txInternName(name), function, nullptr, 2);
}

std::vector<std::string> names_in(const Registry& registry) {
  std::vector<std::string> names;
  for (const RegisteredFunction& function : registry.functions()) names.push_back(function.name);
  return names;
}

TEST(Registry, HasTheNamespacesOfTheLibraryFromTheStart) {
  Registry registry;
  const CurrentRegistry current(registry);
  EXPECT_NE(library_namespace(), nullptr);
  EXPECT_TRUE(registry.functions().empty());
}

TEST(Registry, FindsOnlyNamespacesThatExist) {
  Registry registry;
  const CurrentRegistry current(registry);
  EXPECT_EQ(txFindNamespace("internal"), nullptr);
  EXPECT_EQ(txFindNamespace("seqlab.internal"), nullptr);
  EXPECT_EQ(txFindNamespace(""), nullptr);
  EXPECT_EQ(txFindNamespace(nullptr), nullptr);
  EXPECT_EQ(txFindInnerNamespace(txFindNamespace("seqlab"), "readkit"), nullptr);
  EXPECT_EQ(txFindInnerNamespace(txFindNamespace("seqlab"), nullptr), nullptr);
  EXPECT_EQ(txFindInnerNamespace(nullptr, "internal"), nullptr);
}

TEST(Registry, AddsNamespacesAtAnyDepthOnce) {
  Registry registry;
  txFunctionNamespace* const added = registry.add_namespace("seqlab.other.deep");
  ASSERT_NE(added, nullptr);
  EXPECT_EQ(registry.add_namespace("seqlab.other.deep"), added);
  EXPECT_EQ(txFindInnerNamespace(txFindInnerNamespace(registry.find_namespace("seqlab"), "other"),
                                 "deep"),
            added);
  EXPECT_NE(registry.add_namespace("outermost"), nullptr);
}

TEST(Registry, RefusesNamespacesWithAnEmptyPart) {
  Registry registry;
  for (const char* name : {"", ".", "a.", ".a", "a..b"}) {
    EXPECT_EQ(registry.add_namespace(name), nullptr) << name;
  }
  EXPECT_EQ(registry.find_namespace("a"), nullptr);
}

TEST(Registry, KeepsTheOrderOfRegistration) {
  Registry registry;
  const CurrentRegistry current(registry);
  EXPECT_TRUE(add("zebra", first_gateway));
  EXPECT_TRUE(add("ant", second_gateway));
  EXPECT_TRUE(txAddFunction(registry.add_namespace("other"), txInternName("middle"), first_gateway,
                            "component", 1));
  EXPECT_EQ(names_in(registry),
            (std::vector<std::string>{"seqlab.internal.readkit.zebra",
                                      "seqlab.internal.readkit.ant", "other.middle"}));
}

TEST(Registry, KeepsComponentAndScope) {
  Registry registry;
  const CurrentRegistry current(registry);
  add("f", first_gateway);
  txAddFunction(library_namespace(), txInternName("g"), first_gateway, "component", 7);
  EXPECT_EQ(registry.find("f")->component, "");
  EXPECT_EQ(registry.find("f")->scope, 2);
  EXPECT_EQ(registry.find("g")->component, "component");
  EXPECT_EQ(registry.find("g")->scope, 7);
}

TEST(Registry, FindsFunctionsByDottedAndByBareName) {
  Registry registry;
  const CurrentRegistry current(registry);
  add("bamInfo", first_gateway);
  add("Info", second_gateway);
  EXPECT_EQ(registry.find("seqlab.internal.readkit.bamInfo")->entry, &first_gateway);
  EXPECT_EQ(registry.find("bamInfo")->entry, &first_gateway);
  EXPECT_EQ(registry.find("Info")->entry, &second_gateway);
  for (const char* name : {"", "Inf", "readkit.bamInfo", "seqlab.bamInfo", "baminfo", "readkit"}) {
    EXPECT_EQ(registry.find(name), nullptr) << name;
  }
}

TEST(Registry, AddingANameAgainReplacesTheFunctionInItsPlace) {
  Registry registry;
  const CurrentRegistry current(registry);
  add("a", first_gateway);
  add("b", first_gateway);
  EXPECT_TRUE(add("a", second_gateway));
  EXPECT_EQ(registry.functions().size(), 2U);
  EXPECT_EQ(registry.functions()[0].name, "seqlab.internal.readkit.a");
  EXPECT_EQ(registry.functions()[0].entry, &second_gateway);
}

TEST(Registry, AddsNothingWithoutNamespaceNameOrFunction) {
  Registry registry;
  const CurrentRegistry current(registry);
  EXPECT_FALSE(txAddFunction(nullptr, txInternName("f"), first_gateway, nullptr, 2));
  EXPECT_FALSE(add("", first_gateway));
  EXPECT_FALSE(add(nullptr, first_gateway));
  EXPECT_FALSE(add("f", nullptr));
  EXPECT_TRUE(registry.functions().empty());
}

TEST(Registry, InternsEqualNamesOnce) {
  const std::string copy = "name";
  EXPECT_NE(txInternName("name"), nullptr);
  EXPECT_EQ(txInternName("name"), txInternName(copy.c_str()));
  EXPECT_NE(txInternName("name"), txInternName("Name"));
}

TEST(Registry, TheCurrentRegistryIsTheInnermostOne) {
  Registry outer;
  Registry inner;
  Registry& outside = Registry::current();
  {
    const CurrentRegistry current(outer);
    {
      const CurrentRegistry nested(inner);
      add("inside", first_gateway);
    }
    add("outside", first_gateway);
  }
  EXPECT_EQ(names_in(inner), std::vector<std::string>{"seqlab.internal.readkit.inside"});
  EXPECT_EQ(names_in(outer), std::vector<std::string>{"seqlab.internal.readkit.outside"});
  EXPECT_EQ(&Registry::current(), &outside);
}

TEST(Registry, EveryThreadHasItsOwnCurrentRegistry) {
  Registry registry;
  const CurrentRegistry current(registry);
  const Registry* seen = nullptr;
  std::thread([&] { seen = &Registry::current(); }).join();
  EXPECT_NE(seen, &registry);
  EXPECT_EQ(&Registry::current(), &registry);
}

TEST(Registry, OutsideOfALoadThereIsARegistryWithTheNamespaces) {
  EXPECT_NE(library_namespace(), nullptr);
}

// All threads filled one registry of the process at once, and found each other's functions there.
TEST(Registry, OutsideOfALoadEveryThreadHasItsOwnRegistry) {
  ASSERT_TRUE(add("of_the_main_thread", first_gateway));
  bool added = false;
  std::vector<std::string> seen;
  std::thread([&] {
    added = add("of_another_thread", second_gateway);
    seen = names_in(Registry::current());
  }).join();
  EXPECT_TRUE(added);
  EXPECT_EQ(seen, std::vector<std::string>{"seqlab.internal.readkit.of_another_thread"});
  EXPECT_EQ(Registry::current().find("of_another_thread"), nullptr);
}

}  // namespace
}  // namespace readkit::host::host_registry_test
