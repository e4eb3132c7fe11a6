/// @file
/// Files of CD-Text packs.
#pragma once

#include <string>
#include <string_view>

#include "checks/findings.h"
#include "platform/base_types.h"

inline constexpr std::size_t kPackBytes = 18;         ///< Bytes of one pack (MMC).
inline constexpr UHYPER kLargestPackFile = 16U << 20; ///< Far more than the lead-in of a disc holds.

struct PackFile {
  std::string packs; ///< Bytes, as in a .cdt file. Packs in sub-channel form are joined, each of them once.
  Findings findings;
  unsigned tracks = 0; ///< Last track according to the size packs; 0 without size packs.

  /// Returns the words of the first fault; empty if there is none.
  std::string FirstFault() const;
};

/// Reads a file of packs, or standard input for "-", and checks it. @throws Failure if it cannot be read.
PackFile ReadPackFile(const std::string& path);

/// Checks the number of packs and their check bytes (Red Book). Packs without check bytes have zeros instead.
void CheckPacks(std::string_view packs, Findings* findings);
