// Gateways that make a file from a file: index, sort, shuffle.
#include <utility>

#include "bam/bam.h"
#include "gateway/arguments.h"
#include "gateway/gateways.h"
#include "sam/sam.h"

namespace readkit {
namespace {

// The two names that each of these gateways takes: the input, and the output or its base.
struct FileNames {
  Path input;
  Path output;
};

FileNames file_names(UString gateway, int nlhs, int nrhs, const txArray* const* prhs) {
  validate_argcount(std::move(gateway), nrhs, 2, 2, nlhs, 0);
  Path input = path_argument(prhs[0]);
  return {std::move(input), path_argument(prhs[1])};
}

}  // namespace

// bamIndex(bam, index)
void bamIndex(int nlhs, txArray* /*plhs*/[], int nrhs, const txArray* prhs[]) {
  const FileNames names = file_names(u"bamIndex", nlhs, nrhs, prhs);
  BAM bam(names.input);
  bam.build_index();
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

}  // namespace readkit
