#include "progress.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <iterator>

#include "terminal.h"
#include "terminal_text.h"

namespace {

constexpr auto kRefresh = std::chrono::milliseconds(100);
constexpr std::size_t kBarColumns = 30;

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};
struct sigaction g_old[std::size(kSignals)]; ///< What the signals did before the first watch.
unsigned g_watches = 0;
volatile std::sig_atomic_t g_interrupted = 0; // The one thing a signal may write to.

void OnSignal(int /*signal*/) { g_interrupted = 1; }

} // namespace

ProgressBar::ProgressBar(std::string label, UHYPER total)
    : m_label(std::move(label)), m_total(total), m_isTerminal(CanRewriteLines(STDERR_FILENO)), m_start(Clock::now()),
      m_last(m_start - kRefresh) {}

ProgressBar::~ProgressBar() {
  if (m_shown) {
    std::fprintf(stderr, "\r\033[K");
  }
}

void ProgressBar::Show(UHYPER done) {
  if (!m_isTerminal || m_total == 0) {
    return;
  }
  const auto now = Clock::now();
  if (now - m_last < kRefresh && done < m_total) {
    return;
  }
  m_last = now;
  m_shown = true;
  const double share = std::min(1.0, static_cast<double>(done) / static_cast<double>(m_total));
  const auto filled = static_cast<std::size_t>(share * kBarColumns);
  const double seconds = std::chrono::duration<double>(now - m_start).count();
  const std::string rate =
      seconds < 0.5 ? "" : ReadableSize(static_cast<UHYPER>(static_cast<double>(done) / seconds)) + "/s";
  std::fprintf(stderr, "\r%s  [%s%s] %3.0f%%  %s of %s  %s\033[K", m_label.c_str(), std::string(filled, '=').c_str(),
               std::string(kBarColumns - filled, ' ').c_str(), share * 100, ReadableSize(done).c_str(),
               ReadableSize(m_total).c_str(), rate.c_str());
  std::fflush(stderr);
}

InterruptWatch::InterruptWatch() {
  for (std::size_t i = 0; g_watches == 0 && i < std::size(kSignals); ++i) {
    struct sigaction action {};
    action.sa_handler = OnSignal;
    sigaction(kSignals[i], nullptr, &g_old[i]);
    if (g_old[i].sa_handler != SIG_IGN) { // As nohup asks for.
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

LONG* Transfer::CallBack() noexcept { return reinterpret_cast<LONG*>(&Transfer::OnMessage); }

VARIANT Transfer::User() noexcept {
  VARIANT user;
  VariantInit(&user);
  user.vt = VT_UI8;
  user.ullVal = reinterpret_cast<std::uintptr_t>(this);
  return user;
}

void Transfer::StartNextStream() noexcept {
  m_before += m_done;
  m_done = 0;
}

LONG Transfer::OnMessage(UINT /*kind*/, ZSSTREAMPROGRESS* progress, ULONG /*userParam*/, VARIANT user) {
  // The value is the only way by which the stream carries an object to its callback.
  auto* transfer = reinterpret_cast<Transfer*>(static_cast<std::uintptr_t>(user.ullVal)); // NOLINT
  transfer->Note(progress);
  return 0;
}

void Transfer::Note(ZSSTREAMPROGRESS* progress) {
  m_begun = true;
  m_done = progress->qwDone;
  if (InterruptWatch::Requested()) {
    m_cancelled = true;
    progress->fCancel = 1;
  }
  m_bar.Show(Done());
}
