/// @file
/// Ctrl-C, SIGTERM and SIGHUP as requests, which a command polls.
#pragma once

/// While an InterruptWatch exists, these signals are recorded and do not end the process.
class InterruptWatch {
public:
  InterruptWatch();
  InterruptWatch(const InterruptWatch&) = delete;
  InterruptWatch& operator=(const InterruptWatch&) = delete;
  ~InterruptWatch();

  /// Returns whether a signal has arrived since the tool was started.
  static bool Requested() noexcept;
};
