/// @file
/// Files that the tool reads. Paths are resolved as in the platform layer (platform/file_lookup.h).
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "platform/base_types.h"

std::filesystem::file_status StatusOf(const std::string& path);

/// Returns the bytes of a regular file or block device; none for everything else.
std::optional<UHYPER> FileSize(const std::string& path);

/// Returns whether two paths name the same existing file.
bool IsSameFile(const std::string& left, const std::string& right);

/// Returns the content of a file, or of standard input for "-". @throws Failure if it cannot be read or is longer than
/// `limit` bytes.
std::string ReadContent(const std::string& path, UHYPER limit);

/// Returns bytes from an offset; fewer, or none, if they cannot be read.
std::string ReadBytes(const std::string& path, UHYPER offset, std::size_t count);
