/// @file
/// What a check found.
#pragma once

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

struct Finding {
  const char* kind; ///< One word for programs, such as "edc".
  bool isFault;     ///< False for a remark: the image is still good.
  std::string words;
};
using Findings = std::vector<Finding>;

inline Finding Fault(const char* kind, std::string words) { return {kind, true, std::move(words)}; }
inline Finding Remark(const char* kind, std::string words) { return {kind, false, std::move(words)}; }

/// Returns the number of faults.
inline std::size_t FaultsIn(const Findings& findings) {
  return static_cast<std::size_t>(
      std::count_if(findings.begin(), findings.end(), [](const Finding& finding) { return finding.isFault; }));
}
