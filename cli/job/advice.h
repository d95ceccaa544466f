// What an error of the library means to the user of a command.
#pragma once

#include <functional>
#include <string>

#include "cli/terminal/failure.h"
#include "host/error.h"

namespace readkit::cli {

/// The error as the program prints it. `shown` gives for a path the name that the user knows it by;
/// `main_file` is blamed by errors that name no file.
Failure failure_of(const host::HostError& error, const std::string& main_file,
                   const std::function<std::string(const std::string&)>& shown);

}  // namespace readkit::cli
