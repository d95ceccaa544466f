#include "cli/interrupt.h"

#include <csignal>
#include <initializer_list>

namespace readkit::cli {
namespace {

volatile std::sig_atomic_t interrupted = 0;

void remember(int /*signal*/) { interrupted = 1; }

}  // namespace

void catch_interrupts() {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction action = {};
    if (sigaction(signal, nullptr, &action) != 0 || action.sa_handler == SIG_IGN) continue;
    action = {};
    action.sa_handler = remember;
    sigaction(signal, &action, nullptr);
  }
}

bool is_interrupted() { return interrupted != 0; }

void check_interrupts() {
  if (is_interrupted()) throw Interrupted();
}

}  // namespace readkit::cli
