/// @file
/// Why an image does not open, in words that help, and one that opens all the same.
#pragma once

#include <string>

#include "image/host.h"

/// The data file that a sheet names: empty for an empty name, and the sheet itself when no line names any.
std::string NamedBySheet(const Host& host, const std::string& path);

/// What is wrong with the image of a path for which GetImageFileInfo answered `result`, and what to do about it.
/// Looks at the path and the files that belong to it; UTF-8, without the path itself.
std::string ExplainOpenFailure(const Host& host, const std::string& path, HRESULT result);

/// Reads an image whose data file is no whole number of sectors, a sheet or an ISO image, which the component refuses
/// or reads as one without sectors. Its last track may end after the data file. @return the component's result.
HRESULT ReadPartialImage(const Host& host, const std::string& path, zsimagefileinfo* info);

/// How many bytes of its data file are over, and how to go on.
std::string OddSizeWords(const Host& host, const std::string& path);
/// Why sectors of an image that was read have no size.
std::string SizelessWords(const Host& host, const ImageRecord& image);
