// What a file claims takes no memory: lengths and counts that it does not hold, through every call.
// The peaks stand in docs/reliability.md.
#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/bgzf_builder.h"
#include "support/file_calls.h"
#include "support/memory.h"
#include "support/record_builder.h"
#include "support/resident_memory.h"

namespace readkit::gateway_claims_memory_test {
namespace {

constexpr std::size_t kMebibyte = std::size_t{1} << 20;
constexpr std::uint64_t kHuge = 0x7FFFFFFF;

struct Claim {
  const char* name;
  const char* file;  // "a.bam", "a.bai", "a.sam" or "a.fastq"
  std::string (*bytes)();
  /// What may be taken beside eight bytes for each byte of the file.
  std::size_t most = 64 * kMebibyte;
};

std::string bam_of(const std::string& content) {
  return BgzfFile().blocks(content, 0xff00).marker().bytes();
}
std::string header_of(std::uint64_t n_ref, const std::string& references) {
  return "BAM\1" + little_endian(0, 4) + little_endian(n_ref, 4) + references;
}
std::string chr1() {
  return little_endian(5, 4) + std::string("chr1\0", 5) + little_endian(1000, 4);
}
std::string with_record(const RecordBuilder& record) {
  return bam_of(header_of(1, chr1()) + record.bytes());
}
RecordBuilder record() { return RecordBuilder("a").at(0, 9).cigar("4M").seq("ACGT"); }
std::string index_of(const std::string& reference) {
  return "BAI\1" + little_endian(1, 4) + reference;
}

const Claim kClaims[] = {
    {"l_text", "a.bam", [] { return bam_of("BAM\1" + little_endian(kHuge, 4)); }},
    {"n_ref", "a.bam", [] { return bam_of(header_of(kHuge, chr1())); }},
    {"l_name", "a.bam", [] { return bam_of(header_of(1, little_endian(kHuge, 4))); }},
    {"l_ref", "a.bam",
     [] {
       return bam_of(
           header_of(1, little_endian(2, 4) + std::string("c\0", 2) + little_endian(kHuge, 4)));
     }},
    {"block_size", "a.bam", [] { return with_record(record().block_size(0x7FFFFFFF)); }},
    {"block_size_2_28", "a.bam", [] { return with_record(record().block_size(1 << 28)); }},
    {"l_seq", "a.bam", [] { return with_record(record().l_seq(0x7FFFFFFF)); }},
    {"n_cigar_op", "a.bam", [] { return with_record(record().n_cigar_op(65535)); }},
    {"l_read_name", "a.bam", [] { return with_record(record().l_read_name(255)); }},
    {"array_count", "a.bam",
     [] { return with_record(record().tag_bytes("XXBi" + little_endian(kHuge, 4))); }},
    {"refID", "a.bam", [] { return with_record(record().at(0x7FFFFFFF, 9)); }},
    // The largest that an index and a list of counts grow to; an index has an entry for each.
    {"refID_2_20", "a.bam", [] { return with_record(record().at((1 << 20) - 1, 9)); },
     96 * kMebibyte},
    {"pos", "a.bam", [] { return with_record(record().at(0, (1 << 29) - 5)); }},
    {"cigar_length", "a.bam", [] { return with_record(record().cigar_op(0xFFFFFFF, 3)); }},
    {"isize", "a.bam",
     [] {
       return BgzfFile()
           .block(BgzfBlock(header_of(1, chr1()) + record().bytes()).set_isize(0xFFFFFFFF))
           .marker()
           .bytes();
     }},
    {"index_n_ref", "a.bai", [] { return "BAI\1" + little_endian(kHuge, 4); }},
    {"index_n_bin", "a.bai", [] { return index_of(little_endian(kHuge, 4)); }},
    {"index_n_chunk", "a.bai",
     [] {
       return index_of(little_endian(1, 4) + little_endian(4681, 4) + little_endian(kHuge, 4));
     }},
    {"index_n_intv", "a.bai",
     [] { return index_of(little_endian(0, 4) + little_endian(kHuge, 4)); }},
    // Lines without an end, which are held whole.
    {"sam_line", "a.sam", [] { return std::string(8 * kMebibyte, 'A'); }},
    {"sam_sequence", "a.sam",
     [] { return "a\t0\t*\t0\t0\t*\t*\t0\t0\t" + std::string(8 * kMebibyte, 'A'); }},
    {"sam_header_line", "a.sam", [] { return "@CO\t" + std::string(8 * kMebibyte, 'A'); }},
    {"fastq_header", "a.fastq", [] { return "@" + std::string(8 * kMebibyte, 'A'); }},
    {"fastq_bases", "a.fastq", [] { return "@\n" + std::string(8 * kMebibyte, 'A'); }},
};

class ClaimsMemory : public testing::TestWithParam<Claim> {};

INSTANTIATE_TEST_SUITE_P(Claims, ClaimsMemory, testing::ValuesIn(kClaims),
                         [](const auto& param) { return std::string(param.param.name); });

TEST_P(ClaimsMemory, IsNoMoreThanTheFileJustifies) {
  const FileCalls files;
  const std::string bytes = GetParam().bytes();
  const std::string name = GetParam().file;
  files.write("a.bam", with_record(record()));
  files.write(name, bytes);
  const std::vector<FileCall> calls = name == "a.bam"   ? files.on_bam()
                                      : name == "a.bai" ? files.on_index()
                                      : name == "a.sam" ? files.on_sam()
                                                        : files.on_fastq();
  const std::size_t most = GetParam().most + 8 * bytes.size();
  std::size_t peak = 0;
  for (const FileCall& call : calls) {
    if (kMemoryIsKept) {  // by sanitizers, of what is let go of
      outcome_of(call);
      continue;
    }
    const std::size_t growth = memory_growth_alone([&] { outcome_of(call); });
    EXPECT_LE(growth, most) << call.name;
    peak = std::max(peak, growth);
  }
  EXPECT_TRUE(kMemoryIsKept || peak > 0) << "no memory is seen";
  RecordProperty("peak_KiB", static_cast<int>(peak >> 10));
}

}  // namespace
}  // namespace readkit::gateway_claims_memory_test
