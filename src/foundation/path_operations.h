/// @file
/// Names of companion files. Paths are narrow text of any length; extensions include their dot.
#pragma once

#include <string>
#include <string_view>

/// Whether the look-up that has just failed says nothing about the name: no permission, a device error, no descriptor.
/// A companion then counts as present: whoever opens it reports the reason instead of going on without it.
/// @throws std::bad_alloc if memory was what it lacked.
bool LookupWasHindered();

/// Whether a path names something, or might. Wildcards are letters of the name. @throws std::bad_alloc.
bool FileExists(const std::string& path);

/// Replaces the extension if a file of the new name exists. False, with the path unchanged, if none does.
bool RenameExtensionIfExists(std::string* path, std::string_view extension);

/// Replaces the extension, or adds it to a path that has none.
void RenameExtension(std::string* path, std::string_view extension);

/// Replaces the last component by another name.
void ReplaceFileName(std::string* path, std::string_view name);

/// Whether the path has the extension, without regard to case. A leading dot may be given or left out.
bool HasExtension(std::string_view path, std::string_view extension);
