/// @file
/// What a check found, and where.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "platform/base_types.h"

struct Finding {
  const char* kind; ///< One word for programs, such as "edc".
  bool isFault;     ///< Else something to know, with which an image is still good.
  std::string words;
};
using Findings = std::vector<Finding>;

/// Number of faults among them.
inline std::size_t FaultsIn(const Findings& findings) {
  return static_cast<std::size_t>(
      std::count_if(findings.begin(), findings.end(), [](const Finding& finding) { return finding.isFault; }));
}

/// Recording code of a track (ISO 3901): country, owner, year and number, 12 characters. Empty text is none.
void CheckIsrc(std::string_view isrc, Findings* findings);

/// Catalogue number of a disc: 13 digits, of which the last is a check digit (EAN-13). Empty text is none.
void CheckCatalogue(std::string_view catalogue, Findings* findings);

/// The number and the check bytes of CD-Text packs (Red Book): 18 bytes each. Packs without check bytes have zeros
/// there.
void CheckPacks(const std::vector<BYTE>& packs, Findings* findings);
