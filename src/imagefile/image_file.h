/// @file
/// Implementation of IZSImageFile.
#pragma once

#include "imagefile/image_file_interface.h"

/// Creates an image file object, plain or aggregated. @return As CreateObject (foundation/com_object.h);
/// ZSE_OUTOFRESOURCES if its cue sheet service cannot be created.
HRESULT CreateImageFileService(IUnknown* outer, REFIID iid, void** object) noexcept;
