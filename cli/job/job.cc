#include "cli/job/job.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>
#include <system_error>

#include <unistd.h>

#include "cli/call/libraries.h"
#include "cli/command_line/version.h"
#include "cli/job/advice.h"
#include "cli/job/damage.h"
#include "cli/job/input.h"
#include "cli/terminal/interrupt.h"
#include "host/monitor.h"

namespace readkit::cli {

Job::Job(const std::string& command, const CommonOptions& options)
    : command_(command),
      options_(options),
      messages_(command, options.quiet),
      progress_(command, options.quiet, options.progress),
      out_(STDOUT_FILENO) {}

JsonWriter& Job::begin_document(Output& out) {
  JsonWriter& json = json_.emplace(out);
  json.begin_object();
  json.member("format", "readkit-" + command_);
  json.member("version", 1);
  json.member("readkit", version());
  return json;
}

void Job::end_document() { json_->end_object(); }

std::vector<host::Owned> Job::call_with(const char* function, int nlhs,
                                        const std::vector<host::Owned>& inputs) {
  check_interrupts();
  try {
    if (!library_) library_.emplace(library_path(options_.library));
    return host::call_watched(
        library_->function(function), nlhs, inputs, [this](const kxTransfer& transfer) {
          progress_.moved(transfer.path, transfer.position, transfer.is_write);
          return !is_interrupted();
        });
  } catch (const host::HostError& e) {
    check_interrupts();
    throw located(
        failure_of(e, main_file_, [this](const std::string& path) { return shown(path); }));
  }
}

// Damage of the input, with the place where it is as far as that is known.
Failure Job::located(const Failure& failure) {
  constexpr std::array<std::string_view, 5> kDamage = {
      "seqlab:readkit:InvalidBAMFormat", "seqlab:readkit:BAMRead", "seqlab:readkit:ZLIBInflate",
      "seqlab:readkit:InvalidSAMFormat", "Tessel:cpp:bad_alloc"};
  const bool is_damage =
      main_input_ != nullptr && failure.file() == main_file_ &&
      std::find(kDamage.begin(), kDamage.end(), failure.identifier()) != kDamage.end();
  if (!is_damage) return failure;
  const std::uint64_t position = progress_.position();
  const Input& input = *std::exchange(main_input_, nullptr);  // once is enough
  std::string place = first_damage(*this, input);
  if (place.empty() && position > 0) place = "behind byte " + std::to_string(position);
  if (place.empty()) return failure;
  return {failure.file(), failure.what() + ("; " + place), failure.identifier(), failure.advice()};
}

void Job::set_main_input(const Input& input) {
  main_input_ = &input;
  main_file_ = input.name();
  std::error_code error;
  const std::uintmax_t size = std::filesystem::file_size(input.path(), error);
  progress_.begin(input.path(), input.name(), error ? 0 : size);
}

void Job::show_as(const std::string& path, const std::string& name) {
  names_.emplace_back(path, name);
}

std::string Job::shown(const std::string& path) const {
  for (const auto& [prefix, name] : names_) {
    if (path == prefix || path.starts_with(prefix + '/')) return name;
  }
  return path;
}

}  // namespace readkit::cli
