#include "core/errors.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include <gtest/gtest.h>

#include "support/expect_kind.h"

namespace readkit::core_errors_test {
namespace {

using Arguments = ErrorArguments;

struct Row {
  std::string id;
  Arguments arguments;
  std::function<void()> raise;
};

Arguments text(UString value) { return {ErrorArgument(std::move(value))}; }

// Every kind, each raised with what it carries.
const std::vector<Row>& every_kind() {
  static const std::vector<Row> rows = {
      {"seqlab:readkit:InvalidArgCount", text(u"x"), [] { throw InvalidArgCount(u"x"); }},
      {"seqlab:readkit:TooManyOutputs", {}, [] { throw TooManyOutputs(); }},
      {"seqlab:readkit:FileNotFound", text(u"x"), [] { throw FileNotFound(u"x"); }},
      {"seqlab:readkit:CannotOpenOutFile", text(u"x"), [] { throw CannotOpenOutFile(u"x"); }},
      {"seqlab:readkit:FileWrite", text(u"x"), [] { throw FileWrite(u"x"); }},
      {"seqlab:readkit:BAMReadOnly", text(u"x"), [] { throw BAMReadOnly(u"x"); }},
      {"seqlab:readkit:InvalidBAMFormat", text(u"x"), [] { throw InvalidBAMFormat(u"x"); }},
      {"seqlab:readkit:ZLIBInflate", text(u"x"), [] { throw ZLIBInflate(u"x"); }},
      {"seqlab:readkit:ZLIBDeflate", text(u"x"), [] { throw ZLIBDeflate(u"x"); }},
      {"seqlab:readkit:BGZFSeek", text(u"x"), [] { throw BGZFSeek(u"x"); }},
      {"seqlab:readkit:ReferenceIDNotFound", text(u"x"), [] { throw ReferenceIDNotFound(u"x"); }},
      {"seqlab:readkit:InvalidRegion", text(u"x"), [] { throw InvalidRegion(u"x"); }},
      {"seqlab:readkit:InvalidHeaderSubset", {}, [] { throw InvalidHeaderSubset(); }},
      {"seqlab:readkit:PositionTooBig", text(u"x"), [] { throw PositionTooBig(u"x"); }},
      {"seqlab:readkit:BAMUnsorted", {}, [] { throw BAMUnsorted(); }},
      {"seqlab:readkit:InvalidBAIFormat", text(u"x"), [] { throw InvalidBAIFormat(u"x"); }},
      {"seqlab:readkit:BadIndex", {}, [] { throw BadIndex(); }},
      {"seqlab:readkit:InvalidTagType", text(u"120"), [] { throw InvalidTagType(u"120"); }},
      {"seqlab:readkit:InvalidSAMFormat", text(u""), [] { throw InvalidSAMFormat(u""); }},
      {"seqlab:readkit:InvalidInputFormat", {}, [] { throw InvalidInputFormat(); }},
      {"seqlab:readkit:InvalidOutputFormat", {}, [] { throw InvalidOutputFormat(); }},
      {"seqlab:readkit:InvalidIndex", {}, [] { throw InvalidIndex(); }},
      {"seqlab:readkit:InvalidSequenceDictionaryType",
       {},
       [] { throw InvalidSequenceDictionaryType(); }},
      {"seqlab:readkit:InvalidInputType",
       {ErrorArgument(UString(u"offset")), ErrorArgument(UString(u"double"))},
       [] { throw InvalidInputType(u"offset", u"double"); }},
      {"seqlab:readkit:AllNHTagsMissing", text(u"x"), [] { throw AllNHTagsMissing(u"x"); }},
      {"seqlab:readkit:BAMRead", text(u"x"), [] { throw BAMRead(u"x"); }},
      {"seqlab:readkit:BAIRead", text(u"x"), [] { throw BAIRead(u"x"); }},
      {"seqlab:readkit:SAMRead", text(u"x"), [] { throw SAMRead(u"x"); }},
      {"seqlab:scanqualities:InvalidData", {}, [] { throw InvalidData(); }},
      {"seqlab:scanqualities:UnableToOpenFile", text(u"x"), [] { throw UnableToOpenFile(u"x"); }},
      {"seqlab:scanqualities:MemoryDataInvalid", {}, [] { throw MemoryDataInvalid(); }},
      {"seqlab:scanqualities:MemoryNotCell", {}, [] { throw MemoryNotCell(); }},
      {"seqlab:scanqualities:NumSeqNotEqualNumQual", {}, [] { throw NumSeqNotEqualNumQual(); }},
      {"seqlab:scanqualities:InvalidDataSourceType", {}, [] { throw InvalidDataSourceType(); }},
      {"Tessel:string:MustBeStringScalarOrCharacterVector",
       {},
       [] { throw MustBeStringScalarOrCharacterVector(); }},
      {"Tessel:string:MissingNotSupported", {}, [] { throw MissingNotSupported(); }},
  };
  return rows;
}

TEST(Errors, EveryKindCarriesItsFullIdentifierAndItsArguments) {
  for (const Row& row : every_kind()) {
    try {
      row.raise();
      ADD_FAILURE() << row.id << " was not raised";
    } catch (const MsgIdException& error) {
      EXPECT_EQ(error.get_error_id(), row.id);
      EXPECT_EQ(error.arguments(), row.arguments) << row.id;
      EXPECT_EQ(error.component() + ":" + error.kind(), row.id);
    }
  }
}

TEST(Errors, IdentifiersDifferAndHaveNoColonWithinTheKind) {
  std::vector<std::string> ids;
  for (const Row& row : every_kind()) {
    try {
      row.raise();
    } catch (const MsgIdException& error) {
      EXPECT_EQ(error.kind().find(':'), std::string::npos) << row.id;
      ids.push_back(error.get_error_id());
    }
  }
  std::sort(ids.begin(), ids.end());
  EXPECT_EQ(std::unique(ids.begin(), ids.end()), ids.end());
}

TEST(Errors, EveryKindIsAStandardException) {
  for (const Row& row : every_kind()) EXPECT_THROW(row.raise(), std::exception) << row.id;
}

TEST(Errors, WhatGivesTheIdentifier) {
  EXPECT_STREQ(BAMUnsorted().what(), "seqlab:readkit:BAMUnsorted");
}

TEST(Errors, ArgumentCountErrorCarriesTheGatewaysNameOnly) {
  const InvalidArgCount error(u"getHeader");
  ASSERT_EQ(error.arguments().size(), 1u);
  EXPECT_EQ(error.arguments()[0], ErrorArgument(UString(u"getHeader")));
}

TEST(Errors, KindWithoutArgumentsHasAnEmptyListAndNotOneEmptyArgument) {
  EXPECT_TRUE(BAMUnsorted().arguments().empty());
}

TEST(Errors, ArgumentIsOneOfIntegerNarrowTextAndTextInThisOrder) {
  EXPECT_TRUE((std::is_same_v<ErrorArgument, std::variant<std::int64_t, std::string, UString>>));
}

TEST(Errors, OneKindIsCaughtAmongOthers) {
  bool caught = false;
  try {
    throw FileWrite(u"out.bam");
  } catch (const FileNotFound&) {
    ADD_FAILURE() << "caught as another kind";
  } catch (const FileWrite&) {
    caught = true;
  }
  EXPECT_TRUE(caught);
}

TEST(Errors, CopyCarriesIdentifierAndArguments) {
  const InvalidInputType error(u"offset", u"double");
  const InvalidInputType copy = error;
  const MsgIdException as_base = error;
  EXPECT_EQ(copy.get_error_id(), error.get_error_id());
  EXPECT_EQ(copy.arguments(), error.arguments());
  EXPECT_EQ(as_base.get_error_id(), error.get_error_id());
  EXPECT_EQ(as_base.arguments(), error.arguments());
  EXPECT_TRUE(std::is_nothrow_move_constructible_v<InvalidRegion> ||
              std::is_copy_constructible_v<InvalidRegion>);
}

TEST(Errors, CopyAssignmentReplacesIdentifierAndArguments) {
  MsgIdException error("seqlab:readkit", "First", {std::int64_t{7}});
  error = InvalidRegion(u"chr1");
  EXPECT_EQ(error.get_error_id(), "seqlab:readkit:InvalidRegion");
  EXPECT_EQ(error.arguments(), text(u"chr1"));
  EXPECT_STREQ(error.what(), "seqlab:readkit:InvalidRegion");
}

TEST(Errors, BaseTakesArgumentsOfEveryAlternative) {
  const MsgIdException error("part", "Kind", {std::int64_t{-5}, std::string("narrow"), UString()});
  EXPECT_EQ(error.get_error_id(), "part:Kind");
  EXPECT_EQ(describe(error.get_error_id(), error.arguments()), "part:Kind(-5, \"narrow\", u\"\")");
}

// The assertion that the other tests rely on must be able to fail.
TEST(ExpectKind, TellsKindsArgumentsAndAlternativesApart) {
  const auto raises = [](const ErrorArguments& expected, const auto& run) {
    return static_cast<bool>(raises_kind<InvalidRegion>("", "InvalidRegion", expected, run));
  };
  EXPECT_TRUE(raises(expected_arguments(u"chr1"), [] { throw InvalidRegion(u"chr1"); }));
  EXPECT_FALSE(raises(expected_arguments(u"chr2"), [] { throw InvalidRegion(u"chr1"); }));
  EXPECT_FALSE(raises(expected_arguments("chr1"), [] { throw InvalidRegion(u"chr1"); }));
  EXPECT_FALSE(raises(expected_arguments(), [] { throw InvalidRegion(u"chr1"); }));
  EXPECT_FALSE(raises(expected_arguments(u"chr1"), [] { throw FileNotFound(u"chr1"); }));
  EXPECT_FALSE(raises(expected_arguments(u"chr1"), [] { throw std::runtime_error("chr1"); }));
  EXPECT_FALSE(raises(expected_arguments(u"chr1"), [] {}));
}

TEST(ExpectStd, TellsTypesAndTextsApart) {
  const auto raises = [](const auto& run) {
    return static_cast<bool>(raises_std<std::out_of_range>("", "std::out_of_range", "stol", run));
  };
  EXPECT_TRUE(raises([] { throw std::out_of_range("stol"); }));
  EXPECT_FALSE(raises([] { throw std::out_of_range("stoi"); }));
  EXPECT_FALSE(raises([] { throw std::invalid_argument("stol"); }));
  EXPECT_FALSE(raises([] {}));
}

}  // namespace
}  // namespace readkit::core_errors_test
