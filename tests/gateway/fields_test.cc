// kxFields: fields of the records of regions, in one pass.
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/feature_file.h"
#include "support/gateway_calls.h"

namespace readkit::gateway_fields_test {
namespace {

using Texts = std::vector<std::string>;
using Numbers = std::vector<std::uint32_t>;

host::Owned numbers(const std::vector<double>& values) { return host::make_column(values); }

// The texts of an output, which come as one block and offsets into it.
Texts texts_in(const host::Owned& a) {
  const txArray* const bytes = host::field_of(a.get(), "bytes");
  const txArray* const offsets = host::field_of(a.get(), "offsets");
  EXPECT_EQ(txGetClassID(bytes), txUINT8_CLASS);
  EXPECT_EQ(txGetClassID(offsets), txINT64_CLASS);
  const auto data = host::data_of<std::uint8_t>(bytes);
  const std::string all(data.begin(), data.end());
  const auto places = host::data_of<std::int64_t>(offsets);
  EXPECT_EQ(places.front(), 0);
  EXPECT_EQ(places.back(), static_cast<std::int64_t>(all.size()));
  Texts texts;
  for (std::size_t i = 1; i < places.size(); ++i) {
    texts.push_back(all.substr(static_cast<std::size_t>(places[i - 1]),
                               static_cast<std::size_t>(places[i] - places[i - 1])));
  }
  return texts;
}

class Fields : public testing::Test {
 protected:
  Fields() {
    feature_file().write(folder_, "a.bam");
    call_gateway("kxBamIndexComplete", 0, inputs(text(folder_, "a.bam"), text(folder_, "a.bai")));
  }

  Inputs list(const Texts& names, const std::vector<double>& references,
              const std::vector<double>& firsts, const std::vector<double>& lasts) {
    return inputs(text(folder_, "a.bam"), text(folder_, "a.bai"), host::make_cell_of_texts(names),
                  numbers(references), numbers(firsts), numbers(lasts));
  }
  static Outputs call(const Inputs& list, int nlhs) { return call_gateway("kxFields", nlhs, list); }
  // One field of all records of reference 1.
  host::Owned field(const char* name) {
    return std::move(call(list({name}, {1}, {1}, {100000}), 3).at(2));
  }

  TempDir folder_;
  LeakCheck leaks_;
};

TEST_F(Fields, NumbersHaveAllTheirBitsAndCountFromOne) {
  EXPECT_EQ(column_of<std::uint16_t>(field("Flag")),
            (std::vector<std::uint16_t>{0x63, 0x4, 0xffff}));
  EXPECT_EQ(column_of<std::uint32_t>(field("Position")), (Numbers{100, 101, 201}));
  EXPECT_EQ(column_of<std::uint32_t>(field("EndPosition")), (Numbers{116, 101, 205}));
  EXPECT_EQ(column_of<std::uint8_t>(field("MappingQuality")),
            (std::vector<std::uint8_t>{60, 255, 0}));
  EXPECT_EQ(column_of<std::uint32_t>(field("MatePosition")), (Numbers{500, 0, 2147483648}));
  EXPECT_EQ(column_of<std::uint32_t>(field("QueryLength")), (Numbers{9, 0, 5}));
}

TEST_F(Fields, TextsAreOneBlockWithOffsets) {
  EXPECT_EQ(texts_in(field("Header")), (Texts{"first", "second", "third"}));
  EXPECT_EQ(texts_in(field("Signature")), (Texts{"2S3M1D2M10N1M1I", "*", "4=1X"}));
  EXPECT_EQ(texts_in(field("Sequence")), (Texts{"ACGTNACGT", "*", "=ACMG"}));
  EXPECT_EQ(texts_in(field("Quality")), (Texts{"!\"#$%&'()", "*", "*"}));
}

TEST_F(Fields, EachRegionHasItsRowsWhateverItsPlaceInTheList) {
  const Outputs out =
      call(list({"Header"}, {1, 0, 1, 1, 1}, {201, 1, 1, 100, 300}, {9e9, 20, 100, 150, 400}), 3);
  EXPECT_EQ(column_of<std::uint32_t>(out[0]), (Numbers{1, 1, 1, 2, 0}));
  EXPECT_EQ(column_of<std::uint32_t>(out[1]), (Numbers{4, 1, 2, 2, 3}));
  EXPECT_EQ(texts_in(out[2]), (Texts{"other", "first", "second", "third"}));
}

TEST_F(Fields, ManyRegionsAndNone) {
  std::vector<double> ones(40, 1);
  const Outputs many = call(list({"Flag"}, ones, ones, std::vector<double>(40, 100)), 3);
  EXPECT_EQ(column_of<std::uint32_t>(many[0]), Numbers(40, 1));
  EXPECT_EQ(column_of<std::uint32_t>(many[1]), Numbers(40, 1));
  EXPECT_EQ(column_of<std::uint16_t>(many[2]), (std::vector<std::uint16_t>{0x63}));
  const Outputs none = call(list({"Flag", "Header"}, {}, {}, {}), 4);
  for (std::size_t i = 0; i < 2; ++i) expect_shape(none[i], txUINT32_CLASS, 0, 1);
  expect_shape(none[2], txUINT16_CLASS, 0, 1);
  EXPECT_EQ(texts_in(none[3]), Texts{});
}

TEST_F(Fields, OrdinalsTakeSomeOfARegionsRecords) {
  Inputs some = list({"Header"}, {1}, {1}, {100000});
  some.push_back(host::make_column<std::uint32_t>({1, 3}));
  const Outputs out = call(some, 3);
  EXPECT_EQ(column_of<std::uint32_t>(out[0]), (Numbers{2}));
  EXPECT_EQ(column_of<std::uint32_t>(out[1]), (Numbers{1, 2}));
  EXPECT_EQ(texts_in(out[2]), (Texts{"first", "third"}));
  some.back() = host::make_column(Numbers{});
  const Outputs none = call(some, 3);
  EXPECT_EQ(column_of<std::uint32_t>(none[0]), (Numbers{0}));
  EXPECT_EQ(texts_in(none[2]), Texts{});
  for (const Numbers& wrong : {Numbers{0}, Numbers{2, 2}, Numbers{3, 1}, Numbers{1, 4}}) {
    some.back() = host::make_column(wrong);
    EXPECT_CALL_FAILS(call(some, 3), "seqlab:readkit:BadIndex");
  }
  Inputs two = list({"Header"}, {1, 1}, {1, 1}, {9, 9});
  two.push_back(host::make_column<std::uint32_t>({1}));
  EXPECT_CALL_FAILS(call(two, 3), "seqlab:readkit:BadIndex");
}

TEST_F(Fields, WrongNamesAndRegionsAreErrors) {
  EXPECT_CALL_FAILS(call(list({"MateIndex"}, {1}, {1}, {2}), 3),
                    "seqlab:bamaccessgw:getfeaturesinrefbyindex:UnknownFeatureType");
  EXPECT_CALL_FAILS(call(list(Texts(15, "Flag"), {1}, {1}, {2}), 3),
                    "seqlab:readkit:TooManyOutputs");
  EXPECT_CALL_FAILS(call(list({"Flag"}, {2}, {1}, {2}), 3), "seqlab:readkit:ReferenceIDNotFound",
                    u"2");
  EXPECT_CALL_FAILS(call(list({"Flag"}, {-1}, {1}, {2}), 3), "seqlab:readkit:ReferenceIDNotFound",
                    u"-1");
  EXPECT_CALL_FAILS(call(list({"Flag"}, {1, 1}, {1}, {2}), 3), "seqlab:readkit:BadIndex");
}

TEST_F(Fields, FewerOutputsThanFieldsAreFine) {
  EXPECT_EQ(call(list({"Flag", "Header"}, {1}, {1}, {1000}), 1).size(), 1U);
  EXPECT_EQ(column_of<std::uint16_t>(call(list({"Flag", "Header"}, {1}, {1}, {101}), 3)[2]).size(),
            2U);
}

// A result or one error, and nothing left over, whatever is cut off the files.
TEST_F(Fields, EveryPrefixOfFileAndIndexIsAResultOrAnError) {
  const Texts all = {"Flag",   "EndPosition", "MappingQuality", "QueryLength",
                     "Header", "Signature",   "Sequence",       "Quality"};
  for (const char* name : {"a.bam", "a.bai"}) {
    const std::string whole = folder_.read(name);
    std::size_t failed = 0;
    for (std::size_t size = 0; size < whole.size(); ++size) {
      const LeakCheck leaks;
      folder_.write(name, whole.substr(0, size));
      try {
        call(list(all, {0, 1, 1}, {1, 1, 50}, {100000, 150, 300}), 10);
      } catch (const host::HostError&) {
        ++failed;
      }
    }
    EXPECT_GT(failed, whole.size() / 2) << name;
    folder_.write(name, whole);
  }
}

}  // namespace
}  // namespace readkit::gateway_fields_test
