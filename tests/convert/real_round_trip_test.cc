// Real BAM files, to SAM and back: what records lose on the way, by rule. Every difference has a
// rule, and every rule a file that needs it.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "bam/bam.h"
#include "sam/sam.h"
#include "support/bgzf_builder.h"
#include "support/conversion_model.h"
#include "support/real_sams.h"
#include "support/sam_model.h"
#include "support/samtools.h"
#include "support/temp_dir.h"
#include "support/test_data.h"

namespace readkit::convert_real_round_trip_test {
namespace {

// ---- Records -----------------------------------------------------------------------------------

// An optional field and its bytes.
struct Field {
  DecodedTag tag;
  std::string bytes;
  bool operator==(const Field&) const = default;
};

// What a record holds; optional fields lie in the order of the block.
struct Content {
  std::string numbers;  // flag, quality, position, mate's position and template length
  std::string name, cigar, seq, qual;
  int ref_id = 0, next_ref_id = 0, bin = 0, pos = 0, end = 0;
  std::vector<Field> fields;
  bool operator==(const Content&) const = default;
};

std::size_t element_size(char type) {
  if (std::strchr("sS", type) != nullptr) return 2;
  return std::strchr("iIf", type) != nullptr ? 4 : 1;
}

std::size_t value_size(const DecodedTag& tag) {
  if (tag.type == 'Z' || tag.type == 'H') return tag.text.size() + 1;
  if (tag.type != 'B') return element_size(tag.type);
  const auto count = static_cast<std::size_t>(std::count(tag.text.begin(), tag.text.end(), ','));
  return 5 + count * element_size(tag.text[0]);
}

Content content_of(const std::string& bytes, std::vector<Field> fields) {
  const DecodedRecord r = model_fields(bytes);
  Content c;
  for (const int number : {r.flag, r.mapq, r.pos, r.next_pos, r.tlen}) {
    c.numbers += std::to_string(number) + ' ';
  }
  c.name = r.name;
  c.cigar = r.cigar;
  c.seq = r.seq;
  c.qual = r.qual;
  c.ref_id = r.ref_id;
  c.next_ref_id = r.next_ref_id;
  c.bin = r.bin;
  c.pos = r.pos;
  c.end = r.cigar == "*" ? r.pos : r.end;
  c.fields = std::move(fields);
  return c;
}

Content original_content(const std::string& bytes) {
  std::vector<Field> fields;
  std::size_t at = model_fields(bytes).bytes.size();
  for (const DecodedTag& tag : decode_record(bytes).tags) {
    const std::size_t size = 3 + value_size(tag);
    fields.push_back({tag, bytes.substr(at, size)});
    at += size;
  }
  EXPECT_EQ(at, bytes.size());
  return content_of(bytes, std::move(fields));
}

std::string bytes_of(const std::vector<Field>& fields) {
  std::string bytes;
  for (const Field& field : fields) bytes += field.bytes;
  return bytes;
}

// ---- Rules -------------------------------------------------------------------------------------

struct Trip {
  const ModelSource& source;
  const std::map<std::string, int>& indexes;  // of the references that the header's text lists
  Content content;
  std::string error = {};

  int new_index(int index) const {
    const auto found = indexes.find(source.ref_name(index));
    return found == indexes.end() ? -1 : found->second;
  }
};

// A rule changes what it is about.
struct Rule {
  const char* name;
  const char* example;
  std::function<void(Trip&)> apply;
};
void PrintTo(const Rule& rule, std::ostream* out) { *out << rule.name; }

void set_value(Field& field, char type, const std::string& value) {
  field.bytes = field.tag.name + type + value;
}

std::string float_bytes(float value) {
  std::uint32_t bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  return little_endian(bits, 4);
}

void for_each_field(Trip& trip, const char* types, const std::function<void(Field&)>& change) {
  for (Field& field : trip.content.fields) {
    if (std::strchr(types, field.tag.type) != nullptr) change(field);
  }
}

const std::vector<Rule> kRules = {
    {"a record without a sequence ends the way back", "bam/sr.pos_sorted.bam",
     [](Trip& trip) {
       if (trip.content.seq == "*") trip.error = kInvalidLine;
     }},
    // Its text lacks the subtype: the first character is taken for it.
    {"an array of which no number is left behind its first character ends it too", "bam/tags.bam",
     [](Trip& trip) {
       for_each_field(trip, "B", [&](Field& field) {
         const std::string text =
             field.tag.text.substr(std::min<std::size_t>(field.tag.text.size(), 3));
         char* end = nullptr;
         std::strtol(text.c_str(), &end, 10);
         if (end == text.c_str() && trip.error.empty()) trip.error = kNoNumber;
       });
     }},
    {"any other array keeps its count, and no elements", "bam/example_btag.bam",
     [](Trip& trip) {
       for_each_field(trip, "B", [](Field& field) {
         const std::string& text = field.tag.text;
         if (text.size() < 3) return;
         const auto count = static_cast<std::uint64_t>(std::count(text.begin(), text.end(), ','));
         set_value(field, 'B', text[2] + little_endian(count, 4));
       });
     }},
    {"references that the header's text does not list are none", "bam/notexthdr.bam",
     [](Trip& trip) {
       trip.content.ref_id = trip.new_index(trip.content.ref_id);
       trip.content.next_ref_id = trip.new_index(trip.content.next_ref_id);
     }},
    {"the bin is computed", "bam/compressed.bam",
     [](Trip& trip) { trip.content.bin = slow_bin(trip.content.pos, trip.content.end) & 0xffff; }},
    {"a sequence has its length modulo 256", "bam/ex9_fail.bam",
     [](Trip& trip) {
       Content& c = trip.content;
       if (c.qual != "*") c.qual.resize(c.qual.size() % 256);
       c.seq.resize(c.seq.size() % 256);
       if (c.seq.empty()) c.seq = c.qual = "*";
     }},
    {"missing qualities of a record without optional fields are a 9 and blanks", "bam/colons.bam",
     [](Trip& trip) {
       Content& c = trip.content;
       if (c.qual == "*" && c.seq != "*" && c.fields.empty()) c.qual.resize(c.seq.size(), ' ');
     }},
    {"integers have 32 bits", "bam/ex1.bam",
     [](Trip& trip) {
       for_each_field(trip, "cCsSI", [](Field& field) {
         const long number = std::strtol(field.tag.text.c_str(), nullptr, 10);
         set_value(field, 'i', little_endian(static_cast<std::uint64_t>(number), 4));
       });
     }},
    {"integers beyond 2147483647 are negative", "bam/inttest.bam", [](Trip&) {}},
    {"floats have six decimals", "bam/picard_flow_subsample.bam",
     [](Trip& trip) {
       for_each_field(trip, "f", [](Field& field) {
         set_value(field, 'f', float_bytes(std::strtof(field.tag.text.c_str(), nullptr)));
       });
     }},
    {"fields of type H are half their digits, and lose their NUL", "bam/tags.bam",
     [](Trip& trip) {
       for_each_field(trip, "H", [](Field& field) {
         std::string value(field.tag.text.size() / 2, '\0');
         for (std::size_t k = 0; 2 * k < value.size(); ++k) {
           const std::string pair = field.tag.text.substr(2 * k, 2);
           value[2 * k] = static_cast<char>(std::strtol(pair.c_str(), nullptr, 16));
         }
         set_value(field, 'H', value);
       });
     }},
};

constexpr char kNegative[] = "integers beyond 2147483647 are negative";

bool has_large_integer(const Content& content) {
  return std::any_of(content.fields.begin(), content.fields.end(), [](const Field& field) {
    return field.tag.type == 'I' && std::strtol(field.tag.text.c_str(), nullptr, 10) > 0x7fffffff;
  });
}

// ---- The way -----------------------------------------------------------------------------------

// Every record's line by itself, also behind one that ends the way of the file.
std::set<std::string> rules_of(const std::string& file) {
  std::set<std::string> needed;
  const TempDir folder;
  const ModelSource source = model_bam_source(read_file(file));
  BAM bam(to_path(file));
  EXPECT_EQ(outcome_of([&] { bam.to_sam(folder.path("a.sam"), nullptr, 0, true); }, file),
            source.error);
  const std::map<std::string, int> indexes = model_sam(source.text_header()).indexes;
  const std::vector<ReadLine> lines = read_lines(folder.native("a.sam"));
  EXPECT_EQ(lines.size(), source.records.size());
  for (std::size_t i = 0; i < std::min(lines.size(), source.records.size()); ++i) {
    Trip trip{source, indexes, original_content(source.records[i])};
    for (const Rule& rule : kRules) {
      if (!trip.error.empty()) break;
      const Content before = trip.content;
      rule.apply(trip);
      if (!(trip.content == before) || !trip.error.empty()) needed.insert(rule.name);
    }
    EXPECT_EQ(lines[i].error, trip.error) << trip.content.name;
    if (!trip.error.empty() || !lines[i].error.empty()) continue;
    if (has_large_integer(trip.content)) needed.insert(kNegative);
    const std::string bytes = little_endian(lines[i].record.size(), 4) + lines[i].record;
    const Content back = content_of(bytes, trip.content.fields);
    EXPECT_TRUE(back == trip.content) << trip.content.name;
    EXPECT_EQ(bytes.substr(model_fields(bytes).bytes.size()), bytes_of(trip.content.fields))
        << trip.content.name;
    if (testing::Test::HasFailure()) break;
  }
  return needed;
}

class RealRoundTrip : public testing::TestWithParam<std::string> {};

INSTANTIATE_TEST_SUITE_P(Files, RealRoundTrip, testing::ValuesIn(real_bams()),
                         [](const auto& param) { return test_name(param.param); });

TEST_P(RealRoundTrip, EveryLossHasARule) {
  SKIP_WITHOUT_TEST_DATA();
  rules_of(test_file(GetParam()));  // expects in passing
}

TEST_P(RealRoundTrip, BamOfTheTextHoldsWhatItsLinesSay) {
  SKIP_WITHOUT_TEST_DATA();
  const TempDir folder;
  const std::string file = test_file(GetParam());
  BAM bam(to_path(file));
  outcome_of([&] { bam.to_sam(folder.path("a.sam"), nullptr, 0, true); }, file);
  const ModelOutput expected =
      model_conversion(model_sam_source(folder.read("a.sam")), ModelFormat::kBam, {});
  SAM sam(folder.path("a.sam"), "r");
  EXPECT_EQ(outcome_of([&] { sam.to_bam(folder.path("a.bam")); }, folder.native("a.sam")),
            expected.error);
  EXPECT_TRUE(decode_bgzf(folder.read("a.bam")) == expected.content);
}

class LossRule : public testing::TestWithParam<Rule> {};

INSTANTIATE_TEST_SUITE_P(Rules, LossRule, testing::ValuesIn(kRules), [](const auto& param) {
  return sam_test_name(param.param.example) + "_" + std::to_string(param.index);
});

TEST_P(LossRule, IsNeededByItsExample) {
  SKIP_WITHOUT_TEST_DATA();
  EXPECT_EQ(rules_of(test_file(GetParam().example)).count(GetParam().name), 1U);
}

}  // namespace
}  // namespace readkit::convert_real_round_trip_test
