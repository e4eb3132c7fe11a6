/// @file
/// One track of an image as a stream, and a stream as a file.
#pragma once

#include "cuesheet/cue_sheet_interface.h"

/// Opens the data of a track, index 1 up to its end, as a stream that can only be read forward.
/// Arguments as those of IZSCueSheet::ExtractTrackToStream. Positions and lengths are computed in 64 bits; a track
/// that ends before it starts is empty, and what the file lacks of a track is not delivered.
/// @return 0, with one reference in `*stream` that the caller owns; 1 when the file does not open, the block size
/// is above the sector's or above 2448, or the start is no position in a file; E_OUTOFMEMORY when the stream
/// cannot be made. `*stream` is null on every failure. Throws std::bad_alloc.
HRESULT ExtractTrack(BSTR imageFile, BSTR label, const zsimagefileinfo& info, const ZSTRACK& track, UINT nBlockSizeData,
                     LONG* callBack, ULONG userParam, const VARIANT& user, IStream** stream);

/// Copies all that a stream delivers to a new file, until it delivers nothing. The results of its reads and of the
/// writes are not looked at.
/// @return E_INVALIDARG for a null stream or an empty path; else 0, also when the file cannot be created.
/// Throws std::bad_alloc.
HRESULT PumpStream(IStream* stream, BSTR file);
