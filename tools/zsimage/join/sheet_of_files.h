/// @file
/// CUE sheets of any number of files, parsed by libcue.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "image/host.h"

/// Content of a sheet. Its files have not been opened yet.
struct SheetOfFiles {
  struct File {
    std::string name; ///< As spelled in the sheet. Narrow text.
    bool isRaw;       ///< BINARY or MOTOROLA; otherwise a sound file.
    bool isSwapped;   ///< MOTOROLA: the two bytes of each sample are in the other order.
    unsigned line;    ///< Number of the FILE line.
  };
  /// Where a track or its pregap begins.
  struct Mark {
    std::size_t track; ///< Index of the track.
    bool isPregap;     ///< INDEX 00; otherwise INDEX 01.
    std::size_t file;  ///< Index in `files`. A pregap may be at the end of the file before its track's.
    ULONG sector;      ///< Position in the file.
  };
  /// Silence that is in no file.
  struct Gaps {
    ULONG before = 0; ///< PREGAP.
    ULONG after = 0;  ///< POSTGAP.
  };

  std::vector<File> files;
  std::vector<Mark> marks;     ///< In the order of the sheet: of each track INDEX 00, if it has one, and INDEX 01.
  std::vector<Gaps> gaps;      ///< One for each track.
  std::set<std::string> notes; ///< What the image will lack, as sentences without a full stop.
  UniqueSheet record;          ///< Texts, codes, flags, modes and sizes of sectors. No positions.
};

/// Reads a sheet. Texts of a .cdt file in the same folder replace those of the sheet.
/// @throws Failure that names the line that cannot be parsed.
SheetOfFiles ReadSheetOfFiles(const Host& host, const std::string& path);
