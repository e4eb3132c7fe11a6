/// @file
/// The registry as text.
#pragma once

#include "platform/registry.h"

inline constexpr const char* kClassesRootName = "HKEY_CLASSES_ROOT";
inline constexpr const char* kCurrentUserName = "HKEY_CURRENT_USER";

namespace platform {

/// Adds what a text describes to an empty registry. False when the text breaks a rule.
bool ParseRegistry(std::string_view text, RegistryKey* registry);

/// The text of a registry, in the order of names.
std::string FormatRegistry(const RegistryKey& registry);

} // namespace platform
