/// @file
/// Names of companion files. Paths are narrow text of any length; extensions include their dot.
#pragma once

#include <string>
#include <string_view>

/// Returns whether the look-up that failed just now does not show that the name is free: no permission, a device error,
/// too many open files. The companion then counts as present, so that whoever opens it reports the reason.
/// @throws std::bad_alloc if the look-up was out of memory.
bool LookupWasHindered();

/// Returns whether a path names a file or may name one. Wildcards are letters of the name. @throws std::bad_alloc.
bool FileExists(const std::string& path);

/// Replaces the extension if a file of the new name exists. False, with the path unchanged, if none does.
bool RenameExtensionIfExists(std::string* path, std::string_view extension);

/// Replaces the extension, or adds it to a path that has none.
void RenameExtension(std::string* path, std::string_view extension);

/// Replaces the last component.
void ReplaceFileName(std::string* path, std::string_view name);

/// Returns whether the path has the extension, in any case. Here the dot may be left out.
bool HasExtension(std::string_view path, std::string_view extension);
