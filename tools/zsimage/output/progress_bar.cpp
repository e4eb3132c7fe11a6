#include "output/progress_bar.h"

#include <algorithm>
#include <cstdio>

#include <fmt/format.h>

#include "output/terminal.h"
#include "output/terminal_text.h"

namespace {

constexpr auto kRefresh = std::chrono::milliseconds(100);
constexpr std::size_t kBarColumns = 30;

} // namespace

ProgressBar::ProgressBar(std::string label, UHYPER total)
    : m_label(std::move(label)), m_total(total), m_isTerminal(CanRewriteLines(STDERR_FILENO)), m_start(Clock::now()),
      m_last(m_start - kRefresh) {}

ProgressBar::~ProgressBar() {
  if (m_isShown) {
    std::fputs("\r\033[K", stderr);
  }
}

void ProgressBar::Advance(UHYPER bytes) {
  m_done += bytes;
  const auto now = Clock::now();
  if (!m_isTerminal || m_total == 0 || (now - m_last < kRefresh && m_done < m_total)) {
    return;
  }
  m_last = now;
  m_isShown = true;
  const double seconds = std::chrono::duration<double>(now - m_start).count();
  std::fputs(fmt::format("\r{}\033[K", Line(TerminalColumns(STDERR_FILENO) - 1, seconds)).c_str(), stderr);
  std::fflush(stderr);
}

/// Returns the line with the parts that fit: the terminal cannot rewrite a line that wraps.
std::string ProgressBar::Line(std::size_t columns, double seconds) const {
  const double share = std::min(1.0, static_cast<double>(m_done) / static_cast<double>(m_total));
  const std::string percent = fmt::format("{:3.0f}%", share * 100);
  std::string sizes = fmt::format("  {} of {}  ", ReadableSize(m_done), ReadableSize(m_total));
  if (seconds >= 0.5) {
    sizes += ReadableSize(static_cast<UHYPER>(static_cast<double>(m_done) / seconds)) + "/s";
  }
  std::string line = fmt::format("{}  {}", m_label, percent);
  constexpr std::size_t kFrame = 3; // Brackets and a blank.
  line += line.size() + sizes.size() + kFrame < columns ? sizes : "";
  if (line.size() + kFrame < columns) {
    const std::size_t width = std::min(kBarColumns, columns - line.size() - kFrame);
    const std::string bar(static_cast<std::size_t>(share * static_cast<double>(width)), '=');
    line.insert(m_label.size() + 2, fmt::format("[{:{}}] ", bar, width));
  }
  return (line.size() > columns ? percent : line).substr(0, columns);
}
