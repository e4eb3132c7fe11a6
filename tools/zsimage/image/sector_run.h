/// @file
/// Reads sectors of an image.
#pragma once

#include <functional>
#include <string>

#include "imagefile/disc_image.h"
#include "output/progress_bar.h"

using imagefile::SectorRun;

/// Receives a piece of a run: whole sectors, except at the end of the file.
using RunSink = std::function<void(const BYTE* data, std::size_t size)>;

/// Reads a run in pieces of up to 111 sectors. @throws Failure if the file cannot be opened or read, or ends too early.
void ReadRun(const imagefile::Image& image, const SectorRun& run, ProgressBar* progress, const RunSink& sink);

/// Returns how many sectors of a run are after the end of a data file of `size` bytes.
ULONG MissingSectors(UHYPER size, const SectorRun& run);

/// @throws Failure if the data file ends before the run does. A run without sectors is treated as one after the end.
void RequireSectors(const std::string& dataFile, const SectorRun& run);
