/// @file
/// Files of CD-Text packs.
#pragma once

#include <string>
#include <vector>

#include "checks/findings.h"

struct PackFile {
  std::vector<BYTE> packs; ///< As in a .cdt file. Packs in sub-channel form are put together, once each.
  Findings findings;
  unsigned tracks; ///< Last track that the size packs name; 0 without size packs.

  /// The first fault in words; empty when there is none.
  std::string Fault() const;
};

/// Reads a file of packs, "-" for standard input, and checks them. @throws Failure when it cannot be read.
PackFile ReadPackFile(const std::string& path);
