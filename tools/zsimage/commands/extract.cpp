#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "commands/commands.h"
#include "files/files.h"
#include "files/output_file.h"
#include "image/disc_words.h"
#include "image/explain.h"
#include "image/sector_source.h"
#include "output/failure.h"
#include "output/standard_output.h"

namespace {

/// One track on its way into one file.
struct Job {
  unsigned session; ///< From 1, as the track.
  unsigned track;
  TrackPlace place;
  std::string target;
};

/// The track that is asked for, or all.
std::vector<Job> PlanJobs(const ImageRecord& image, const ExtractOptions& options) {
  const bool all = !options.folder.empty();
  const unsigned first = std::max(options.session, 1U);
  std::vector<Job> jobs;
  for (unsigned session = first; session <= (all && options.session == 0 ? image.Info().nSessions : first); ++session) {
    unsigned track = 0;
    for (const TrackPlace& place : image.Places(session)) {
      const std::string name = options.folder + Format("/session-%u-track-%02u.bin", session, ++track);
      if (all || track == options.track) {
        jobs.push_back({session, track, place, all ? name : options.output});
      }
    }
    if (!all && jobs.empty()) {
      throw Failure(image.Path(),
                    Format("there is no track %u in session %u, which has %u; 'zsimage info' lists them", options.track,
                           session, track),
                    E_INVALIDARG);
    }
  }
  return jobs;
}

/// Which sectors a track has, and which bytes of them are asked for.
SectorRun RunOfTrack(const Host& host, const ImageRecord& image, const Job& job, const ExtractOptions& options) {
  const TrackPlace& place = job.place;
  const ZSTRACK& track = image.Session(job.session).pZSTracks[job.track - 1];
  const UINT size = options.blockSize;
  if (place.blockSize == 0) {
    throw Failure(image.Path(), SizelessWords(host, image), ZSE_FAILED);
  }
  const UINT whole = std::min<UINT>(place.blockSize, ZSFILEBLOCKSIZE_2352); // A sub-channel may follow it.
  if (track.Mode == ZSMODE_AUDIO && size != 0 && size != place.blockSize && size != whole) {
    throw Failure(
        image.Path(),
        Format("track %u is audio, and its sectors of %u bytes hold no smaller blocks; leave out --block-size",
               job.track, whole),
        E_INVALIDARG);
  }
  SectorRun run{place.begin, place.sectors, place.blockSize, 0, size == 0 ? place.blockSize : size};
  run.dataOffset = OffsetInSector(image.Info(), track, run.dataSize);
  if (run.dataSize > place.blockSize || run.dataOffset > place.blockSize - run.dataSize) {
    throw Failure(image.Path(),
                  Format("track %u has sectors of %u bytes, which hold no block of %u bytes after their first %u",
                         job.track, place.blockSize, run.dataSize, run.dataOffset),
                  E_INVALIDARG);
  }
  const ULONG missing = place.sectors == 0 ? place.missing : MissingSectors(image.DataFile(), run);
  if (missing != 0) {
    if (!options.partial || missing >= place.sectors) {
      ThrowReadFailure(image.DataFile(), run, {0, S_OK});
    }
    Note(Format("track %u is ", job.track) + CutOffWords(missing) + "; the others are saved");
    run.sectors -= missing;
  }
  return run;
}

/// Copies a run to a file through the component, which reports neither a failed write nor a short image.
/// @return how many bytes were read. @throws Failure when fewer are in the file.
UHYPER CopyRun(const Host& host, const std::string& dataFile, const SectorRun& run, const std::string& target,
               Transfer* transfer, const OutputFile& file) {
  const ComPtr<IStream> stream = OpenRun(host, dataFile, run, transfer);
  SetLastError(ERROR_SUCCESS);
  Check(host.Sheets().ExtractStreamToFile(stream.Get(), Wide(file.HiddenPath()).get()), target);
  const DWORD error = GetLastError();
  const UHYPER written = FileSize(file.HiddenPath()).value_or(0);
  if (!transfer->IsCancelled() && (written < transfer->Done() || !transfer->HasBegun())) {
    throw WriteFailure(target, written, run.Bytes(), error);
  }
  return transfer->Done();
}

void Extract(const Host& host, const ImageRecord& image, const Job& job, const ExtractOptions& options) {
  const SectorRun run = RunOfTrack(host, image, job, options);
  OutputFile file(job.target, run.Bytes(), options.force);
  Transfer transfer(Format("track %u", job.track), run.Bytes());
  RunEnd end{0, S_OK};
  if (file.HiddenPath().empty()) {
    end = ReadRun(host, image.DataFile(), run, &transfer,
                  [&](const BYTE* data, std::size_t size) { file.Write(data, size); });
  } else {
    end.bytes = CopyRun(host, image.DataFile(), run, job.target, &transfer, file);
  }
  if (transfer.IsCancelled()) {
    ThrowCancelled(job.target);
  }
  if (end.bytes < run.Bytes()) {
    ThrowReadFailure(image.DataFile(), run, end);
  }
  file.Publish();
  if (!IsStandardOutput(job.target)) {
    Print(TerminalText(job.target) + Format(": session %u, track %u, %u sectors of %u bytes\n", job.session, job.track,
                                            run.sectors, run.dataSize));
  }
}

/// Whether going on with the next track makes no sense.
bool EndsAll(HRESULT code) { return code == kCancelled || code == HRESULT_FROM_WIN32(ERROR_DISK_FULL); }

/// Saves one file after the other. @return the exit status.
int ExtractAll(const Host& host, const ImageRecord& image, const std::vector<Job>& jobs,
               const ExtractOptions& options) {
  int status = 0;
  for (const Job& job : jobs) {
    try {
      Extract(host, image, job, options);
    } catch (const Failure& failure) {
      status = failure.Report();
      if (EndsAll(failure.Code())) {
        break;
      }
    }
  }
  return status;
}

} // namespace

int RunExtract(const ExtractOptions& options) {
  const Host host;
  const ImageRecord image(host, options.path, options.partial);
  image.RequireDataFile();
  const std::vector<Job> jobs = PlanJobs(image, options);
  for (const Job& job : jobs) {
    image.RefuseOwnFiles(job.target);
    if (!options.folder.empty()) { // No track is saved when one cannot be.
      RequireWritable(job.target, options.force);
    }
  }
  if (options.folder.empty()) {
    Extract(host, image, jobs.front(), options);
    return 0;
  }
  std::error_code error;
  const bool isNew = std::filesystem::create_directories(options.folder, error);
  if (error) {
    throw Failure(options.folder, "the folder cannot be made: " + error.message(), E_FAIL);
  }
  const int status = ExtractAll(host, image, jobs, options);
  if (isNew) {
    rmdir(options.folder.c_str()); // Fails for a folder with files.
  }
  return status;
}
