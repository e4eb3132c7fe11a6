/// @file
/// Ctrl-C, SIGTERM and the end of the terminal, as requests that a command notices in its own time.
#pragma once

/// While one exists, these signals are noted and end nothing by themselves.
class InterruptWatch {
public:
  InterruptWatch();
  InterruptWatch(const InterruptWatch&) = delete;
  InterruptWatch& operator=(const InterruptWatch&) = delete;
  ~InterruptWatch();

  /// Whether a signal has arrived since the tool was started.
  static bool Requested() noexcept;
};
