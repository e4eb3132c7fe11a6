/// @file
/// Extraction of a track to a stream, and of a stream to a file.
#pragma once

#include "cuesheet/cue_sheet_interface.h"

/// Opens the data of a track, from index 1 to its end, as a stream that is read forward. Arguments and result are those
/// of IZSCueSheet::ExtractTrackToStream. A track that ends before it starts is empty. Throws std::bad_alloc.
HRESULT ExtractTrack(BSTR imageFile, BSTR label, const zsimagefileinfo& info, const ZSTRACK& track, UINT nBlockSizeData,
                     LONG* callBack, ULONG userParam, const VARIANT& user, IStream** stream);

/// Copies a stream to a file, which is replaced, until a read delivers no bytes. Failures of reads and writes are
/// ignored.
/// @return E_INVALIDARG for a null stream or an empty path; else 0, also if the file cannot be created. Throws
/// std::bad_alloc.
HRESULT CopyStreamToFile(IStream* stream, BSTR file);
