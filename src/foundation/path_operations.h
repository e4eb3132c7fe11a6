/// @file
/// Paths of companion files, and whether they exist. Paths are narrow text of any length; extensions include their dot.
#pragma once

#include <string>
#include <string_view>

/// Returns whether the look-up that has just failed leaves open whether the file exists, because of missing permission,
/// a device error, or too many open files. Such a file counts as present, so that opening it reports the reason.
/// @throws std::bad_alloc if the look-up was out of memory.
bool LookupWasInconclusive();

/// Returns whether a file exists, or whether the look-up leaves that open. Wildcards are ordinary characters.
/// @throws std::bad_alloc.
bool FileExists(const std::string& path);

/// Replaces the extension if a file of the new name exists. Otherwise returns false, with the path unchanged.
bool RenameExtensionIfExists(std::string* path, std::string_view extension);

/// Replaces the extension, or adds it to a path that has none.
void RenameExtension(std::string* path, std::string_view extension);

/// Replaces the last component.
void ReplaceFileName(std::string* path, std::string_view name);

/// Returns whether the path has the extension, in any case. `extension` may lack its dot.
bool HasExtension(std::string_view path, std::string_view extension);
