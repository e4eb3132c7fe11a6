/// @file
/// The text of the registry's file.
#pragma once

#include "platform/registry.h"

inline constexpr const char* kClassesRootName = "HKEY_CLASSES_ROOT";
inline constexpr const char* kCurrentUserName = "HKEY_CURRENT_USER";

namespace platform {

/// Parses a text into an empty registry. Returns false if the text breaks a rule.
bool ParseRegistry(std::string_view text, RegistryKey* registry);

/// Returns the text of a registry, in the order of names.
std::string FormatRegistry(const RegistryKey& registry);

} // namespace platform
