#include "fuzz/support/samples.h"

#include "fuzz/support/blocks.h"
#include "support/reference_decoder.h"

namespace readkit::fuzz {

BamBuilder sample_bam() {
  return BamBuilder()
      .text("@HD\tVN:1.6\tSO:coordinate\n@SQ\tSN:chr1\tLN:100000\n@CO\tx\n")
      .ref("chr1", 100000)
      .ref("chr2", 5)
      .ref("HLA:A*01", 100000)
      .record(RecordBuilder("pair")
                  .at(0, 9)
                  .mate(0, 9)
                  .flag(0x1 | 0x2 | 0x40)
                  .mapq(60)
                  .tlen(-7)
                  .cigar("1S2M1I1D1N2=1X")
                  .seq("ACGTNAC")
                  .qual("IIIIIII")
                  .tag("XA", 'A', 'q')
                  .tag("Xc", 'c', -1)
                  .tag("XS", 'S', 60000)
                  .tag("NH", 'i', 1))
      .record(RecordBuilder("pair").at(0, 9).mate(0, 9).flag(0x1 | 0x4 | 0x80).seq("AC"))
      .record(RecordBuilder("tags")
                  .at(0, 19)
                  .mate(2, 30)
                  .mapq(30)
                  .cigar("3M")
                  .seq("AAA")
                  .tag("NH", 'C', 2)
                  .tag_float("Xf", 1.5F)
                  .tag_text("XZ", 'Z', "text")
                  .tag_text("XH", 'H', "1AE3")
                  .tag_array("BS", 'S', {1, 60000})
                  .tag_floats("Bf", {0.5F})
                  .tag_array("B0", 'C', {}))
      .record(RecordBuilder("far").at(0, 70000).mapq(60).cigar("20000N4M").seq("ACGT").qual("!~5I"))
      .record(RecordBuilder("other").at(2, 30).mapq(60).flag(0x900).cigar("4H2M").seq("GG"))
      .record(RecordBuilder("none").flag(0x4).seq("ACG").qual("IJK"));
}

BamBuilder wide_bam(int records) {
  constexpr int kStep = 9000;
  BamBuilder file;
  file.refs(2, 1 << 24);
  for (int i = 0; i < records; ++i) {
    const bool is_late = 2 * i >= records;
    RecordBuilder record("r" + std::to_string(i));
    record.at(is_late ? 1 : 0, (is_late ? i - records / 2 : i) * kStep).mapq(30);
    record.cigar(i % 6 < 3 ? "2M40000N2M" : "4M").seq("ACGT");
    file.record(record);
  }
  return file.record(RecordBuilder("none").flag(4).seq("A"));
}

std::vector<std::string> bam_files() {
  return {stored_bgzf(sample_bam().content()), stored_bgzf(wide_bam(12).content(), 100),
          sample_bam().block_size(150).bytes(), stored_bgzf(sample_bam().header_bytes()),
          BamBuilder().bytes()};
}

std::vector<std::string> sam_files() {
  const std::string header = "@HD\tVN:1.6\n@SQ\tSN:chr1\tLN:100000\n@SQ\tLN:5\tSN:chr2\n@CO\tx\n";
  const std::string lines =
      "r1\t99\tchr1\t10\t60\t1S2M1I1D\t=\t30\t-7\tACGT\tIIII\tNH:i:1\tXZ:Z:text\tXf:f:1.5\n"
      "r2\t0\tchr2\t1\t9\t4M\tchr1\t5\t0\tACGT\t*\tXA:A:q\tXH:H:1A\n"
      "r3\t4\t*\t0\t0\t*\t*\t0\t0\tAC\t*\n"
      "r4\t16\tchr1\t7\t0\t2=2X\t*\t0\t0\tNNNN\t!!!!\r\n"
      "r5\t0\tchr1\t7\t0\t2M\t*\t0\t0\tAC\tJJ";
  return {header + lines, lines, header, "", "@CO\tonly\n\n\n" + lines};
}

std::vector<std::string> behind(const std::vector<std::string>& choices,
                                const std::vector<std::string>& files) {
  std::vector<std::string> inputs;
  for (const std::string& choice : choices) {
    for (const std::string& file : files) inputs.push_back(choice + file);
  }
  return inputs;
}

std::vector<std::string> counted_choices(std::size_t count, const std::string& others) {
  std::vector<std::string> choices;
  for (std::size_t i = 0; i < count; ++i) choices.push_back(static_cast<char>(i) + others);
  return choices;
}

}  // namespace readkit::fuzz
