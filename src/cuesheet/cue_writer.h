/// @file
/// Writer of a session as CUE text.
#pragma once

#include <string>

#include "disc/records.h"

/// Writes a CUE sheet, replacing any file of this path. The sheet names a data file of the same name with .BIN instead
/// of .CUE, in upper case and without folder, and a .CDT file if there is CD-Text. Neither file is written. Lines end
/// in CR LF.
/// @return 0; E_FAIL if the file cannot be created. Failed writes are not reported. Throws std::bad_alloc.
HRESULT WriteCueFile(const std::string& path, const ZSCUESHEET& sheet);
