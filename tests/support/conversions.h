// The eight conversions, from both kinds of files into all four formats, called in one way.
//
//   for (const Conversion& conversion : conversions()) {
//     conversion.run(folder, {2, 5});
//     EXPECT_EQ(written_names(folder, conversion.output()), (Names{"r2", "r5"}));
//   }
#pragma once

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "bam/bam.h"
#include "sam/sam.h"
#include "support/sort_words.h"
#include "support/temp_dir.h"

namespace readkit {

using Ordinals = std::vector<unsigned>;

/// Converts an open BAM or SAM file into `format` ("bam", "sam", "fastq" or "fasta"), without a
/// choice of references and without a SAM header. No ordinals are all records.
template <typename Input>
void convert(Input& in, std::string_view format, const Path& out, const Ordinals& ordinals = {}) {
  if (format == "bam") in.to_bam(out, ordinals.data(), ordinals.size(), {});
  if (format == "sam") in.to_sam(out, ordinals.data(), ordinals.size(), false);
  if (format == "fastq") in.to_fastq(out, ordinals.data(), ordinals.size());
  if (format == "fasta") in.to_fasta(out, ordinals.data(), ordinals.size());
}

/// From a file "a.bam" or "a.sam" of a folder into a file "t.bam", "t.sam", "t.fastq" or "t.fasta".
struct Conversion {
  std::string from;  ///< "bam" or "sam"
  std::string to;

  std::string input() const { return "a." + from; }
  std::string output() const { return "t." + to; }

  /// Opens the input and hands it to `use`.
  template <typename Use>
  void with_input(const TempDir& folder, const Use& use) const {
    if (from == "bam") {
      BAM in(folder.path(input()));
      use(in);
    } else {
      SAM in(folder.path(input()), "r");
      use(in);
    }
  }
  void run_into(const TempDir& folder, const Path& out, const Ordinals& ordinals = {}) const {
    with_input(folder, [&](auto& in) { convert(in, to, out, ordinals); });
  }
  void run(const TempDir& folder, const Ordinals& ordinals = {}) const {
    run_into(folder, folder.path(output()), ordinals);
  }
};

std::vector<Conversion> conversions();
/// "bam_to_sam", as the name of a test too.
std::string name_of(const Conversion& conversion);
void PrintTo(const Conversion& conversion, std::ostream* out);

/// The names of the records in a file of a folder, in order, whatever its format is.
Names written_names(const TempDir& folder, const std::string& name);

/// FASTQ and FASTA text of records.
std::string fastq_of(const std::vector<DecodedRecord>& records);
std::string fasta_of(const std::vector<DecodedRecord>& records);
/// Their SAM lines, each with its newline.
std::string sam_lines_of(const DecodedBam& bam);

}  // namespace readkit
