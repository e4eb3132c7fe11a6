/// @file
/// An image as a page for a person: what the disc is, and one line for each track.
#pragma once

#include "image/host.h"

/// Prints the whole page.
void PrintImage(const Host& host, const ImageRecord& image);

/// Prints the texts of a disc and the lines of its tracks.
void PrintSheet(const ZSCUESHEET& sheet);
