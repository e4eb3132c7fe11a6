/// @file
/// CloneCD descriptions.
#pragma once

#include <string>
#include <vector>

#include "builders/sectors.h"

/// A description of a disc, as text. Its image is DiscSectors of the same disc; all sectors have 2352 bytes.
std::string CcdText(const DiscPlan& disc);

/// The same text with another value of a key, which is added to its section when it is not there.
std::string WithValue(const std::string& text, const std::string& section, const std::string& key,
                      const std::string& value);

/// The same text without a key.
std::string WithoutKey(const std::string& text, const std::string& section, const std::string& key);

/// The same text with CD-Text packs of 18 bytes, check bytes left out as the format does.
std::string WithPacks(const std::string& text, const std::vector<BYTE>& packs);
