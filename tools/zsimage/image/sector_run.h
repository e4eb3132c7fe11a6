/// @file
/// Reads sectors of an image through streams of the component.
#pragma once

#include <functional>
#include <string>

#include "image/host.h"
#include "output/progress_bar.h"

/// Sectors of one size that follow each other in the data file, and the bytes that are read from each.
struct SectorRun {
  UHYPER begin; ///< Byte of the first sector.
  ULONG sectors;
  UINT blockSize;  ///< Bytes from one sector to the next.
  UINT dataOffset; ///< Bytes at the start of each sector that are left out.
  UINT dataSize;   ///< Bytes that are read from each sector.

  UHYPER Bytes() const noexcept { return UHYPER{sectors} * dataSize; }
};

/// Receives a piece of a run: whole sectors, except at the end of the file.
using RunSink = std::function<void(const BYTE* data, std::size_t size)>;

/// Reads a run in pieces of up to 111 sectors. @throws Failure if the file cannot be opened or read, or ends too early.
void ReadRun(const Host& host, const std::string& dataFile, const SectorRun& run, ProgressBar* progress,
             const RunSink& sink);

/// Returns how many sectors of a run are after the end of the data file.
ULONG MissingSectors(const std::string& dataFile, const SectorRun& run);

/// @throws Failure if the data file ends before the run does. A run without sectors is treated as one after the end.
void RequireSectors(const std::string& dataFile, const SectorRun& run);
