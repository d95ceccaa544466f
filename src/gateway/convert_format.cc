// Gateways that convert a file into another format.
#include <cstdint>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "bam/bam.h"
#include "core/errors.h"
#include "gateway/arguments.h"
#include "gateway/gateways.h"
#include "sam/sam.h"

namespace readkit {
namespace {

enum class Format { kSam, kBam, kFastq, kFasta };

std::optional<Format> format_of(std::string_view name) {
  if (name == "sam") return Format::kSam;
  if (name == "bam") return Format::kBam;
  if (name == "fastq") return Format::kFastq;
  if (name == "fasta") return Format::kFasta;
  return std::nullopt;
}

Format input_format(std::string_view name) {
  const auto format = format_of(name);
  if (format != Format::kSam && format != Format::kBam) throw InvalidInputFormat();
  return *format;
}

Format output_format(std::string_view name) {
  const auto format = format_of(name);
  if (!format) throw InvalidOutputFormat();
  return *format;
}

std::set<std::string> references_argument(const txArray* a) {
  std::set<std::string> names;
  for (const UString& name : matrix::get_string_array(a)) names.insert(to_bytes(name));
  if (names.empty()) throw InvalidSequenceDictionaryType();
  return names;
}

std::span<const std::uint32_t> ordinals_argument(const txArray* a) {
  const bool is_matrix = txGetM(a) >= 2 && txGetN(a) >= 2;
  if (is_matrix || txGetClassID(a) != txUINT32_CLASS || !txIsRealDense(a)) throw InvalidIndex();
  return {static_cast<const std::uint32_t*>(txGetData(a)), txGetNumberOfElements(a)};
}

struct Job {
  Path out;
  Format format;
  std::span<const std::uint32_t> ordinals;
  std::set<std::string> references;
};

template <typename Input>
void convert(Input& in, const Job& job) {
  const std::uint32_t* const ordinals = job.ordinals.data();
  const std::size_t n = job.ordinals.size();
  switch (job.format) {
    case Format::kBam:
      return in.to_bam(job.out, ordinals, n, job.references);
    case Format::kSam:
      // Kept: one would expect the header lines too; this function never writes them.
      return in.to_sam(job.out, ordinals, n, false);
    case Format::kFastq:
      return in.to_fastq(job.out, ordinals, n);
    case Format::kFasta:
      return in.to_fasta(job.out, ordinals, n);
  }
}

}  // namespace

// convertFormat(in, inFormat, out, outFormat, ordinals)
// convertFormat(in, inFormat, out, outFormat, ordinals, references)
void convertFormat(int nlhs, txArray* /*plhs*/[], int nrhs, const txArray* prhs[]) {
  validate_argcount(u"convertFormat", nrhs, 5, 6, nlhs, 0);
  const Path in = path_argument(prhs[0]);
  const std::string in_name = text_argument(prhs[1]);
  Path out = path_argument(prhs[2]);
  const std::string out_name = text_argument(prhs[3]);
  std::set<std::string> references;
  if (nrhs > 5) references = references_argument(prhs[5]);
  const Format from = input_format(in_name);
  const Format to = output_format(out_name);
  const Job job{std::move(out), to, ordinals_argument(prhs[4]), std::move(references)};
  if (from == Format::kBam) {
    BAM bam(in);
    convert(bam, job);
  } else {
    SAM sam(in, "r");
    convert(sam, job);
  }
}

// samToBam(sam, bam)
void samToBam(int nlhs, txArray* /*plhs*/[], int nrhs, const txArray* prhs[]) {
  validate_argcount(u"samToBam", nrhs, 2, 2, nlhs, 0);
  const Path in = path_argument(prhs[0]);
  const Path out = path_argument(prhs[1]);
  SAM(in, "r").to_bam(out);
}

}  // namespace readkit
