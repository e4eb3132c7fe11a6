/// @file
/// CloneCD descriptions.
#pragma once

#include <string>
#include <vector>

#include "builders/sectors.h"

/// Returns the description of a disc. Its image file is DiscSectors of the same disc, with sectors of 2352 bytes.
std::string CcdText(const DiscPlan& disc);

/// Returns a description in which a key has another value. A missing key is added to its section.
std::string WithValue(const std::string& text, const std::string& section, const std::string& key,
                      const std::string& value);

/// Returns a description without a key.
std::string WithoutKey(const std::string& text, const std::string& section, const std::string& key);

/// Returns a description with CD-Text packs of 18 bytes. The format omits their 2 check bytes.
std::string WithPacks(const std::string& text, const std::vector<BYTE>& packs);
