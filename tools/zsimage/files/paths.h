/// @file
/// Parts of paths, which are narrow text.
#pragma once

#include <string>
#include <string_view>

/// Whether a path ends with an extension, dot included, in any case.
bool HasExtension(std::string_view path, std::string_view extension);

/// Returns the folder of a path; "." if it names none.
std::string FolderOf(const std::string& path);
/// Returns what follows the folder.
std::string FileName(const std::string& path);

/// Returns a path with another name after its folder.
std::string Beside(const std::string& path, std::string_view name);
/// Returns a path with another extension, dot included.
std::string WithExtension(std::string path, std::string_view extension);

/// Returns a path as the disk spells it; unchanged if there is no such file.
std::string SpelledOnDisk(const std::string& path);
