// Gateways that make a file from a file: index, sort, shuffle.
#include <algorithm>
#include <cstdint>
#include <limits>
#include <utility>

#include "bam/bam.h"
#include "gateway/arguments.h"
#include "gateway/gateways.h"
#include "sam/sam.h"

namespace readkit {
namespace {

constexpr int kNames = 2;

// The two names that each of these gateways takes first: the input, and the output or its base.
struct FileNames {
  Path input;
  Path output;
};

// Of a gateway that takes `n_inputs` inputs.
FileNames file_names(UString gateway, int nlhs, int nrhs, const txArray* const* prhs,
                     int n_inputs = kNames) {
  validate_argcount(std::move(gateway), nrhs, n_inputs, n_inputs, nlhs, 0);
  Path input = path_argument(prhs[0]);
  return {std::move(input), path_argument(prhs[1])};
}

std::uint32_t seed_argument(const txArray* a) {
  constexpr std::int64_t kHighest = std::numeric_limits<std::uint32_t>::max();
  return static_cast<std::uint32_t>(
      std::clamp<std::int64_t>(int64_argument(a, "seed"), 0, kHighest));
}

}  // namespace

// bamIndex(bam, index)
void bamIndex(int nlhs, txArray* /*plhs*/[], int nrhs, const txArray* prhs[]) {
  const FileNames names = file_names(u"bamIndex", nlhs, nrhs, prhs);
  BAM bam(names.input);
  bam.build_index();
  bam.save_index(names.output);
}

// kxBamIndexComplete(bam, index)
void kxBamIndexComplete(int nlhs, txArray* /*plhs*/[], int nrhs, const txArray* prhs[]) {
  const FileNames names = file_names(u"kxBamIndexComplete", nlhs, nrhs, prhs);
  BAM bam(names.input);
  bam.build_complete_index();
  bam.save_index(names.output);
}

// bamSort(bam, base)
void bamSort(int nlhs, txArray* /*plhs*/[], int nrhs, const txArray* prhs[]) {
  const FileNames names = file_names(u"bamSort", nlhs, nrhs, prhs);
  BAM(names.input).sort(names.output.text());
}

// samSort(sam, base)
void samSort(int nlhs, txArray* /*plhs*/[], int nrhs, const txArray* prhs[]) {
  const FileNames names = file_names(u"samSort", nlhs, nrhs, prhs);
  SAM(names.input, "r").sort(names.output.text());
}

// kxBamShuffle(bam, base)
void kxBamShuffle(int nlhs, txArray* /*plhs*/[], int nrhs, const txArray* prhs[]) {
  const FileNames names = file_names(u"bamshuffle", nlhs, nrhs, prhs);
  BAM(names.input).shuffle(names.output.text());
}

// kxBamShuffleSeeded(bam, base, seed)
void kxBamShuffleSeeded(int nlhs, txArray* /*plhs*/[], int nrhs, const txArray* prhs[]) {
  const FileNames names = file_names(u"kxBamShuffleSeeded", nlhs, nrhs, prhs, kNames + 1);
  const std::uint32_t seed = seed_argument(prhs[kNames]);
  BAM(names.input).shuffle(names.output.text(), seed);
}

}  // namespace readkit
