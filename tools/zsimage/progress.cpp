#include "progress.h"

#include <algorithm>
#include <cstdio>

#include "terminal.h"
#include "terminal_text.h"

namespace {

constexpr auto kRefresh = std::chrono::milliseconds(100);
constexpr std::size_t kBarColumns = 30;

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
  struct sigaction action {};
  action.sa_handler = OnSignal;
  sigemptyset(&action.sa_mask);
  sigaction(SIGINT, &action, &m_oldInterrupt);
  sigaction(SIGTERM, &action, &m_oldTerminate);
}

InterruptWatch::~InterruptWatch() {
  sigaction(SIGINT, &m_oldInterrupt, nullptr);
  sigaction(SIGTERM, &m_oldTerminate, nullptr);
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
