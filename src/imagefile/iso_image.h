/// @file
/// Plain sector files.
#pragma once

#include "readers/readers.h"

/// A plain sector file: one session of one track. The disc is taken for data without a look, and gets no
/// identifier. Contract as in readers/readers.h. @return ZSE_OUTOFRESOURCES, ZSE_BADIMAGE.
HRESULT ReadIsoImage(IZSCueSheet* service, const std::string& path, zsimagefileinfo* info);
