// Where a record begins among other bytes.
#include "check/record_search.h"

#include <string>

#include <gtest/gtest.h>

#include "support/record_builder.h"

namespace readkit::check_record_search_test {
namespace {

std::optional<std::size_t> search(const std::string& bytes, bool has_dictionary = true) {
  static const std::vector<Reference> references = {{std::string("chr1\0", 5), 1000}};
  return find_record({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()},
                     has_dictionary ? &references : nullptr);
}

std::string record(const std::string& name = "read", int ref = 0) {
  return RecordBuilder(name).at(ref, 99).cigar("4M").seq("ACGT").bytes();
}

bool is_sound(const RecordBuilder& builder) {
  return has_sound_layout(reinterpret_cast<const std::uint8_t*>(builder.bytes().data()));
}

TEST(RecordSearch, LayoutIsThatOfPartsThatFit) {
  EXPECT_TRUE(is_sound(RecordBuilder("r").cigar("4M").seq("ACGT")));
  EXPECT_FALSE(is_sound(RecordBuilder("r").seq("ACGT").l_seq(-1)));
  EXPECT_FALSE(is_sound(RecordBuilder("r").seq("ACGT").l_seq(5)));
  EXPECT_FALSE(is_sound(RecordBuilder("r").seq("ACGT").n_cigar_op(1)));
  EXPECT_FALSE(is_sound(RecordBuilder("r").seq("ACGT").l_read_name(3)));
  EXPECT_FALSE(is_sound(RecordBuilder("r").block_size(31)));
  EXPECT_FALSE(is_sound(RecordBuilder("r").block_size(-1)));
  EXPECT_FALSE(is_sound(RecordBuilder("r").block_size(kLongestRecord + 1)));
  EXPECT_TRUE(is_sound(RecordBuilder("r").block_size(kLongestRecord)));
}

TEST(RecordSearch, RecordIsFoundBehindOtherBytes) {
  const std::string part = record().substr(7);  // of a record that is lost
  EXPECT_EQ(search(record()), 0U);
  EXPECT_EQ(search(part + record() + record()), part.size());
  EXPECT_EQ(search(std::string(500, '\0') + record()), 500U);
  EXPECT_EQ(search(part + record(), false), part.size());
  EXPECT_EQ(search(part), std::nullopt);
  EXPECT_EQ(search(std::string(500, '\xff')), std::nullopt);
  EXPECT_EQ(search(""), std::nullopt);
}

TEST(RecordSearch, RecordMustBeInRange) {
  EXPECT_EQ(search(record("read", 1)), std::nullopt);
  EXPECT_EQ(search(record("read", 1), false), 0U);
  EXPECT_EQ(search(RecordBuilder("r").at(0, 1000).bytes()), std::nullopt);
  EXPECT_EQ(search(RecordBuilder("r").at(0, -2).bytes()), std::nullopt);
  EXPECT_EQ(search(RecordBuilder("r").at(0, 1).mate(1, 1).bytes()), std::nullopt);
  EXPECT_EQ(search(record("a b")), std::nullopt);
  EXPECT_EQ(search(record("a\x7f")), std::nullopt);
  EXPECT_EQ(search(record("")), std::nullopt);
}

TEST(RecordSearch, RecordsBehindItMustBeInRangeToo) {
  const std::string tail = record(std::string(250, 'n'));  // enough to look at what is before it
  const std::string wrong = record("read", 7);
  EXPECT_EQ(search(record() + wrong + tail + tail), record().size() + wrong.size());
  EXPECT_EQ(search(record() + record() + wrong + tail + tail), 2 * record().size() + wrong.size());
}

}  // namespace
}  // namespace readkit::check_record_search_test
