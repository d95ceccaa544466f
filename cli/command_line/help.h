// Help for people: what a terminal shows, and manual pages.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "cli/command_line/command.h"

namespace readkit::cli {

/// `readkit --help`.
std::string help_text(const std::vector<Command>& commands);
/// `readkit COMMAND --help`.
std::string help_text(const Command& command);

/// The manual page readkit(1), in roff.
std::string manual_page(const std::vector<Command>& commands);
/// The manual page readkit-COMMAND(1).
std::string manual_page(const Command& command);

}  // namespace readkit::cli
