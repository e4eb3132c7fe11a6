/// @file
/// Writer of a session as CUE text.
#pragma once

#include <string>

#include "disc/records.h"

/// Writes a CUE sheet to a file, which is replaced. The sheet names a data file: its own name in upper case, with .BIN
/// instead of .CUE and without folder. If there is CD-Text, it names a .CDT file in the same way. Neither file is
/// written. Lines end in CR LF.
/// @return 0; E_FAIL if the file cannot be created. Failed writes are not reported. Throws std::bad_alloc.
HRESULT WriteCueFile(const std::string& path, const ZSCUESHEET& sheet);
