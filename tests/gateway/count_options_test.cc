// The options of getFeatureCountData: their classes and forms, and the order in which they are
// looked at.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/bam_builder.h"
#include "support/gateway_calls.h"

namespace readkit::gateway_count_options_test {
namespace {

// An option by its place among the inputs.
struct Option {
  std::size_t place;
  const char16_t* name;
  const char16_t* expected;
};
constexpr Option kOptions[] = {{1, u"countMultiMapped", u"double"},
                               {2, u"requireBothEndsMapped", u"logical scalar"},
                               {3, u"requireProperlyMapped", u"logical scalar"},
                               {4, u"minQuality", u"double"}};

class CountOptions : public testing::TestWithParam<Option> {
 protected:
  CountOptions() {
    BamBuilder()
        .refs(1, 1000)
        .record(RecordBuilder("read").at(0, 5).flag(0x109).mapq(7).cigar("5M").tag("NH", 'C', 2))
        .write(folder_, "a.bam");
  }

  // Inputs of a call that works, with this option exchanged.
  Inputs with(host::Owned option) {
    Inputs list = inputs(text(folder_, "a.bam"), host::make_scalar(0.0), host::make_scalar(false),
                         host::make_scalar(false), host::make_scalar(0.0));
    list.at(GetParam().place) = std::move(option);
    return list;
  }
  bool is_number() const { return std::u16string_view(GetParam().expected) == u"double"; }
  void expect_refused(host::Owned option) {
    const Inputs list = with(std::move(option));
    EXPECT_CALL_FAILS(call_gateway("getFeatureCountData", 9, list),
                      "seqlab:readkit:InvalidInputType", GetParam().name, GetParam().expected);
  }
  std::size_t kept(host::Owned option) {
    return texts_of(call_gateway("getFeatureCountData", 9, with(std::move(option)))[0]).size();
  }

  TempDir folder_;
  LeakCheck leaks_;
};

INSTANTIATE_TEST_SUITE_P(Options, CountOptions, testing::ValuesIn(kOptions), [](const auto& param) {
  return to_bytes(std::u16string(param.param.name));
});

TEST_P(CountOptions, RightClassIsTaken) {
  EXPECT_EQ(kept(is_number() ? host::make_scalar(0.0) : host::make_scalar(false)), 1U);
}

TEST_P(CountOptions, TheOtherOptionsClassIsRefused) {
  expect_refused(is_number() ? host::make_scalar(false) : host::make_scalar(0.0));
}

TEST_P(CountOptions, OtherNumericClassesAreRefused) {
  expect_refused(host::make_scalar(1.0F));
  expect_refused(host::make_scalar<std::int32_t>(1));
  expect_refused(host::make_scalar<std::uint8_t>(1));
  expect_refused(host::make_scalar<std::int64_t>(1));
}

TEST_P(CountOptions, ArraysThatAreNoNumbersAreRefused) {
  expect_refused(text("1"));
  expect_refused(host::make_string(u"true"));
  expect_refused(host::make_cell_of_texts({"1"}));
  expect_refused(host::make_struct({}));
}

TEST_P(CountOptions, EmptyArrayIsRefused) {
  expect_refused(is_number() ? host::make_row<double>({})
                             : host::make_array<bool>({0, 0}, std::span<const bool>()));
}

TEST_P(CountOptions, ComplexArrayIsRefused) {
  const std::vector<double> one = {1.0};
  expect_refused(host::make_complex({1, 1}, one, one));
}

TEST_P(CountOptions, FirstElementOfALongerArrayCounts) {
  const bool flags[] = {true, false};
  // Each of them rejects the one record of the file.
  const double effective = GetParam().place == 1 ? 2.0 : 8.0;
  EXPECT_EQ(kept(is_number() ? host::make_row<double>({effective, 0.0})
                             : host::make_array<bool>({1, 2}, flags)),
            0U);
}

TEST_P(CountOptions, OptionIsLookedAtBeforeTheFileName) {
  Inputs list = with(text("1"));
  list[0] = host::make_string(std::nullopt);
  EXPECT_CALL_FAILS(call_gateway("getFeatureCountData", 9, list), "seqlab:readkit:InvalidInputType",
                    GetParam().name, GetParam().expected);
  list[0] = text(folder_, "no.bam");
  EXPECT_CALL_FAILS(call_gateway("getFeatureCountData", 9, list), "seqlab:readkit:InvalidInputType",
                    GetParam().name, GetParam().expected);
}

TEST_P(CountOptions, OptionsAreLookedAtInTheirOrder) {
  Inputs list = with(text("1"));
  for (std::size_t later = GetParam().place + 1; later < list.size(); ++later) {
    list[later] = text("1");
  }
  EXPECT_CALL_FAILS(call_gateway("getFeatureCountData", 9, list), "seqlab:readkit:InvalidInputType",
                    GetParam().name, GetParam().expected);
}

TEST(CountOptionsFile, ErrorsOfTheFilePassOn) {
  const TempDir folder;
  const auto call = [&](host::Owned file) {
    return call_gateway("getFeatureCountData", 9,
                        inputs(std::move(file), host::make_scalar(0.0), host::make_scalar(false),
                               host::make_scalar(false), host::make_scalar(0.0)));
  };
  EXPECT_CALL_FAILS(call(text(folder, "no.bam")), "seqlab:readkit:FileNotFound",
                    folder.path("no.bam"));
  EXPECT_CALL_FAILS(call(text("")), "seqlab:readkit:FileNotFound", u"");
  EXPECT_CALL_FAILS(call(host::make_scalar(1.0)),
                    "Tessel:string:MustBeStringScalarOrCharacterVector");
  EXPECT_CALL_FAILS(call(host::make_string(std::nullopt)), "Tessel:string:MissingNotSupported");
  BamBuilder().record(RecordBuilder()).record(RecordBuilder().l_seq(-1)).write(folder, "bad.bam");
  EXPECT_CALL_FAILS(call(text(folder, "bad.bam")), "seqlab:readkit:InvalidBAMFormat",
                    folder.path("bad.bam"));
}

}  // namespace
}  // namespace readkit::gateway_count_options_test
