// A slow computation of what the conversions of a file must write, from its bytes alone, to compare
// the library with.
#pragma once

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/path.h"
#include "support/reference_decoder.h"

namespace readkit {

using Ordinals = std::vector<unsigned>;

/// A file of records, BAM or SAM.
struct ModelSource {
  std::string text;                                         ///< of the header
  std::vector<std::pair<std::string, std::uint32_t>> refs;  ///< stored names, with their last byte
  std::vector<std::string> records;                         ///< with their length words
  std::string error;  ///< what the read behind the last record raises, see `outcome_of`

  /// The header as a BAM file holds it, and as SAM text.
  std::string binary_header() const;
  std::string text_header() const;
  /// The name of a reference, "*" for a negative index.
  std::string ref_name(int index) const;
};

/// Throw what the decoders throw for a file that is not sound; a missing end marker is an error of
/// reading, and so is a line that cannot be parsed.
ModelSource model_bam_source(std::string_view file);
ModelSource model_sam_source(std::string_view file);

/// The fields of a record without its optional ones.
DecodedRecord model_fields(std::string_view record);

/// A record as a SAM line, FASTQ or FASTA; `error` is what writing it raises instead, see
/// `outcome_of`.
struct ModelText {
  std::string text;
  std::string error = {};
};
ModelText model_line(const ModelSource& source, std::string_view record, bool with_tags = true);
std::string model_fastq(std::string_view record);
std::string model_fasta(std::string_view record);

enum class ModelFormat { kBam, kSam, kSamWithHeader, kFastq, kFasta };
inline constexpr ModelFormat kModelFormats[] = {ModelFormat::kBam, ModelFormat::kSam,
                                                ModelFormat::kSamWithHeader, ModelFormat::kFastq,
                                                ModelFormat::kFasta};

/// What a conversion of these records (all when there are no ordinals) leaves in its output, BAM
/// uncompressed, and what it raises.
struct ModelOutput {
  std::string content;
  std::string error;
};
ModelOutput model_conversion(const ModelSource& source, ModelFormat format,
                             const Ordinals& ordinals);
/// The same into BAM, with no more references than `names` and those of their mates.
ModelOutput model_subset(const ModelSource& source, const Ordinals& ordinals,
                         std::set<std::string> names);

/// Lists of ordinals of all kinds, for a file of so many records.
std::vector<Ordinals> model_ordinals(std::size_t records);

/// Runs a conversion of an open `BAM` or `SAM`.
template <typename Input>
void run_conversion(Input& in, ModelFormat format, const Path& out, const Ordinals& ordinals) {
  const unsigned* const data = ordinals.data();
  const std::size_t n = ordinals.size();
  switch (format) {
    case ModelFormat::kBam:
      return in.to_bam(out, data, n, {});
    case ModelFormat::kSam:
      return in.to_sam(out, data, n, false);
    case ModelFormat::kSamWithHeader:
      return in.to_sam(out, data, n, true);
    case ModelFormat::kFastq:
      return in.to_fastq(out, data, n);
    case ModelFormat::kFasta:
      return in.to_fasta(out, data, n);
  }
}

/// What stands in an output, BAM uncompressed.
std::string output_content(ModelFormat format, const std::string& native);

}  // namespace readkit
