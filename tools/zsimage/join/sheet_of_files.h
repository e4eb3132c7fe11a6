/// @file
/// CUE sheets of any number of files, parsed by libcue.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "image/host.h"

/// What a sheet says. Nothing is known about its files yet.
struct SheetOfFiles {
  struct File {
    std::string name; ///< As the sheet has it. Narrow text.
    bool isRaw;       ///< BINARY or MOTOROLA; otherwise a sound file.
    bool isSwapped;   ///< MOTOROLA: the two bytes of each sample are in the other order.
    unsigned line;    ///< Of the FILE line.
  };
  /// Where a track or its pregap begins.
  struct Mark {
    std::size_t track; ///< Index, as `file`.
    bool isPregap;     ///< INDEX 00; otherwise INDEX 01.
    std::size_t file;  ///< Another one than the track's own for a pregap at the end of the file before.
    ULONG sector;      ///< In the file.
  };
  /// Silence that is in no file.
  struct Gaps {
    ULONG before = 0; ///< PREGAP.
    ULONG after = 0;  ///< POSTGAP.
  };

  std::vector<File> files;
  std::vector<Mark> marks;     ///< In the order of the sheet: of each track INDEX 00, if it has one, and INDEX 01.
  std::vector<Gaps> gaps;      ///< Of each track.
  std::set<std::string> notes; ///< What the image will lack, as sentences without a full stop.
  UniqueSheet record;          ///< Texts, codes, flags, modes and sizes of sectors. Positions are not in it.
};

/// Reads a sheet. Texts of a .cdt file beside it replace its own, as in any sheet.
/// @throws Failure that names the line that cannot be understood.
SheetOfFiles ReadSheetOfFiles(const Host& host, const std::string& path);
