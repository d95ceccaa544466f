// One record of any bytes: every accessor, its SAM line against a slow decoder's, and the line read
// again.
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "fuzz/support/calls.h"
#include "fuzz/support/lines.h"
#include "fuzz/support/samples.h"
#include "fuzz/support/target.h"
#include "records/alignment.h"
#include "records/sam_format.h"
#include "support/bgzf_builder.h"
#include "support/record_builder.h"
#include "support/reference_decoder.h"

namespace readkit::fuzz {
namespace {

void compare_with_decoder(const Alignment& record, std::string_view block,
                          const std::string& line) {
  DecodedRecord decoded;
  try {
    decoded = decode_record(little_endian(block.size(), 4) + std::string(block));
  } catch (const std::exception&) {
    return;  // fields that do not end with the record, or of an unknown type
  }
  require(record.cigar_endpos() == decoded.end || record.l_read_name() >= kWrappingName,
          "a record ends elsewhere");
  if (record.l_read_name() >= kWrappingName) return;
  // Names with a NUL elsewhere than at their end, or none, are printed otherwise.
  if (decoded.name.size() + 1 != static_cast<std::size_t>(record.l_read_name())) return;
  if (record.read_name_text().size() != decoded.name.size()) return;
  const std::string expected = decoded_line(decoded, decoded_dictionary());
  require(line == expected, "a line is\n" + line + "\nand the slow decoder's\n" + expected);
}

void run(Input input) {
  const std::string_view block = input.rest();
  const Alignment record = record_of(block);
  if (!record.is_well_formed()) return;
  std::string line;
  const std::string error = error_of("to_sam", [&] { line = record.to_sam(dictionary()); });
  std::string bare;
  error_of("to_sam without fields", [&] {
    unsigned long length = 0;
    const auto text = record.to_sam_chr(dictionary(), &length, false);
    bare.assign(text.get(), length - 1);
  });
  error_of("ref_name", [&] { static_cast<void>(record.ref_name(dictionary())); });
  error_of("next_ref_name", [&] { static_cast<void>(record.next_ref_name(dictionary())); });
  const bool has_nh = record.nh_tag() >= 0;
  require(!has_nh || record.tag_bytes() < record.data_end(), "a field is found where none is");
  require(record.seq_string().size() == static_cast<std::size_t>(std::max(record.l_seq(), 1)),
          "a sequence is of another length");
  static_cast<void>(record.qual_string());
  static_cast<void>(record.read_name_text());
  if (!error.empty()) return;
  require(line.starts_with(bare), "a line with fields is not one without");
  require(line.size() < max_sam_line(record, dictionary(), true), "a line is longer than its room");
  compare_with_decoder(record, block, line);
}

std::vector<std::string> seeds() {
  std::vector<std::string> blocks;
  for (const DecodedRecord& record : decode_bam(sample_bam().bytes()).records) {
    blocks.push_back(record.bytes.substr(4));
  }
  blocks.push_back(RecordBuilder(std::string(230, 'n')).cigar("4M").seq("ACGT").block());
  blocks.push_back(RecordBuilder("").cigar_op(5, 12).block());
  return blocks;
}

const Registration registration({.name = "record", .run = run, .seeds = seeds});

}  // namespace
}  // namespace readkit::fuzz
