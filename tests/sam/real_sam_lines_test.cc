// Lines of real SAM files, read and written again: what becomes of them, by rule.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "sam/sam.h"
#include "support/bgzf_builder.h"
#include "support/real_sams.h"
#include "support/reference_decoder.h"
#include "support/sam_model.h"
#include "support/samtools.h"
#include "support/temp_dir.h"
#include "support/test_data.h"

namespace readkit::sam_real_sam_lines_test {
namespace {

using Lines = std::vector<std::string>;

// A line on its way: `fields` begin as those of the source and become those that are written.
struct Line {
  const ModelSam& sam;
  const ModelSamLine& model;
  const Lines source;
  Lines fields = source;
  bool is_written = true;  // or writing raises an error

  bool has_reference(const std::string& name) const { return sam.indexes.count(name) != 0; }
};

// A rule changes the fields that it is about. Every difference of a written line from its source
// is the work of a rule, and every rule has its work in the example.
struct Rule {
  const char* name;
  const char* example;
  std::function<void(Line&)> apply;
};
void PrintTo(const Rule& rule, std::ostream* out) { *out << rule.name; }

constexpr std::size_t kRname = 2;
constexpr std::size_t kCigar = 5;
constexpr std::size_t kRnext = 6;
constexpr std::size_t kSeq = 9;
constexpr std::size_t kQual = 10;
constexpr std::size_t kTags = 11;

template <typename T>
void keep_low_bits(std::string& field) {
  field = std::to_string(static_cast<T>(std::strtol(field.c_str(), nullptr, 10)));
}

void rewrite_tags(Line& line, const std::function<void(std::string&, char type)>& rewrite) {
  for (std::size_t i = kTags; i < line.fields.size(); ++i) {
    if (line.fields[i].size() >= 5) rewrite(line.fields[i], line.fields[i][3]);
  }
}

std::size_t bases_of(const Line& line) {
  return line.fields[kSeq] == "*" ? 0 : line.fields[kSeq].size();
}

// Whether an optional field leaves bytes that do not spell what its text says.
bool is_damaged(const std::string& field) {
  return field.size() >= 5 && std::string("AifZB").find(field[3]) == std::string::npos;
}

std::string tags_of(const std::string& record) {
  DecodedRecord decoded = decode_record(little_endian(record.size(), 4) + record);
  decoded.ref_id = decoded.next_ref_id = -1;  // names do not matter here
  return decoded_line(decoded, {}).substr(decoded_line(decoded, {}, false).size());
}

// The optional fields as the record's bytes spell them; a last text may lack its NUL. Throws for
// bytes that are no fields.
std::string tags_that_bytes_spell(const std::string& record) {
  try {
    return tags_of(record);
  } catch (const std::exception&) {
    return tags_of(record + '\0');
  }
}

// The place of the ops is kept in 8 bits, and a long name lies beyond that.
void take_cigar_from_other_bytes(Line& line) {
  const std::string& record = line.model.record;
  const std::size_t name_size = line.source[0].size() + 1;
  if (name_size < 224 || line.fields[kCigar] == "*") return;
  const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(record.at(at)); };
  std::string text;
  const std::size_t ops = byte(12) | std::size_t{byte(13)} << 8;
  for (std::size_t at = name_size - 224, i = 0; i < ops; ++i, at += 4) {
    const std::size_t word = byte(at) | std::size_t{byte(at + 1)} << 8 |
                             std::size_t{byte(at + 2)} << 16 | std::size_t{byte(at + 3)} << 24;
    text += std::to_string(word >> 4) + "MIDNSHP=X???????"[word & 15];
  }
  line.fields[kCigar] = text;
}

const std::vector<Rule> kRules = {
    {"numbers are their leading digits, in the bits that a field has", "failed/flag.fail.sam",
     [](Line& line) {
       keep_low_bits<std::uint16_t>(line.fields[1]);
       keep_low_bits<std::int32_t>(line.fields[3]);
       keep_low_bits<std::uint8_t>(line.fields[4]);
       keep_low_bits<std::int32_t>(line.fields[7]);
       keep_low_bits<std::int32_t>(line.fields[8]);
     }},
    {"an empty CIGAR is a missing one", "failed/cigar.fail5.sam",
     [](Line& line) {
       if (line.fields[kCigar].empty()) line.fields[kCigar] = "*";
     }},
    {"the CIGAR of a name of 223 characters or more comes from other bytes",
     "passed/qname.pass.sam", take_cigar_from_other_bytes},
    {"a reference that the header does not list is none", "sam/noheader.sam",
     [](Line& line) {
       if (!line.has_reference(line.source[kRname])) line.fields[kRname] = "*";
     }},
    {"so is the mate's, and = is what the record has", "sam/noheader.sam",
     [](Line& line) {
       const std::string& mate = line.source[kRnext];
       const bool is_known = line.has_reference(mate == "=" ? line.source[kRname] : mate);
       if (!is_known) line.fields[kRnext] = "*";
     }},
    {"the mate's reference is = when it is the record's", "sam/multihit.aligned.sam",
     [](Line& line) {
       const std::string& name = line.fields[kRnext];
       if (name != "*" && name == line.fields[kRname]) line.fields[kRnext] = "=";
     }},
    {"a sequence has its length modulo 256, and none is missing", "passed/cigar.pass6.sam",
     [](Line& line) {
       std::string& letters = line.fields[kSeq];
       letters.resize(letters.size() % 256);
       if (letters.empty()) letters = "*";
     }},
    {"qualities beyond the bases are ignored", "failed/qual.fail3.sam",
     [](Line& line) {
       std::string& text = line.fields[kQual];
       if (text.size() > bases_of(line)) text.resize(bases_of(line));
       if (bases_of(line) == 0) text = "*";
     }},
    {"qualities too few take the rest of the line", "failed/qual.fail5.sam",
     [](Line& line) {
       std::string& text = line.fields[kQual];
       if (text == "*" || line.source.size() == kTags) return;
       for (std::size_t i = kTags; text.size() < bases_of(line) && i < line.source.size(); ++i) {
         text += '\t' + line.source[i];
       }
       text.resize(std::min(text.size(), std::max<std::size_t>(bases_of(line), 1)));
     }},
    {"qualities that the line lacks are blanks, also behind a * that ends it", "sam/ce#supp.sam",
     [](Line& line) {
       std::string& text = line.fields[kQual];
       const bool is_missing = text == "*" && line.source.size() > kTags;
       if (!is_missing && text.size() < bases_of(line)) text.resize(bases_of(line), ' ');
     }},
    {"a field of type A is one character", "failed/aux.fail-A2.sam",
     [](Line& line) {
       rewrite_tags(line, [](std::string& field, char type) {
         if (type == 'A') field.resize(6);
       });
     }},
    {"a field of type i is 32 bits with a sign", "sam/inttest.sam",
     [](Line& line) {
       rewrite_tags(line, [](std::string& field, char type) {
         if (type != 'i') return;
         std::string number = field.substr(5);
         keep_low_bits<std::int32_t>(number);
         field = field.substr(0, 5) + number;
       });
     }},
    {"a field of type f has six decimals", "passed/aux.pass-f.sam",
     [](Line& line) {
       rewrite_tags(line, [](std::string& field, char type) {
         if (type != 'f') return;
         char text[64];
         const float value = std::strtof(field.c_str() + 5, nullptr);
         std::snprintf(text, sizeof text, "%f", static_cast<double>(value));
         field = field.substr(0, 5) + text;
       });
     }},
    {"an array that is read repeats its first number", "invalid/tagfilter.sam",
     [](Line& line) {
       rewrite_tags(line, [](std::string& field, char type) {
         if (type != 'B') return;
         const std::string number = std::to_string(std::atol(field.c_str() + 6));
         std::string text = field.substr(0, 5) + number;
         for (const char letter : field) text += letter == ',' ? ',' + number : "";
         field = text;
       });
     }},
    {"an empty field is left out", "invalid/hanging_tab.sam",
     [](Line& line) {
       const auto tags =
           line.fields.begin() + static_cast<std::ptrdiff_t>(std::min(kTags, line.fields.size()));
       line.fields.erase(std::remove(tags, line.fields.end(), ""), line.fields.end());
     }},
    {"fields of type H, and of no type, damage what follows", "passed/aux.pass-H.sam",
     [](Line& line) {
       if (std::none_of(line.fields.begin() + kTags, line.fields.end(), is_damaged)) return;
       line.fields.resize(kTags);
       try {
         line.fields.back() += tags_that_bytes_spell(line.model.record);
       } catch (const std::exception&) {
         line.is_written = false;
       }
     }},
};

// The lines that a file's records are to be written as, and the rules that are needed for that.
struct Rewritten {
  std::vector<std::string> lines;  // empty where reading or writing raises an error
  std::set<std::string> rules;
};

Rewritten rewrite(const ModelSam& sam) {
  Rewritten result;
  for (const ModelSamLine& model : sam.lines) {
    Line line{sam, model, split_tabs(model.text)};
    for (const Rule& rule : kRules) {
      if (!model.error.empty() || !line.is_written) continue;
      const Lines before = line.fields;
      rule.apply(line);
      if (line.fields != before || !line.is_written) result.rules.insert(rule.name);
    }
    std::string text = joined(line.fields);
    if (!model.error.empty() || !line.is_written) text.clear();
    result.lines.push_back(text);
  }
  return result;
}

// ---- Files ------------------------------------------------------------------------------------

class RealSamLines : public RealSamsTest {};

INSTANTIATE_TEST_SUITE_P(Files, RealSamLines, testing::ValuesIn(real_sams()),
                         [](const auto& param) { return sam_test_name(param.param); });

TEST_P(RealSamLines, ComeBackButForTheRules) {
  for (const std::string& file : files_) {
    SCOPED_TRACE(file);
    const ModelSam sam = model_sam(read_file(file));
    const Lines expected = rewrite(sam).lines;
    const std::vector<ReadLine> lines = read_lines(file);
    ASSERT_EQ(lines.size(), expected.size());
    for (std::size_t i = 0; i < lines.size(); ++i) {
      ASSERT_EQ(lines[i].written, expected[i]) << sam.lines[i].text;
      const bool raises = lines[i].error.empty() && expected[i].empty();
      ASSERT_EQ(!lines[i].write_error.empty(), raises) << sam.lines[i].text;
    }
  }
}

// Up to the first line that raises an error.
TEST_P(RealSamLines, AreWrittenBehindTheHeader) {
  const TempDir folder;
  for (const std::string& file : files_) {
    SCOPED_TRACE(file);
    const ModelSam model = model_sam(read_file(file));
    std::string expected = model.header.empty() ? "\n" : model.header;
    const Lines lines = rewrite(model).lines;
    SAM in(to_path(file), "r");
    SAM out(folder.path("a.sam"), "w");
    EXPECT_TRUE(out.write(in.header()));
    for (std::size_t i = 0; i < lines.size() && !lines[i].empty(); ++i) {
      ASSERT_TRUE(in.next_alignment());
      ASSERT_TRUE(out.write(in.alignment(), in.header()));
      expected += lines[i] + '\n';
    }
    out.close();
    EXPECT_FALSE(out.fail());
    EXPECT_TRUE(folder.read("a.sam") == expected);
  }
}

class RealSamRule : public testing::TestWithParam<Rule> {};

INSTANTIATE_TEST_SUITE_P(Rules, RealSamRule, testing::ValuesIn(kRules), [](const auto& param) {
  return sam_test_name(param.param.example) + "_" + std::to_string(param.index);
});

TEST_P(RealSamRule, IsNeededByItsExample) {
  SKIP_WITHOUT_TEST_DATA();
  const std::string file = example_file(GetParam().example);
  EXPECT_EQ(rewrite(model_sam(read_file(file))).rules.count(GetParam().name), 1U) << file;
}

}  // namespace
}  // namespace readkit::sam_real_sam_lines_test
