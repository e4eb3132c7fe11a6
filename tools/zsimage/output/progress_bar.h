/// @file
/// A line on standard error that shows the progress of a command.
#pragma once

#include <chrono>
#include <string>

#include "platform/base_types.h"

/// Shown if standard error is a terminal that can rewrite lines. The destructor erases the line.
class ProgressBar {
public:
  /// @param total Bytes that the command will process.
  ProgressBar(std::string label, UHYPER total);
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;
  ~ProgressBar();

  void Advance(UHYPER bytes);

private:
  using Clock = std::chrono::steady_clock;

  std::string Line(std::size_t columns, double seconds) const;

  std::string m_label;
  UHYPER m_total;
  UHYPER m_done = 0;
  bool m_isTerminal;
  bool m_isShown = false;
  Clock::time_point m_start;
  Clock::time_point m_last;
};
