/// @file
/// Runs of sectors out of an image, as streams of the component.
#pragma once

#include <functional>

#include "image/host.h"
#include "image/track_place.h"
#include "output/progress.h"

/// Equal sectors that follow each other in the sector file, and what to take of each.
struct SectorRun {
  UHYPER begin; ///< Byte of the first sector.
  ULONG sectors;
  UINT blockSize;  ///< Bytes from one sector to the next.
  UINT dataOffset; ///< Bytes of each sector to leave out.
  UINT dataSize;   ///< Bytes of each sector to take.

  UHYPER Bytes() const noexcept { return UHYPER{sectors} * dataSize; }
};

/// A stream over a run of the file `dataFile`, told to the transfer. @throws Failure.
ComPtr<IStream> OpenRun(const Host& host, const std::string& dataFile, const SectorRun& run, Transfer* transfer);

/// Takes a piece of a run.
using RunSink = std::function<void(const BYTE* data, std::size_t size)>;

/// How far a run was read.
struct RunEnd {
  UHYPER bytes;   ///< Fewer than the run's when the transfer was cancelled or the file cannot be read.
  HRESULT result; ///< Why the file cannot be read.
};

/// Gives a run to a sink in pieces of up to 111 sectors, whole as far as the file goes. @throws Failure.
RunEnd ReadRun(const Host& host, const std::string& dataFile, const SectorRun& run, Transfer* transfer,
               const RunSink& sink);

/// How many sectors of a run the data file lacks at its end.
ULONG MissingSectors(const std::string& dataFile, const SectorRun& run);

/// Ends a command because the data file ends before a run does, or cannot be read to its end.
[[noreturn]] void ThrowReadFailure(const std::string& dataFile, const SectorRun& run, const RunEnd& end);
