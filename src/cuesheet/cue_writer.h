/// @file
/// A session as CUE text.
#pragma once

#include <string>

#include "disc/records.h"

/// Writes a CUE sheet of this very path, replacing any file there. The sheet names a data file of the same name
/// with .BIN in place of .CUE, upper case and without folder; with CD-Text, which the text itself does not carry,
/// also a .CDT file. Neither is made. Lines end in CR LF.
/// @return 0; E_FAIL when the file cannot be created. Failed writes go unnoticed. Throws std::bad_alloc.
HRESULT WriteCueFile(const std::string& path, const ZSCUESHEET& sheet);
