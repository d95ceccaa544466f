#include "cli/progress.h"

#include <utility>

namespace readkit::cli {

Progress::Progress(std::string command, bool shown) : command_(std::move(command)), shown_(shown) {}

Progress::~Progress() = default;

void Progress::reading(const std::string& /*name*/, std::uint64_t /*position*/,
                       std::uint64_t /*size*/) {}

void Progress::end() {}

}  // namespace readkit::cli
