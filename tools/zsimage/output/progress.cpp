#include "output/progress.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <iterator>

#include "output/terminal.h"
#include "output/terminal_text.h"

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
  const double seconds = std::chrono::duration<double>(now - m_start).count();
  const std::string rate =
      seconds < 0.5 ? "" : ReadableSize(static_cast<UHYPER>(static_cast<double>(done) / seconds)) + "/s";
  // What does not fit is left out: a line that wraps cannot be written over.
  const std::size_t columns = TerminalColumns(STDERR_FILENO) - 1;
  const std::string percent = Format("%3.0f%%", share * 100);
  const std::string sizes = "  " + ReadableSize(done) + " of " + ReadableSize(m_total) + "  " + rate;
  std::string line = m_label + "  " + percent;
  line += line.size() + sizes.size() <= columns ? sizes : "";
  constexpr std::size_t kFrame = 3; // Brackets and a blank.
  if (line.size() + kFrame < columns) {
    const std::size_t width = std::min(kBarColumns, columns - line.size() - kFrame);
    std::string bar(width, ' ');
    std::fill_n(bar.begin(), static_cast<std::size_t>(share * static_cast<double>(width)), '=');
    line.insert(m_label.size() + 2, "[" + bar + "] ");
  }
  std::fprintf(stderr, "\r%s\033[K", (line.size() > columns ? percent : line).substr(0, columns).c_str());
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
