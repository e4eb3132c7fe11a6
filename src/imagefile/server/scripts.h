/// @file
/// The registration scripts (imagefile/server/registrar.h), whose text stands beside this file in `.rgs` files.
#pragma once

#include <string_view>

/// The class ZSImageFile. Names to replace: MODULE, the path of the library.
extern const std::string_view kImageFileScript;
/// The class ZSCueSheet, with the same names.
extern const std::string_view kCueSheetScript;
/// A type library. Names: LIBRARY, its identifier; NAME; PLATFORM, which programs can load it; MODULE; RESOURCE, its
/// number in the library; FOLDER, where the library lies.
extern const std::string_view kTypeLibraryScript;
