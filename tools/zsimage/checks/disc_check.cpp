#include "checks/disc_check.h"

#include <algorithm>

#include <fmt/format.h>

#include "checks/code_check.h"
#include "checks/pack_file.h"
#include "checks/sector_check.h"
#include "disc/msf.h"
#include "files/input_file.h"
#include "files/paths.h"
#include "image/disc_text.h"
#include "image/explain.h"
#include "image/raw_sector.h"
#include "image/sector_run.h"
#include "image/sheet_lines.h"
#include "output/failure.h"
#include "output/interrupt.h"

namespace {

constexpr ULONG kSampleRuns = 32; ///< Number of runs in the sample of a track.
constexpr ULONG kRunSectors = 16;
constexpr ULONG kShortestTrack = 4 * kFramesPerSecond; ///< 4 seconds (Red Book).
constexpr ULONG kUsualDisc = 80 * kFramesPerMinute;
constexpr ULONG kLongestDisc = 100 * kFramesPerMinute; ///< Limit of times on a CD; longer images are not CDs.
constexpr ULONG kTrackAtOnceGap = 152;                 ///< Pause of 2 seconds and two run-out blocks.

/// Returns the position of a track's pregap in the data file.
std::int64_t StartOf(const zsimagefileinfo& info, const ZSTRACK& track) {
  return std::int64_t{imagefile::FilePosition(info, track)} - track.Pregap;
}

void CheckIndexes(const ZSTRACK& track, Findings* findings) {
  LONG last = -kFramesPerMinute * 100; // Positions in the pause before the disc are negative.
  unsigned lastIndex = 0;
  for (BYTE i = 0; track.pdwIndex != nullptr && i < track.nCountIndex; ++i) {
    if (track.pdwIndex[i] == kNoIndex) {
      continue;
    }
    const auto position = static_cast<LONG>(track.pdwIndex[i]);
    if (position < last) {
      findings->AddFault("index", "index {} is before index {}", i, lastIndex);
    }
    last = position;
    lastIndex = i;
  }
}

void CheckLength(const imagefile::Track& track, ULONG missing, Findings* findings) {
  const ULONG sectors = track.SectorsInFile();
  if (missing != 0) {
    findings->AddFault("missing", "{}", DescribeMissing(missing));
  } else if (sectors == 0 && track.BlockBytes() != 0) {
    findings->AddFault("length", "it has no sectors: its end is not after its start");
  }
  if (sectors != 0 && track.Mode() == imagefile::Mode::Audio && sectors < kShortestTrack) {
    findings->AddRemark("length", "shorter than the 4 seconds that a track must have");
  }
}

/// Returns the runs of a track to check: all sectors, or a sample spread evenly from the first to the last sector.
std::vector<SectorRun> RunsToCheck(const SectorRun& track, bool full) {
  if (full || track.sectors <= kSampleRuns * kRunSectors) {
    return {track};
  }
  std::vector<SectorRun> runs;
  for (ULONG i = 0; i < kSampleRuns; ++i) {
    const UHYPER first = UHYPER{track.sectors - kRunSectors} * i / (kSampleRuns - 1);
    SectorRun run = track;
    run.begin += first * track.blockSize;
    run.sectors = kRunSectors;
    runs.push_back(run);
  }
  return runs;
}

class Checker {
public:
  Checker(const imagefile::Image& image, bool full)
      : m_image(image), m_info(image.Record()), m_dataFile(image.DataFile()),
        m_notes(ReadSheetNotes(image.Path(), m_dataFile)), m_full(full) {}

  DiscReport Run() {
    CheckTracks();
    CheckLengthOfDisc();
    CheckDataFile();
    CheckSectors();
    CheckVolume();
    CheckText();
    return std::move(m_report);
  }

private:
  /// The sectors of a track that are in the data file.
  struct Work {
    std::size_t report; ///< Index of the track's report.
    ZSMODETYPE mode;
    ULONG lba; ///< Position of the first sector.
    SectorRun run;
  };

  void CheckTracks() {
    const ZSTRACK* previous = nullptr;
    const UHYPER size = DataSize(m_image);
    for (const imagefile::Session& session : m_image.Sessions()) {
      unsigned number = 0;
      for (const imagefile::Track& view : session.Tracks()) {
        const ZSTRACK& track = view.Record();
        const ULONG missing = view.MissingSectors(size);
        TrackReport report{session.Number(), ++number, DescribeMode(track.Mode), view.SectorsInFile(), 0, false, {}};
        if (previous != nullptr) {
          CompareTracks(*previous, track, &report);
        }
        CheckIndexes(track, &report.findings);
        CheckLength(view, missing, &report.findings);
        CheckIsrc(Narrow(track.bstrISRC), &report.findings);
        PlanSectors(view, missing, &report);
        m_report.tracks.push_back(std::move(report));
        previous = &track;
      }
    }
    m_discEnd = previous == nullptr ? 0 : ULONG{previous->dwEndLBA};
  }

  /// Compares the end of a track with the start of the next. @param report Report of the next track.
  void CompareTracks(const ZSTRACK& previous, const ZSTRACK& track, TrackReport* report) const {
    const std::int64_t start = StartOf(m_info, track);
    const std::int64_t gap = start - previous.dwEndLBA - std::max(LONG{previous.Postgap}, 0);
    const std::int64_t allowed = (m_info.lMask & ZSIMAGEMASK_TRACKATONCE) != 0 ? kTrackAtOnceGap : 0;
    const TrackReport& last = m_report.tracks.back();
    const bool isOneSession = last.session == report->session;
    if (start < previous.dwEndLBA) {
      const std::string name = isOneSession ? "" : fmt::format(" of session {}", last.session);
      report->findings.AddFault("overlap", "overlaps track {}{} by {}", last.number, name,
                                Counted(static_cast<UHYPER>(previous.dwEndLBA - start), "sector"));
    } else if (isOneSession && gap > allowed) {
      report->findings.AddFault("gap", "a gap of {} before it belongs to no track",
                                Counted(static_cast<UHYPER>(gap), "sector"));
    }
  }

  void PlanSectors(const imagefile::Track& track, ULONG missing, TrackReport* report) {
    const UINT size = track.BlockBytes();
    if (size == 0) {
      report->findings.AddFault("block-size", "{}", DescribeMissingSize(m_image));
      return;
    }
    m_end = std::max(m_end, track.OffsetBytes() + UHYPER{track.SectorsInFile()} * size);
    m_lastSize = size;
    const SectorCheck check(track.Record().Mode, size);
    const ULONG sectors = track.SectorsInFile() - std::min(missing, track.SectorsInFile());
    report->canBeChecked = check.HasWork();
    if (check.HasWork() && sectors != 0) {
      m_work.push_back({m_report.tracks.size(),
                        track.Record().Mode,
                        track.Start(),
                        {track.OffsetBytes(), sectors, size, 0, std::min(size, check.Size())}});
    }
  }

  void CheckLengthOfDisc() {
    if (m_report.tracks.empty()) {
      m_report.findings.AddFault("length", "the image has no tracks");
    } else if (m_discEnd > kUsualDisc && m_discEnd < kLongestDisc) {
      m_report.findings.AddRemark("length", "plays {}, and usual discs hold 80 minutes", Duration(m_discEnd));
    }
  }

  void CheckDataFile() {
    const std::string type = SoundFileType(m_dataFile);
    if (!m_notes.joinAdvice.empty()) {
      m_report.findings.AddFault("files", "{}", m_notes.joinAdvice);
    }
    if (!type.empty() && m_info.dwSeekBegin64 == 0) {
      m_report.findings.AddFault(
          "sound",
          "the data file is a sound file ({}) that is read as raw samples; convert it to 16 bits, "
          "stereo, 44.1 kHz, little-endian, without a header",
          type);
    }
    const UHYPER size = std::min(FileSize(m_dataFile).value_or(0), UHYPER{m_info.dwSeekEnd64});
    const UHYPER rest = size > m_end ? size - m_end : 0;
    if (rest == 0 || m_lastSize == 0 || m_info.ZSImageFormat == ZSIMAGEFORMAT_NRG) {
      return; // Nero images have their description after the sectors.
    }
    if (rest < m_lastSize) {
      m_report.findings.AddFault("rest", "the data file has {} after the last track, which is not a whole sector",
                                 Counted(rest, "byte"));
    } else {
      m_report.findings.AddRemark("rest", "the data file has {} after the last track",
                                  Counted(rest / m_lastSize, "sector"));
    }
  }

  void CheckSectors() {
    UHYPER bytes = 0;
    for (const Work& work : m_work) {
      for (const SectorRun& run : RunsToCheck(work.run, m_full)) {
        bytes += run.Bytes();
      }
    }
    ProgressBar progress("checking", bytes);
    const InterruptWatch watch;
    for (const Work& work : m_work) {
      SectorCheck check(work.mode, work.run.blockSize);
      for (const SectorRun& run : RunsToCheck(work.run, m_full)) {
        CheckRun(run, work.lba + static_cast<ULONG>((run.begin - work.run.begin) / run.blockSize), &check, &progress);
      }
      m_report.tracks[work.report].checked = check.Checked();
      check.Report(&m_report.tracks[work.report].findings);
    }
  }

  void CheckRun(const SectorRun& run, ULONG lba, SectorCheck* check, ProgressBar* progress) const {
    ReadRun(m_image, run, progress, [&](const BYTE* data, std::size_t size) {
      if (InterruptWatch::Requested()) {
        throw Failure(m_image.Path(), "cancelled", kCancelled);
      }
      for (std::size_t offset = 0; offset + run.dataSize <= size; offset += run.dataSize) {
        check->CheckSector(data + offset, lba++);
      }
    });
  }

  /// Compares the size that a file system states with that of its track, which is smaller if the image was cut off.
  /// Only for discs of one track: the volume may include other tracks.
  void CheckVolume() {
    constexpr ULONG kDescriptorSector = 16; // ECMA-119: the primary volume descriptor.
    constexpr std::size_t kVolumeSize = 80;
    const bool isOneTrack = m_info.nSessions == 1 && m_info.pZSCueSheet[0]->nTracks == 1;
    if (!isOneTrack || m_info.pZSCueSheet[0]->pZSTracks[0].Mode == ZSMODE_AUDIO) {
      return;
    }
    const imagefile::Track& track = m_image.Sessions()[0].Tracks()[0];
    const UINT offset = imagefile::OffsetInSector(m_info, track.Record(), ZSFILEBLOCKSIZE_2048);
    const UHYPER begin = track.OffsetBytes() + UHYPER{kDescriptorSector} * track.BlockBytes() + offset;
    const std::string descriptor = ReadBytes(m_dataFile, begin, kVolumeSize + 4);
    if (track.SectorsInFile() <= kDescriptorSector || descriptor.size() < kVolumeSize + 4 ||
        !descriptor.starts_with("\1CD001")) {
      return;
    }
    const ULONG volume = LittleEndian32(reinterpret_cast<const BYTE*>(descriptor.data()) + kVolumeSize);
    if (volume > track.SectorsInFile()) {
      m_report.findings.AddFault("volume", "cut off: its file system has {}, and the track {}",
                                 Counted(volume, "sector"), Counted(track.SectorsInFile(), "sector"));
    }
  }

  void CheckText() {
    if (m_info.nSessions == 0) {
      return;
    }
    for (const std::string& words : m_notes.misreadTexts) {
      m_report.findings.AddRemark("misread", "{}", words);
    }
    CheckCatalogue(Narrow(m_info.pZSCueSheet[0]->ZSCDTEXT.bstrMCN), &m_report.findings);
    const std::string companion = SpelledOnDisk(WithExtension(m_image.Path(), ".CDT"));
    if (m_info.ZSImageFormat != ZSIMAGEFORMAT_CUE || FileSize(companion).value_or(0) == 0) {
      return;
    }
    try {
      CheckPacks(ReadContent(companion, kLargestPackFile), &m_report.findings);
    } catch (const Failure& failure) {
      m_report.findings.AddFault("cdtext", "{}", MessageOf(failure));
    }
  }

  const imagefile::Image& m_image;
  const zsimagefileinfo& m_info;
  std::string m_dataFile;
  SheetNotes m_notes;
  bool m_full;
  DiscReport m_report;
  std::vector<Work> m_work;
  ULONG m_discEnd = 0; ///< End of the last track.
  UHYPER m_end = 0;    ///< Offset in the data file after all tracks.
  UINT m_lastSize = 0; ///< Block size of the last track.
};

} // namespace

std::size_t DiscReport::Faults() const {
  std::size_t faults = findings.Faults();
  for (const TrackReport& track : tracks) {
    faults += track.findings.Faults();
  }
  return faults;
}

DiscReport CheckDisc(const imagefile::Image& image, bool full) {
  RequireDataFile(image);
  return Checker(image, full).Run();
}
