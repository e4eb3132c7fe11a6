#include "output/interrupt.h"

#include <csignal>
#include <iterator>

namespace {

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};
struct sigaction g_old[std::size(kSignals)]; ///< Actions of the signals before the first watch.
unsigned g_watches = 0;
volatile std::sig_atomic_t g_interrupted = 0; // The only kind of variable that a signal handler may write.

void OnSignal(int /*signal*/) { g_interrupted = 1; }

} // namespace

InterruptWatch::InterruptWatch() {
  for (std::size_t i = 0; g_watches == 0 && i < std::size(kSignals); ++i) {
    struct sigaction action {};
    action.sa_handler = OnSignal;
    sigaction(kSignals[i], nullptr, &g_old[i]);
    if (g_old[i].sa_handler != SIG_IGN) { // nohup ignores SIGHUP.
      sigaction(kSignals[i], &action, nullptr);
    }
  }
  ++g_watches;
}

InterruptWatch::~InterruptWatch() {
  --g_watches;
  for (std::size_t i = 0; g_watches == 0 && i < std::size(kSignals); ++i) {
    sigaction(kSignals[i], &g_old[i], nullptr);
  }
}

bool InterruptWatch::Requested() noexcept { return g_interrupted != 0; }
