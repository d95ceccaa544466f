// What the library loses of SAM text, or does not take, found before it reads it.
#pragma once

#include "cli/job/input.h"

namespace readkit::cli {

class Job;

/// Reads the SAM file once and warns of records whose sequence has 256 letters or more, which are
/// cut, and of those that end the work: without a sequence, or with an array field (type B).
void warn_of_sam_losses(Job& job, const Input& input);

}  // namespace readkit::cli
