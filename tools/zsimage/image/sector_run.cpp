#include "image/sector_run.h"

#include <fmt/format.h>

#include "files/input_file.h"
#include "output/failure.h"
#include "output/terminal_text.h"

namespace {

ComPtr<IStream> OpenRun(const Host& host, const std::string& dataFile, const SectorRun& run) {
  // A record of this run alone, which has the fields that the stream reads.
  zsimagefileinfo info{};
  info.dwSeekBegin64 = run.begin;
  info.nSubCount = static_cast<USHORT>(run.dataOffset);
  ZSTRACK track{};
  track.dwEndLBA = run.sectors;
  track.BlockSize = static_cast<ZSFILEBLOCKSIZECUE>(run.blockSize);
  VARIANT nothing;
  VariantInit(&nothing);
  ComPtr<IStream> stream;
  const HRESULT result = host.Sheets().ExtractTrackToStream(Wide(dataFile).get(), nullptr, &info, &track, run.dataSize,
                                                            nullptr, 0, nothing, stream.Receive());
  Check(result, dataFile,
        result == S_FALSE ? "the data file cannot be opened, or the track is beyond the end of any file" : "");
  return stream;
}

} // namespace

void ReadRun(const Host& host, const std::string& dataFile, const SectorRun& run, ProgressBar* progress,
             const RunSink& sink) {
  constexpr ULONG kSectorsAtOnce = 111;
  const ComPtr<IStream> stream = OpenRun(host, dataFile, run);
  std::vector<BYTE> buffer(std::size_t{kSectorsAtOnce} * run.dataSize);
  UHYPER bytes = 0;
  HRESULT failure = S_OK;
  for (ULONG bytesRead = 1; bytesRead != 0; bytes += bytesRead) {
    const HRESULT result = stream->Read(buffer.data(), static_cast<ULONG>(buffer.size()), &bytesRead);
    failure = FAILED(result) && failure == S_OK ? result : failure;
    sink(buffer.data(), bytesRead);
    progress->Advance(bytesRead);
  }
  if (bytes < run.Bytes()) {
    RequireSectors(dataFile, run);
    throw Failure(dataFile, fmt::format("the file cannot be read at sector {} of the track", bytes / run.dataSize),
                  FAILED(failure) ? failure : HRESULT_FROM_WIN32(ERROR_IO_DEVICE));
  }
}

ULONG MissingSectors(const std::string& dataFile, const SectorRun& run) {
  const UHYPER size = FileSize(dataFile).value_or(0);
  if (run.sectors == 0) {
    return 0;
  }
  // The last sector is present if the file has those of its bytes that are read.
  const UHYPER lead = run.begin + run.dataOffset;
  if (lead < run.begin || size < lead || size - lead < run.dataSize) {
    return run.sectors;
  }
  const UHYPER present = (size - lead - run.dataSize) / run.blockSize + 1;
  return present >= run.sectors ? 0 : run.sectors - static_cast<ULONG>(present);
}

void RequireSectors(const std::string& dataFile, const SectorRun& run) {
  const ULONG missing = MissingSectors(dataFile, run);
  if (missing == run.sectors) {
    throw Failure(dataFile, "the file ends before the track begins", ERROR_HANDLE_EOF);
  }
  if (missing != 0) {
    const UHYPER over = (FileSize(dataFile).value_or(0) - run.begin) % run.blockSize;
    throw Failure(dataFile,
                  fmt::format("the file ends before the track does: {} of its {} are missing{}; "
                              "'zsimage extract --partial' saves the others",
                              missing, Counted(run.sectors, "sector"),
                              over == 0 ? "" : " and " + Counted(over, "byte") + " are over"),
                  ERROR_HANDLE_EOF);
  }
}
