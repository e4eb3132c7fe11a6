#include <cstdio>
#include <filesystem>

#include "commands.h"
#include "failure.h"
#include "files.h"
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

/// Compares what was asked for with what became of it, because the component reports neither a failed write nor a
/// short image.
/// @param error What the system last refused, by GetLastError.
void JudgeResult(const std::string& dataFile, const Extraction& work, const Transfer& transfer, DWORD error) {
  if (transfer.IsCancelled()) {
    RemoveFile(work.target);
    ThrowCancelled(work.target);
  }
  const UHYPER wanted = work.run.Bytes();
  if (!transfer.HasBegun()) {
    throw WriteFailure(work.target, 0, wanted, error);
  }
  // The size of a device shows nothing; what was refused may be the reading when not all has been read.
  const bool isRefused = error != ERROR_SUCCESS && transfer.Done() == wanted;
  const UHYPER written = FileSize(work.target).value_or(isRefused ? 0 : wanted);
  if (written < transfer.Done()) {
    const Failure failure = WriteFailure(work.target, written, wanted, error);
    RemoveFile(work.target);
    throw failure;
  }
  if (transfer.Done() < wanted) {
    const bool nothing = transfer.Done() == 0;
    if (nothing) {
      RemoveFile(work.target);
    }
    ThrowReadFailure(dataFile, work.run, {transfer.Done(), S_OK},
                     nothing ? "" : "; the part that is there has been saved");
  }
}

void Extract(const Host& host, const ImageRecord& image, const Extraction& work) {
  const std::string dataFile = image.DataFile();
  image.RefuseOwnFiles(work.target);
  Transfer transfer(Format("track %u", work.track), work.run.Bytes());
  const ComPtr<IStream> stream = OpenRun(host, dataFile, work.run, &transfer);
  SetLastError(ERROR_SUCCESS);
  Check(host.Sheets().ExtractStreamToFile(stream.Get(), Wide(work.target).get()), work.target);
  JudgeResult(dataFile, work, transfer, GetLastError());
}

void ExtractToStandardOutput(const Host& host, const std::string& dataFile, const Extraction& work) {
  Transfer transfer(Format("track %u", work.track), work.run.Bytes());
  const RunEnd end = ReadRun(host, dataFile, work.run, &transfer, WriteStandardOutput);
  if (transfer.IsCancelled()) {
    throw Failure("standard output", "cancelled", kCancelled);
  }
  if (end.bytes < work.run.Bytes()) {
    ThrowReadFailure(dataFile, work.run, end);
  }
}

void Announce(const Extraction& work) {
  std::printf("%s: session %u, track %u, %u sectors of %u bytes\n", TerminalText(work.target).c_str(), work.session,
              work.track, work.run.sectors, work.run.dataSize);
}

int ExtractOne(const Host& host, const ImageRecord& image, const ExtractOptions& options) {
  const unsigned count = image.Session(options.session).nTracks;
  if (options.track < 1 || options.track > count) {
    throw Failure(image.Path(),
                  Format("there is no track %u in session %u, which has %u; 'zsimage info' lists them", options.track,
                         options.session, count),
                  E_INVALIDARG);
  }
  const TrackPlace place = PlacesOfSession(image.Info(), options.session - 1)[options.track - 1];
  const Extraction work{options.session, options.track,
                        RunOfTrack(image, place, options.session, options.track, options.blockSize), options.output};
  if (IsStandardStream(work.target)) {
    ExtractToStandardOutput(host, image.DataFile(), work);
  } else {
    Extract(host, image, work);
    Announce(work);
  }
  return 0;
}

void MakeFolder(const std::string& folder) {
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  if (error) {
    throw Failure(folder, "the folder cannot be made: " + error.message(), E_FAIL);
  }
}

/// Whether going on with the next track makes no sense.
bool EndsAll(HRESULT code) { return code == kCancelled || code == HRESULT_FROM_WIN32(ERROR_DISK_FULL); }

int ExtractAll(const Host& host, const ImageRecord& image, const ExtractOptions& options) {
  MakeFolder(options.folder);
  int status = 0;
  for (unsigned session = 1; session <= image.Info().nSessions; ++session) {
    const std::vector<TrackPlace> places = PlacesOfSession(image.Info(), session - 1);
    for (unsigned track = 1; track <= places.size(); ++track) {
      try {
        const Extraction work{session, track, RunOfTrack(image, places[track - 1], session, track, options.blockSize),
                              options.folder + Format("/session-%u-track-%02u.bin", session, track)};
        Extract(host, image, work);
        Announce(work);
      } catch (const Failure& failure) {
        if (EndsAll(failure.Code())) {
          throw;
        }
        status = failure.Report();
      }
    }
  }
  return status;
}

} // namespace

int RunExtract(const ExtractOptions& options) {
  const Host host;
  const ImageRecord image(host, options.path);
  image.RequireDataFile();
  return options.folder.empty() ? ExtractOne(host, image, options) : ExtractAll(host, image, options);
}
