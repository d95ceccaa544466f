// Where a file is damaged that the library could not read.
#pragma once

#include <string>

#include "cli/job/input.h"

namespace readkit::cli {

class Job;

/// What a check finds first of damage that ends reading, with its record and offset, for example
/// "record 5, offset 18612224: the file ends inside a block"; empty when it finds none, or the file
/// is so large that checking it would take long.
std::string first_damage(Job& job, const Input& input);

}  // namespace readkit::cli
