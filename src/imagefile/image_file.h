/// @file
/// The object behind IZSImageFile.
#pragma once

#include "imagefile/image_file_interface.h"

/// Makes an image file object, plain or aggregated. @return As CreateObject (foundation/com_object.h);
/// ZSE_OUTOFRESOURCES when it cannot have its cue sheet service.
HRESULT CreateImageFileService(IUnknown* outer, REFIID iid, void** object) noexcept;
