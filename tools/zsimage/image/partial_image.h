/// @file
/// Images whose data file is not a whole number of sectors.
#pragma once

#include <string>

#include "image/image_record.h"

/// Returns the path of the data file that a sheet names: empty for an empty name, and the sheet itself if no line names
/// one.
std::string DataFileOfSheet(const Host& host, const std::string& path);

/// Reads a sheet or an ISO image whose data file ends inside a sector, which the component refuses or reads as an image
/// without sectors. The last track may end after the data file. @return the component's result.
HRESULT ReadPartialImage(const Host& host, const std::string& path, zsimagefileinfo* info);

/// Says how many bytes follow the last whole sector of such a data file, and what to do.
std::string OddSizeWords(const Host& host, const std::string& path);

/// Says why the sectors of an image have no size.
std::string SizelessWords(const Host& host, const ImageRecord& image);
