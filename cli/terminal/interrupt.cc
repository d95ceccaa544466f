#include "cli/terminal/interrupt.h"

#include <csignal>
#include <initializer_list>

namespace readkit::cli {
namespace {

volatile std::sig_atomic_t interrupted = 0;
bool caught = false;

void remember(int /*signal*/) { interrupted = 1; }

}  // namespace

void catch_interrupts() {
  caught = true;
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction action = {};
    if (sigaction(signal, nullptr, &action) != 0 || action.sa_handler == SIG_IGN) continue;
    action = {};
    action.sa_handler = remember;
    sigaction(signal, &action, nullptr);
  }
}

bool are_interrupts_caught() { return caught; }

bool is_interrupted() { return interrupted != 0; }

void check_interrupts() {
  if (is_interrupted()) throw Interrupted();
}

}  // namespace readkit::cli
