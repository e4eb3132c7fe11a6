#include "image/sector_run.h"

#include <fmt/format.h>

#include "files/input_file.h"
#include "output/failure.h"
#include "output/terminal_text.h"

void ReadRun(const imagefile::Image& image, const SectorRun& run, ProgressBar* progress, const RunSink& sink) {
  constexpr std::size_t kSectorsAtOnce = 111;
  imagefile::TrackStream stream = image.Stream(run);
  std::vector<std::byte> buffer(kSectorsAtOnce * run.dataSize);
  const auto read = [&] {
    try {
      return stream.Read(buffer);
    } catch (const imagefile::Error& error) {
      RequireSectors(image.DataFile(), run);
      Fail(image.DataFile(), error.Code(), "the file cannot be read at sector {} of the track",
           stream.DoneBytes() / run.dataSize);
    }
  };
  while (const std::size_t count = read()) {
    sink(reinterpret_cast<const BYTE*>(buffer.data()), count);
    progress->Advance(count);
  }
}

ULONG MissingSectors(UHYPER size, const SectorRun& run) {
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
  const UHYPER size = FileSize(dataFile).value_or(0);
  const ULONG missing = MissingSectors(size, run);
  if (missing == run.sectors) {
    throw Failure(dataFile, "the file ends before the track begins", ERROR_HANDLE_EOF);
  }
  if (missing != 0) {
    const UHYPER over = (size - run.begin) % run.blockSize;
    throw Failure(dataFile,
                  fmt::format("the file ends before the track does: {} of its {} are missing{}; "
                              "'zsimage extract --partial' saves the others",
                              missing, Counted(run.sectors, "sector"),
                              over == 0 ? "" : " and " + Counted(over, "byte") + " are over"),
                  ERROR_HANDLE_EOF);
  }
}
