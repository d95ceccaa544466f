// The message catalog: every error has a text, and every argument finds its place in it.
#include "host/catalog.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "core/errors.h"
#include "gateway/tx_array.h"
#include "host/error.h"

namespace readkit::host {
namespace {

// Identifier and number of arguments of every kind that core/errors.h declares, found by reading
// it: a kind that is added there without a text here fails the tests below.
std::vector<std::pair<std::string, std::size_t>> declared_kinds() {
  std::ifstream file(std::string(READKIT_SOURCE_DIR) + "/src/core/errors.h");
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  std::vector<std::pair<std::string, std::size_t>> kinds;
  const std::regex line(
      R"re(\n\s*(?:READKIT_ERROR_KIND(_WITH_TEXT)?\(|: MsgIdException\()"([^"]+)", "?(\w+))re");
  for (std::sregex_iterator at(text.begin(), text.end(), line), end; at != end; ++at) {
    const bool by_macro = (*at)[0].str().find("READKIT") != std::string::npos;
    const std::size_t arguments = !by_macro ? 2 : (*at)[1].matched ? 1 : 0;
    kinds.emplace_back((*at)[2].str() + ":" + (*at)[3].str(), arguments);
  }
  return kinds;
}

ErrorArguments sample_arguments(std::size_t count) {
  const ErrorArguments all = {UString(u"first-argument"), std::string("second-argument"),
                              std::int64_t{33333}};
  return {all.begin(), all.begin() + static_cast<std::ptrdiff_t>(count)};
}

bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

TEST(Catalog, TheListOfDeclaredKindsIsComplete) {
  const auto kinds = declared_kinds();
  EXPECT_GE(kinds.size(), 36U);
  const auto has = [&](const MsgIdException& e) {
    return std::count(kinds.begin(), kinds.end(),
                      std::pair{e.get_error_id(), e.arguments().size()}) == 1;
  };
  EXPECT_TRUE(has(FileNotFound(u"file")));
  EXPECT_TRUE(has(TooManyOutputs()));
  EXPECT_TRUE(has(InvalidInputType(u"option", u"double")));
  EXPECT_TRUE(has(UnableToOpenFile(u"file")));
  EXPECT_TRUE(has(MissingNotSupported()));
}

TEST(Catalog, EveryKindHasATextThatShowsAllItsArguments) {
  for (const auto& [identifier, count] : declared_kinds()) {
    ASSERT_NE(find_entry(identifier), nullptr) << identifier;
    const ErrorArguments arguments = sample_arguments(count);
    const std::string text = message(identifier, arguments);
    EXPECT_FALSE(contains(text, "{")) << text;
    for (const ErrorArgument& argument : arguments) {
      EXPECT_TRUE(contains(text, to_text(argument))) << identifier << ": " << text;
    }
  }
}

TEST(Catalog, TheHostsOwnErrorsHaveTexts) {
  for (const char* identifier : {id::kLibraryNotFound,
                                 id::kLibraryDoesNotLoad,
                                 id::kNoEntryPoint,
                                 id::kNothingRegistered,
                                 id::kFunctionNotFound,
                                 id::kNoFunction,
                                 id::kOutputCount,
                                 id::kNullInput,
                                 id::kInvalidOutput,
                                 id::kInterrupted,
                                 id::kNullArray,
                                 id::kWrongClass,
                                 id::kIndexOutOfRange,
                                 id::kEmptyArray,
                                 id::kWrongElementCount,
                                 id::kBlockTooSmall,
                                 id::kBlockInUse,
                                 id::kArrayInUse,
                                 id::kNoSuchField,
                                 id::kUnknownFeatureType,
                                 "Tessel:cpp:out_of_range",
                                 "Tessel:cpp:invalid_argument",
                                 "Tessel:cpp:length_error",
                                 "Tessel:cpp:bad_alloc",
                                 "Tessel:cpp:bad_function_call",
                                 "Tessel:cpp:exception"}) {
    EXPECT_NE(find_entry(identifier), nullptr) << identifier;
  }
}

TEST(Catalog, TextsAreSentencesWithPlaceholdersFromZeroOn) {
  const std::regex placeholder(R"(\{(\d+)\})");
  for (const std::string_view identifier : catalog_identifiers()) {
    const CatalogEntry& entry = *find_entry(identifier);
    const std::string text(entry.text);
    ASSERT_FALSE(text.empty()) << identifier;
    EXPECT_TRUE(text.back() == '.' || text.back() == '}') << text;
    std::set<int> numbers;
    for (std::sregex_iterator at(text.begin(), text.end(), placeholder), end; at != end; ++at) {
      numbers.insert(std::stoi((*at)[1].str()));
    }
    if (!numbers.empty()) {
      EXPECT_EQ(*numbers.rbegin() + 1, static_cast<int>(numbers.size())) << text;
    }
    const std::string filled = message(identifier, sample_arguments(3));
    EXPECT_FALSE(contains(filled, "{")) << filled;
    for (std::size_t i = 0; i < numbers.size(); ++i) {
      EXPECT_TRUE(contains(filled, to_text(sample_arguments(3)[i]))) << filled;
    }
  }
}

TEST(Catalog, EveryIdentifierStandsOnce) {
  const auto identifiers = catalog_identifiers();
  EXPECT_EQ(std::set(identifiers.begin(), identifiers.end()).size(), identifiers.size());
}

TEST(Catalog, ArgumentsOfEveryTypeAreShown) {
  EXPECT_EQ(to_text(std::int64_t{-9223372036854775807}), "-9223372036854775807");
  EXPECT_EQ(to_text(std::string("narrow \xC3\xA9")), "narrow \xC3\xA9");
  EXPECT_EQ(to_text(UString(u"wide \u00E9")), "wide \xC3\xA9");
}

TEST(Catalog, FilesAreNamedInTheText) {
  EXPECT_EQ(message("seqlab:readkit:FileNotFound", {UString(u"a b.bam")}),
            "The file 'a b.bam' cannot be opened for reading. Check that it exists and that you "
            "may read it.");
}

TEST(Catalog, TagLettersAreShownByTheirCode) {
  EXPECT_TRUE(contains(message("seqlab:readkit:InvalidTagType", {UString(u"-61")}), "code -61."));
}

TEST(Catalog, AnEmptyFirstArgumentHasATextOfItsOwn) {
  for (const ErrorArgument& empty : {ErrorArgument(UString()), ErrorArgument(std::string())}) {
    const std::string text = message("seqlab:readkit:InvalidSAMFormat", {empty});
    EXPECT_FALSE(contains(text, "''")) << text;
    EXPECT_TRUE(contains(text, "record is not valid")) << text;
  }
  EXPECT_TRUE(contains(message("seqlab:readkit:FileNotFound", {UString()}), "empty name"));
}

TEST(Catalog, BracesInArgumentsAreLeftAlone) {
  const std::string text =
      message("seqlab:readkit:InvalidInputType", {UString(u"{1}{0}{"), UString(u"double")});
  EXPECT_EQ(text, "The input '{1}{0}{' must be of type double.");
}

TEST(Catalog, AMissingArgumentLeavesNoPlaceholder) {
  EXPECT_EQ(message("seqlab:readkit:InvalidInputType", {UString(u"mode")}),
            "The input 'mode' must be of type .");
}

TEST(Catalog, AnUnknownIdentifierIsShownWithItsArguments) {
  EXPECT_EQ(find_entry("seqlab:readkit:NoSuchKind"), nullptr);
  EXPECT_EQ(message("some:Identifier", {}),
            "The operation failed with the error 'some:Identifier'.");
  EXPECT_EQ(message("some:Identifier", {UString(u"a"), std::int64_t{1}}),
            "The operation failed with the error 'some:Identifier': a, 1.");
}

TEST(Catalog, ErrorsTakeTheirTextFromTheCatalogUnlessTheyBringOne) {
  EXPECT_STREQ(HostError(id::kNoFunction).what(), "There is no function to call.");
  EXPECT_STREQ(HostError(id::kNoFunction, {}, "other text").what(), "other text");
  EXPECT_STREQ(HostError(id::kNoFunction, {}, "").what(), "There is no function to call.");
}

TEST(Catalog, ErrorsRaisedByTextCarryIdentifierAndText) {
  try {
    gwErrMsgIdAndTxt("a:b", "the text");
    FAIL();
  } catch (const HostError& e) {
    EXPECT_EQ(e.identifier(), "a:b");
    EXPECT_EQ(e.text(), "the text");
    EXPECT_TRUE(e.arguments().empty());
  }
  EXPECT_THROW(gwErrMsgIdAndTxt(nullptr, nullptr), HostError);
}

}  // namespace
}  // namespace readkit::host
