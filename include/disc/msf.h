/// @file
/// Times on a disc: minutes, seconds and frames, 75 frames to a second (Red Book), and sector numbers (MMC).
#pragma once

#include "platform/base_types.h"

inline constexpr LONG kFramesPerSecond = 75;                    ///< Sectors of one second.
inline constexpr LONG kFramesPerMinute = 60 * kFramesPerSecond; ///< Sectors of one minute.
/// Sectors of the pause before LBA 0: the time 00:02:00 is LBA 0.
inline constexpr LONG kPause = 150;
inline constexpr ULONG kNoTime = 0xFFFFFFFF; ///< Result for a position that has no time.

/// Returns the sector number of a time. Each number is cut to 8 bits. From 90 minutes on, times belong to the lead-in
/// and yield negative positions.
constexpr LONG MsfToLba(LONG minutes, LONG seconds, LONG frames) noexcept {
  const LONG m = minutes & 0xFF;
  const LONG lba = m * kFramesPerMinute + (seconds & 0xFF) * kFramesPerSecond + (frames & 0xFF);
  return m < 90 ? lba - kPause : lba - 450150;
}

/// Returns the time of a sector number, packed as 0x00MMSSFF; kNoTime outside -45150 to 449699.
constexpr ULONG LbaToMsf(LONG lba) noexcept {
  if (lba < -45150 || lba > 449699) {
    return kNoTime;
  }
  const LONG frames = lba < -kPause ? lba + 450150 : lba + kPause;
  const LONG seconds = frames % kFramesPerMinute / kFramesPerSecond;
  return static_cast<ULONG>((frames / kFramesPerMinute << 16) | (seconds << 8) | frames % kFramesPerSecond);
}

/// Minutes of a packed time, 0 to 255.
constexpr ULONG MinutesOf(ULONG msf) noexcept { return (msf >> 16) & 0xFF; }
/// Seconds of a packed time.
constexpr ULONG SecondsOf(ULONG msf) noexcept { return (msf >> 8) & 0xFF; }
/// Frames of a packed time.
constexpr ULONG FramesOf(ULONG msf) noexcept { return msf & 0xFF; }
