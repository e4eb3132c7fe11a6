/// @file
/// Why a file could not be created or filled.
#pragma once

#include <string>

#include "output/failure.h"

/// Returns the number that GetLastError has for a value of errno.
DWORD SystemError(int error);

/// Explains a failure by what is at the path: missing folder, no permission, full disk.
/// @param error Number of the error that the open or write reported. @param written Bytes that are in the file.
/// @param size Bytes that it should have.
Failure WriteFailure(const std::string& path, DWORD error, UHYPER written = 0, UHYPER size = 0);
