// How much memory a job that could use any amount may take.
#pragma once

#include <cstdint>
#include <string>

namespace readkit {

/// The bytes of memory that the machine can still give out, within the limits of the control groups
/// (version 1 or 2) that the process runs in; what they keep of files counts as free. 0 when the
/// system does not say. `root` stands before /proc and /sys.
std::uint64_t available_memory(const std::string& root = "");

}  // namespace readkit
