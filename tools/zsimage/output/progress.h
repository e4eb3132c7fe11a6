/// @file
/// What the user sees and can do while sectors move: a bar on the terminal, and Ctrl-C.
#pragma once

#include <chrono>
#include <string>

#include "cuesheet/cue_sheet_interface.h"

/// A line on standard error that shows how far a transfer is. Shown only on a terminal that can rewrite it.
class ProgressBar {
public:
  ProgressBar(std::string label, UHYPER total);
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;
  /// Wipes the line.
  ~ProgressBar();

  void Show(UHYPER done);

private:
  using Clock = std::chrono::steady_clock;

  std::string m_label;
  UHYPER m_total;
  bool m_isTerminal;
  bool m_shown = false;
  Clock::time_point m_start;
  Clock::time_point m_last;
};

/// While one lives, Ctrl-C, SIGTERM and the end of the terminal are noted and end nothing by themselves.
class InterruptWatch {
public:
  InterruptWatch();
  InterruptWatch(const InterruptWatch&) = delete;
  InterruptWatch& operator=(const InterruptWatch&) = delete;
  ~InterruptWatch();

  static bool Requested() noexcept;
};

/// One transfer of sectors through one stream or several: the target of their callback.
class Transfer {
public:
  Transfer(std::string label, UHYPER total) : m_bar(std::move(label), total) {}

  /// The arguments for ExtractTrackToStream.
  static LONG* CallBack() noexcept;
  VARIANT User() noexcept;

  bool HasBegun() const noexcept { return m_begun; }
  bool IsCancelled() const noexcept { return m_cancelled; }
  /// Bytes that all streams delivered.
  UHYPER Done() const noexcept { return m_before + m_done; }

  /// The next bytes come from another stream.
  void StartNextStream() noexcept;

private:
  static LONG OnMessage(UINT kind, ZSSTREAMPROGRESS* progress, ULONG userParam, VARIANT user);
  void Note(ZSSTREAMPROGRESS* progress);

  InterruptWatch m_watch;
  ProgressBar m_bar;
  UHYPER m_before = 0; ///< Delivered by earlier streams.
  UHYPER m_done = 0;   ///< Delivered by the current one.
  bool m_begun = false;
  bool m_cancelled = false;
};
