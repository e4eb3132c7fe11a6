/// @file
/// Files that the tool reads. Paths are resolved as in the platform layer (platform/file_lookup.h).
#pragma once

#include <filesystem>
#include <string>

#include "platform/files.h"

std::filesystem::file_status StatusOf(const std::string& path);

using platform::FileSize, platform::IsSameFile;

/// Returns the content of a file, or of standard input for "-". @throws Failure if it cannot be read or is longer than
/// `limit` bytes.
std::string ReadContent(const std::string& path, UHYPER limit);

/// Returns bytes from an offset; fewer, or none, if they cannot be read.
std::string ReadBytes(const std::string& path, UHYPER offset, std::size_t count);

/// Returns the kind of a sound file by its first bytes: RIFF, FORM or fLaC. Empty for any other file.
std::string SoundFileType(const std::string& path);
