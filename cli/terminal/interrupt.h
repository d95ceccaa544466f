// SIGINT, SIGTERM and SIGHUP: remembered by the handler, acted upon where it is safe to.
#pragma once

#include <exception>

namespace readkit::cli {

/// The user, or the system, wants the program to end. Whoever has temporaries removes them on the
/// way out; the exit status is kInterrupted.
class Interrupted : public std::exception {
 public:
  const char* what() const noexcept override { return "interrupted"; }
};

/// From here on the signals are remembered, but for those that are ignored already (nohup). System
/// calls that wait are cut short by them.
void catch_interrupts();
/// Whether that was called.
bool are_interrupts_caught();
/// Whether one has come.
bool is_interrupted();
/// Raises Interrupted when one has come.
void check_interrupts();

}  // namespace readkit::cli
