#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <iterator>

#include <fmt/format.h>

#include "commands/commands.h"
#include "commands/track_files.h"
#include "files/input_file.h"
#include "files/output_file.h"
#include "image/disc_text.h"
#include "image/explain.h"
#include "image/sector_run.h"
#include "output/failure.h"
#include "output/standard_output.h"

namespace {

struct ExtractOptions {
  std::string path;
  unsigned session = 0; ///< From 1; 0 for the first, or for all with a folder.
  unsigned track = 0;   ///< From 1.
  UINT blockSize = 0;   ///< Bytes of each sector; 0 for all.
  std::string output;
  std::string folder; ///< For all tracks; empty for one track.
  std::string format; ///< An extension of kTrackFormats; empty to choose by the extension of the output.
  bool swap = false;
  bool partial = false;
  bool force = false;
};

/// Lists the tracks that are saved, and their files.
std::vector<TrackFile> ListFiles(const imagefile::Image& image, const ExtractOptions& options) {
  const TrackFormat& format = TrackFormatOf(options.format.empty() ? options.output : "." + options.format);
  const unsigned first = std::max(options.session, 1U);
  std::vector<TrackFile> files = ListTrackFiles(image, first, format, options.folder);
  if (options.folder.empty()) {
    FailIf(options.track < 1 || options.track > files.size(), image.Path(), E_INVALIDARG,
           "no track {} in session {}, which has {}; 'zsimage info' lists them", options.track, first, files.size());
    files[options.track - 1].path = options.output;
    return {files[options.track - 1]};
  }
  for (unsigned session = 2; options.session == 0 && session <= image.Sessions().size(); ++session) {
    std::ranges::copy(ListTrackFiles(image, session, format, options.folder), std::back_inserter(files));
  }
  return files;
}

/// Returns the sectors of a track and the requested bytes of each. @throws Failure if the sectors have no such bytes,
/// or the format is not for the mode of the track.
SectorRun RunOfTrack(const imagefile::Image& image, const TrackFile& file, UINT blockSize) {
  const imagefile::Track& track = file.track;
  const bool isAudio = track.Mode() == imagefile::Mode::Audio;
  const UINT stored = track.BlockBytes();
  if (stored == 0) {
    throw Failure(image.Path(), DescribeMissingSize(image), ZSE_FAILED);
  }
  FailIf(file.format.isSound && !isAudio, image.Path(), E_INVALIDARG,
         "track {} is data ({}), and no sound file can contain it; save it as .bin or .iso", file.number,
         DescribeMode(track.Record().Mode));
  FailIf(file.format.extension == std::string_view("iso") && isAudio, image.Path(), E_INVALIDARG,
         "track {} is audio, and an ISO image contains data; save it as .wav, .aiff, .flac or .bin", file.number);
  const UINT whole = std::min<UINT>(stored, ZSFILEBLOCKSIZE_2352); // A sub-channel may follow.
  const bool canBeStored = !file.format.isSound && blockSize == stored;
  FailIf(isAudio && blockSize != 0 && !canBeStored && blockSize != whole, image.Path(), E_INVALIDARG,
         "track {} is audio, and its sectors of {} bytes have no smaller blocks; leave out --block-size", file.number,
         whole);
  SectorRun run{track.OffsetBytes(), track.SectorsInFile(), stored, 0, blockSize == 0 ? stored : blockSize};
  run.dataOffset = imagefile::OffsetInSector(image.Record(), track.Record(), run.dataSize);
  FailIf(run.dataSize > stored || run.dataOffset > stored - run.dataSize, image.Path(), E_INVALIDARG,
         "track {} has sectors of {} bytes, which have no block of {} bytes after their first {}", file.number, stored,
         run.dataSize, run.dataOffset);
  return run;
}

/// Removes the sectors after the end of the data file from a run. @throws Failure if there are any without `partial`,
/// or if no sector is left.
void CutRun(const imagefile::Image& image, const TrackFile& file, bool partial, SectorRun* run) {
  const ULONG missing = run->sectors == 0 ? file.track.MissingSectors(DataSize(image))
                                          : MissingSectors(FileSize(image.DataFile()).value_or(0), *run);
  if (missing == 0) {
    return;
  }
  if (!partial || missing >= run->sectors) {
    RequireSectors(image.DataFile(), *run);
  }
  Note(fmt::format("track {} is {}; the others are saved", file.number, DescribeMissing(missing)));
  run->sectors -= missing;
}

/// Writes the sectors of a run, or a sound file of them. @param swap Whether to swap the two bytes of each sample.
void WriteRun(const imagefile::Image& image, const TrackFile& file, const SectorRun& run, bool swap,
              OutputFile* output) {
  ProgressBar progress(fmt::format("track {}", file.number), run.Bytes());
  std::vector<BYTE> swapped;
  const auto produce = [&](const SampleSink& sink) {
    ReadRun(image, run, &progress, [&](const BYTE* data, std::size_t size) {
      if (swap) {
        swapped.assign(data, data + size);
        SwapSamples(swapped.data(), size);
      }
      sink(swap ? swapped.data() : data, size);
    });
  };
  if (file.format.isSound) {
    WriteSound(output, file.path, file.format.extension, file.tags, produce);
  } else {
    produce([&](const BYTE* data, std::size_t size) { output->Write(data, size); });
  }
}

void Extract(const imagefile::Image& image, const TrackFile& file, const ExtractOptions& options) {
  SectorRun run = RunOfTrack(image, file, options.blockSize != 0 ? options.blockSize : file.format.blockSize);
  FailIf(options.swap && run.dataSize % 2 != 0, file.path, E_INVALIDARG,
         "blocks of an odd size have no samples to swap; leave out --block-size");
  CutRun(image, file, options.partial, &run);
  { // The scope ends before anything is printed: a closed pipe would end the process and leave hidden files.
    OutputFile output(file.path, run.Bytes(), options.force);
    WriteRun(image, file, run, options.swap, &output);
    output.Publish();
  }
  if (!IsStandardOutput(file.path)) {
    Print(fmt::format("{}: session {}, track {}, {} of {} bytes\n", TerminalText(file.path), file.session, file.number,
                      Counted(run.sectors, "sector"), run.dataSize));
  }
}

/// Folder that tracks are saved to. The destructor removes those of the created folders that are empty.
class TargetFolder {
public:
  explicit TargetFolder(const std::string& path) : m_path(path), m_existing(path) {
    std::error_code ignored;
    while (!m_existing.empty() && !std::filesystem::exists(m_existing, ignored)) {
      m_existing = m_existing.parent_path();
    }
  }
  TargetFolder(const TargetFolder&) = delete;
  TargetFolder& operator=(const TargetFolder&) = delete;
  ~TargetFolder() {
    for (std::filesystem::path folder = m_path; folder != m_existing && rmdir(folder.c_str()) == 0;) {
      folder = folder.parent_path();
    }
  }

  /// @throws Failure if the folder cannot be created.
  void Create() const {
    std::error_code error;
    std::filesystem::create_directories(m_path, error);
    FailIf(bool{error}, m_path, E_FAIL, "the folder cannot be created: {}", error.message());
  }

private:
  InterruptWatch m_watch; ///< A signal must not end the process while an empty folder exists.
  std::string m_path;
  std::filesystem::path m_existing; ///< The folder or the nearest one above it that exists.
};

/// Saves all tracks; a failure of one does not stop the others. @return the exit status.
int ExtractAll(const imagefile::Image& image, const std::vector<TrackFile>& files, const ExtractOptions& options) {
  int status = 0;
  for (const TrackFile& file : files) {
    try {
      Extract(image, file, options);
    } catch (const imagefile::Error& failure) {
      status = Report(failure);
      if (failure.Code() == kCancelled || failure.Code() == HRESULT_FROM_WIN32(ERROR_DISK_FULL)) {
        break; // The others would fail as well.
      }
    }
  }
  return status;
}

int RunExtract(const ExtractOptions& options) {
  const imagefile::Image image = OpenImage(options.path, options.partial);
  RequireDataFile(image);
  const std::vector<TrackFile> files = ListFiles(image, options);
  for (const TrackFile& file : files) {
    image.RefuseOwnFile(file.path);
    if (!options.folder.empty()) { // If one track cannot be written, none is saved.
      RequireWritable(file.path, options.force);
    }
  }
  if (options.folder.empty()) {
    Extract(image, files.front(), options);
    return 0;
  }
  const TargetFolder folder(options.folder);
  folder.Create();
  return ExtractAll(image, files, options);
}

} // namespace

void AddExtract(Command* tool) {
  auto [command, options] = tool->Add("extract", "Save one track, or all, as files", RunExtract);
  command.AddImage(&options.path);
  command.add_option("--session", options.session, "Session, from 1 (default: the first, or all with --all)")
      ->type_name("N")
      ->check(CLI::Range(std::size_t{1}, kMaxSessions).description(""));
  auto* track = command.add_option("--track", options.track, "Track in the session, from 1")->type_name("N");
  command.add_option("--block-size", options.blockSize, "Bytes to save of each sector; 0 for all of it")
      ->type_name("BYTES")
      ->capture_default_str();
  auto* output = command.AddName("-o,--output", &options.output, "File to write the track to, - for standard output")
                     ->type_name("FILE");
  auto* all = command.AddName("--all", &options.folder, "Save every track, in this folder")->type_name("FOLDER");
  all->excludes(track)->excludes(output);
  command
      .add_option(
          "--format", options.format,
          "What to save: bin (sectors), iso (user data of data tracks), or the sound formats wav, aiff and flac "
          "(default: by the extension of -o; bin with --all)")
      ->type_name("FORMAT")
      ->check(CLI::IsMember({"bin", "iso", "wav", "aiff", "flac"}, CLI::ignore_case).description(""));
  command.add_flag("--swap", options.swap, "Swap the two bytes of each sample, for sources in the other order");
  command.add_flag("--partial", options.partial, "Save the whole sectors of a track that is cut off");
  command.AddForce(&options.force);
  command.AddExamples(
      {{"zsimage extract disc.mds --track 2 -o track.bin", "Track 2 of the first session."},
       {"zsimage extract disc.ccd --all tracks", "Every track as tracks/session-1-track-01.bin and so on."},
       {"zsimage extract disc.cue --all album --format flac", "Sound files with tags: album/01 Title.flac and so on."},
       {"zsimage extract disc.cue --track 1 -o files.iso", "The user data alone."},
       {"zsimage extract disc.cue --track 3 -o - | aplay -t raw -f cd", "Listen to a track."}});
  command.parse_complete_callback([=] {
    if (all->empty() && (track->empty() || output->empty())) {
      throw CLI::RequiredError("--track with -o, or --all,");
    }
  });
}
