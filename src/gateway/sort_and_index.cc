// Gateways that make a file from a file: index, sort, shuffle.
#include "bam/bam.h"
#include "gateway/arguments.h"
#include "gateway/gateways.h"

namespace readkit {

// bamIndex(bam, index)
void bamIndex(int nlhs, txArray* plhs[], int nrhs, const txArray* prhs[]) {
  static_cast<void>(plhs);
  validate_argcount(u"bamIndex", nrhs, 2, 2, nlhs, 0);
  const Path bam_path = path_argument(prhs[0]);
  const Path index_path = path_argument(prhs[1]);
  BAM bam(bam_path);
  bam.build_index();
  bam.save_index(index_path);
}

}  // namespace readkit
