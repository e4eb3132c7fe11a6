#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>

#include "commands.h"
#include "failure.h"
#include "files.h"
#include "output_file.h"
#include "sector_source.h"

namespace {

/// One track on its way into one file.
struct Extraction {
  unsigned session; ///< From 1, as the track.
  unsigned track;
  SectorRun run;
  std::string target;
};

/// Which sectors a track has, and which bytes of them are asked for.
SectorRun RunOfTrack(const ImageRecord& image, const TrackPlace& place, unsigned session, unsigned number, UINT size) {
  const ZSTRACK& track = image.Session(session).pZSTracks[number - 1];
  if (place.blockSize == 0) {
    throw Failure(image.Path(), Format("track %u has no block size, so its sectors cannot be told apart", number),
                  E_INVALIDARG);
  }
  const UINT whole = std::min<UINT>(place.blockSize, ZSFILEBLOCKSIZE_2352); // A sub-channel may follow it.
  if (track.Mode == ZSMODE_AUDIO && size != 0 && size != place.blockSize && size != whole) {
    throw Failure(
        image.Path(),
        Format("track %u is audio, and its sectors of %u bytes hold no smaller blocks; leave out --block-size", number,
               whole),
        E_INVALIDARG);
  }
  const UINT taken = size == 0 ? place.blockSize : size;
  const UINT offset = OffsetInSector(image.Info(), track, taken);
  if (taken > place.blockSize || offset > place.blockSize - taken) {
    throw Failure(image.Path(),
                  Format("track %u has sectors of %u bytes, which hold no block of %u bytes behind their first %u",
                         number, place.blockSize, taken, offset),
                  E_INVALIDARG);
  }
  return {place.begin, place.sectors, place.blockSize, offset, taken};
}

/// Copies a run to a file through the component, which reports neither a failed write nor a short image.
/// @return how many bytes were read. @throws Failure when fewer are in the file.
UHYPER CopyRun(const Host& host, const std::string& dataFile, const Extraction& work, Transfer* transfer,
               const OutputFile& file) {
  const ComPtr<IStream> stream = OpenRun(host, dataFile, work.run, transfer);
  SetLastError(ERROR_SUCCESS);
  Check(host.Sheets().ExtractStreamToFile(stream.Get(), Wide(file.HiddenPath()).get()), work.target);
  const DWORD error = GetLastError();
  const UHYPER written = FileSize(file.HiddenPath()).value_or(0);
  if (!transfer->IsCancelled() && (written < transfer->Done() || !transfer->HasBegun())) {
    throw WriteFailure(work.target, written, work.run.Bytes(), error);
  }
  return transfer->Done();
}

void Extract(const Host& host, const ImageRecord& image, const Extraction& work, bool force) {
  const std::string& dataFile = image.DataFile();
  image.RefuseOwnFiles(work.target);
  OutputFile file(work.target, work.run.Bytes(), force);
  Transfer transfer(Format("track %u", work.track), work.run.Bytes());
  RunEnd end{0, S_OK};
  if (file.HiddenPath().empty()) {
    end = ReadRun(host, dataFile, work.run, &transfer,
                  [&](const BYTE* data, std::size_t size) { file.Write(data, size); });
  } else {
    end.bytes = CopyRun(host, dataFile, work, &transfer, file);
  }
  if (transfer.IsCancelled()) {
    ThrowCancelled(work.target);
  }
  if (end.bytes < work.run.Bytes()) {
    ThrowReadFailure(dataFile, work.run, end);
  }
  file.Publish();
  if (!IsStandardOutput(work.target)) {
    std::printf("%s: session %u, track %u, %u sectors of %u bytes\n", TerminalText(work.target).c_str(), work.session,
                work.track, work.run.sectors, work.run.dataSize);
  }
}

int ExtractOne(const Host& host, const ImageRecord& image, const ExtractOptions& options) {
  const unsigned session = std::max(options.session, 1U);
  const unsigned count = image.Session(session).nTracks;
  if (options.track < 1 || options.track > count) {
    throw Failure(image.Path(),
                  Format("there is no track %u in session %u, which has %u; 'zsimage info' lists them", options.track,
                         session, count),
                  E_INVALIDARG);
  }
  const TrackPlace place = PlacesOfSession(image.Info(), session - 1)[options.track - 1];
  const Extraction work{session, options.track, RunOfTrack(image, place, session, options.track, options.blockSize),
                        options.output};
  Extract(host, image, work, options.force);
  return 0;
}

std::string TrackPath(const ExtractOptions& options, unsigned session, unsigned track) {
  return options.folder + Format("/session-%u-track-%02u.bin", session, track);
}

/// Whether going on with the next track makes no sense.
bool EndsAll(HRESULT code) { return code == kCancelled || code == HRESULT_FROM_WIN32(ERROR_DISK_FULL); }

void RemoveEmpty(const std::string& folder, bool isNew) {
  if (isNew) {
    rmdir(folder.c_str()); // Fails for a folder with files.
  }
}

int ExtractAll(const Host& host, const ImageRecord& image, const ExtractOptions& options) {
  const unsigned first = std::max(options.session, 1U);
  const unsigned last = options.session == 0 ? image.Info().nSessions : options.session;
  for (unsigned session = first; session <= last; ++session) {
    for (unsigned track = 1; track <= image.Session(session).nTracks; ++track) {
      RequireWritable(TrackPath(options, session, track), options.force);
    }
  }
  std::error_code error;
  const bool isNew = std::filesystem::create_directories(options.folder, error);
  if (error) {
    throw Failure(options.folder, "the folder cannot be made: " + error.message(), E_FAIL);
  }
  int status = 0;
  for (unsigned session = first; session <= last; ++session) {
    const std::vector<TrackPlace> places = PlacesOfSession(image.Info(), session - 1);
    for (unsigned track = 1; track <= places.size(); ++track) {
      try {
        const Extraction work{session, track, RunOfTrack(image, places[track - 1], session, track, options.blockSize),
                              TrackPath(options, session, track)};
        Extract(host, image, work, options.force);
      } catch (const Failure& failure) {
        if (EndsAll(failure.Code())) {
          RemoveEmpty(options.folder, isNew);
          throw;
        }
        status = failure.Report();
      }
    }
  }
  RemoveEmpty(options.folder, isNew);
  return status;
}

} // namespace

int RunExtract(const ExtractOptions& options) {
  const Host host;
  const ImageRecord image(host, options.path);
  image.RequireDataFile();
  return options.folder.empty() ? ExtractOne(host, image, options) : ExtractAll(host, image, options);
}
