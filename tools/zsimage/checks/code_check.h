/// @file
/// Codes of tracks and discs.
#pragma once

#include "checks/findings.h"

/// Checks the recording code of a track (ISO 3901): country, owner, year and number, 12 characters. Empty text is
/// valid.
void CheckIsrc(const std::string& isrc, Findings* findings);

/// Checks the catalogue number of a disc: 13 digits, of which the last is a check digit (EAN-13). Empty text is valid.
void CheckCatalogue(const std::string& catalogue, Findings* findings);
