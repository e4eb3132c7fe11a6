/// @file
/// A folder of files as one input.
///
/// Each file begins with one byte for its name, four for the size that it is given at least, four for the place of its
/// first byte, and two for the number of bytes that follow; numbers are little-endian.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/base_types.h"

namespace fuzz {

/// The names of files, by their byte, which counts through them again and again.
inline constexpr std::string_view kNames[] = {"DISC.CUE", "DISC.NRG", "DISC.CCD", "DISC.MDS", "DISC.ZSI",
                                              "DISC.ISO", "DISC.BWT", "DISC.B5T", "DISC.BIN", "DISC.CDT",
                                              "DISC.SUB", "DISC.IMG", "DISC.MDF", "DISC.CDG", "disc.bin"};

struct FolderFile {
  std::string name;
  std::string bytes;
  UHYPER size = 0; ///< At least the size of `bytes`.
};

/// The files of an input, as far as it goes. Sizes and places are bounded where their memory would count.
std::vector<FolderFile> CutFolder(std::string_view input);

/// The bytes of one file at the end of an input. The bytes before `place` are left out and must be zero.
void AppendFile(std::string_view name, std::string_view bytes, ULONG size, ULONG place, std::string* input);

} // namespace fuzz
