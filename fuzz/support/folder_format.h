/// @file
/// A folder of files as one input. Numbers are little-endian.
///
///     bytes  field of each file
///     1      index of the name in kNames, modulo their number
///     4      size of a file of sectors, if that is more than its bytes
///     4      offset of the first stored byte in a file of sectors; zeros before it are not stored
///     2      number of stored bytes
///     n      stored bytes
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/base_types.h"

namespace fuzz {

inline constexpr std::string_view kNames[] = {"DISC.CUE", "DISC.NRG", "DISC.CCD", "DISC.MDS", "DISC.ZSI",
                                              "DISC.ISO", "DISC.BWT", "DISC.B5T", "DISC.BIN", "DISC.CDT",
                                              "DISC.SUB", "DISC.IMG", "DISC.MDF", "DISC.CDG", "disc.bin"};

struct FolderFile {
  std::string name;
  std::string bytes;
  UHYPER size = 0; ///< At least the size of `bytes`.
};

/// Returns the files of an input. Bounds the offsets, since the zeros before them need memory.
std::vector<FolderFile> ParseFolder(std::string_view input);

/// Appends a file to an input. The bytes before `offset` are not stored and must be zero.
void AppendFile(std::string_view name, std::string_view bytes, ULONG size, ULONG offset, std::string* input);

} // namespace fuzz
