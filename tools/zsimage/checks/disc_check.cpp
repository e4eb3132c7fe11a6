#include "checks/disc_check.h"

#include <algorithm>

#include "checks/sector_check.h"
#include "disc/msf.h"
#include "files/files.h"
#include "image/disc_words.h"
#include "image/explain.h"
#include "image/sector_source.h"
#include "output/failure.h"

namespace {

constexpr ULONG kSampleRuns = 32; ///< Stretches of a track that are looked at.
constexpr ULONG kRunSectors = 16;
constexpr ULONG kShortestTrack = 4 * kFramesPerSecond; ///< Red Book.
constexpr ULONG kUsualDisc = 80 * kFramesPerMinute;
constexpr ULONG kLongestDisc = 100 * kFramesPerMinute; ///< Times of CDs end here; larger images are no CDs.
constexpr ULONG kTrackAtOnceGap = 152;                 ///< Pause, and the two blocks that such a recording ends with.

/// Where a track begins with its pregap and where it ends, in the description's own sectors.
std::int64_t StartOf(const zsimagefileinfo& info, const ZSTRACK& track) {
  return std::int64_t{FileSector(info, track)} - track.Pregap;
}
std::int64_t EndOf(const ZSTRACK& track) {
  return std::int64_t{track.dwEndLBA} + std::max(LONG{track.Postgap}, LONG{0});
}

void CheckNeighbour(const zsimagefileinfo& info, const ZSTRACK& before, const ZSTRACK& track, bool isOneSession,
                    Findings* findings) {
  const std::int64_t gap = StartOf(info, track) - EndOf(before);
  const std::int64_t allowed = (info.lMask & ZSIMAGEMASK_TRACKATONCE) != 0 ? kTrackAtOnceGap : 0;
  if (StartOf(info, track) < before.dwEndLBA) {
    const auto common = static_cast<UHYPER>(before.dwEndLBA - StartOf(info, track));
    findings->push_back({"overlap", true, "begins " + Sectors(common) + " before the end of the track in front of it"});
  } else if (isOneSession && gap > allowed) {
    findings->push_back({"gap", true, Sectors(static_cast<UHYPER>(gap)) + " in front of it belong to no track"});
  }
}

void CheckIndexes(const ZSTRACK& track, Findings* findings) {
  LONG last = -kFramesPerMinute * 100; // The pause in front of a disc has positions below 0.
  for (BYTE i = 0; track.pdwIndex != nullptr && i < track.nCountIndex; ++i) {
    const ULONG entry = track.pdwIndex[i];
    if (entry == kNoIndex) {
      continue;
    }
    const auto index = static_cast<LONG>(entry);
    if (index < last) {
      findings->push_back({"index", true, Format("index %u stands before the one in front of it", unsigned{i})});
    }
    last = index;
  }
}

void CheckLength(const ZSTRACK& track, const TrackPlace& place, Findings* findings) {
  if (place.missing != 0) {
    findings->push_back({"missing", true, CutOffWords(place.missing)});
  } else if (place.sectors == 0 && place.blockSize != 0) {
    findings->push_back({"length", true, "has no sectors: it ends where it begins, or before"});
  }
  if (place.sectors != 0 && track.Mode == ZSMODE_AUDIO && place.sectors < kShortestTrack) {
    findings->push_back({"length", false, "shorter than the 4 seconds that a track must have"});
  }
}

/// Stretches over a track: all of it, or a sample from its first to its last sector.
std::vector<SectorRun> RunsToLookAt(const SectorRun& whole, bool full) {
  if (full || whole.sectors <= kSampleRuns * kRunSectors) {
    return {whole};
  }
  std::vector<SectorRun> runs;
  for (ULONG i = 0; i < kSampleRuns; ++i) {
    const UHYPER first = UHYPER{whole.sectors - kRunSectors} * i / (kSampleRuns - 1);
    SectorRun run = whole;
    run.begin += first * whole.blockSize;
    run.sectors = kRunSectors;
    runs.push_back(run);
  }
  return runs;
}

/// The work on one image.
class Checker {
public:
  Checker(const Host& host, const ImageRecord& image, bool full)
      : m_host(host), m_image(image), m_info(image.Info()), m_dataFile(image.DataFile()), m_full(full) {}

  DiscReport Run() {
    PlanTracks();
    Transfer transfer("checking", m_bytes);
    for (const Work& work : m_work) {
      LookAtSectors(work, &transfer);
    }
    CheckVolume();
    CheckText();
    return std::move(m_report);
  }

private:
  /// The sectors of one track that are there.
  struct Work {
    std::size_t report; ///< Place of the track's report.
    ZSTRACK track;      ///< Owned by the image.
    SectorRun whole;
  };

  void PlanTracks() {
    const ZSTRACK* before = nullptr;
    for (unsigned session = 0; session < m_info.nSessions; ++session) {
      const ZSCUESHEET& sheet = *m_info.pZSCueSheet[session];
      const std::vector<TrackPlace> places = m_image.Places(session + 1);
      for (UINT i = 0; i < sheet.nTracks; ++i) {
        const ZSTRACK& track = sheet.pZSTracks[i];
        TrackReport report{session + 1, i + 1, ModeWords(track.Mode), places[i].sectors, 0, false, {}};
        if (before != nullptr) {
          CheckNeighbour(m_info, *before, track, i != 0, &report.findings);
        }
        CheckIndexes(track, &report.findings);
        CheckLength(track, places[i], &report.findings);
        CheckIsrc(Narrow(track.bstrISRC), &report.findings);
        PlanTrack(track, places[i], &report);
        m_report.tracks.push_back(std::move(report));
        before = &track;
      }
    }
    if (before == nullptr) {
      m_report.findings.push_back({"length", true, "the image has no tracks"});
    } else if (before->dwEndLBA > kUsualDisc && before->dwEndLBA < kLongestDisc) {
      m_report.findings.push_back(
          {"length", false, "plays " + Duration(before->dwEndLBA) + ", and usual discs hold 80 minutes"});
    }
    if (const std::string mark = SoundMark(m_dataFile); !mark.empty() && m_info.dwSeekBegin64 == 0) {
      m_report.findings.push_back({"sound", true,
                                   "the data file is a sound file (" + mark +
                                       ") that is read as raw samples; convert it to 16 bits, stereo, "
                                       "44.1 kHz, little-endian, without a header"});
    }
    CheckRest();
  }

  void PlanTrack(const ZSTRACK& track, const TrackPlace& place, TrackReport* report) {
    const SectorCheck check(track.Mode, place.blockSize);
    if (place.blockSize == 0) {
      report->findings.push_back({"block-size", true, SizelessWords(m_host, m_image)});
      return;
    }
    SectorRun run{place.begin, place.sectors, place.blockSize, 0, std::min<UINT>(place.blockSize, check.Size())};
    m_end = std::max(m_end, place.End());
    m_lastSize = place.blockSize;
    run.sectors -= std::min(place.missing, place.sectors);
    report->canBeLookedAt = check.HasWork();
    if (check.HasWork() && run.sectors != 0) {
      m_work.push_back({m_report.tracks.size(), track, run});
      for (const SectorRun& part : RunsToLookAt(run, m_full)) {
        m_bytes += part.Bytes();
      }
    }
  }

  /// What stands in the file behind the last track, up to where the description lets it end.
  void CheckRest() {
    const UHYPER size = std::min(FileSize(m_dataFile).value_or(0), UHYPER{m_info.dwSeekEnd64});
    const UHYPER rest = size > m_end ? size - m_end : 0;
    if (rest == 0 || m_lastSize == 0 || m_info.ZSImageFormat == ZSIMAGEFORMAT_NRG) {
      return; // Nero images have their description there.
    }
    const std::string words =
        rest < m_lastSize ? Format("%u bytes", static_cast<unsigned>(rest)) : Sectors(rest / m_lastSize);
    m_report.findings.push_back({"rest", rest < m_lastSize,
                                 "the data file goes on for " + words + " behind the last track" +
                                     (rest < m_lastSize ? ", which is no whole sector" : "")});
  }

  void LookAtSectors(const Work& work, Transfer* transfer) {
    SectorCheck check(work.track.Mode, work.whole.blockSize);
    for (const SectorRun& run : RunsToLookAt(work.whole, m_full)) {
      const auto first = static_cast<ULONG>((run.begin - work.whole.begin) / run.blockSize);
      ULONG lba = work.track.dwLBA + first;
      transfer->StartNextStream();
      const RunEnd end = ReadRun(m_host, m_dataFile, run, transfer, [&](const BYTE* data, std::size_t size) {
        for (std::size_t at = 0; at + run.dataSize <= size; at += run.dataSize) {
          check.Look(data + at, lba++);
        }
      });
      if (transfer->IsCancelled()) {
        throw Failure(m_image.Path(), "cancelled", kCancelled);
      }
      if (end.bytes < run.Bytes()) {
        ThrowReadFailure(m_dataFile, run, end);
      }
    }
    TrackReport& report = m_report.tracks[work.report];
    report.looked = check.Looked();
    check.Report(&report.findings);
  }

  /// A file system knows its own size, which shows an image that was cut off. On discs of several tracks the
  /// volume may reach over others.
  void CheckVolume() {
    constexpr ULONG kDescriptorSector = 16; // ECMA-119, as what follows.
    constexpr std::size_t kVolumeSize = 80;
    const bool isPlain = m_info.nSessions == 1 && m_info.pZSCueSheet[0]->nTracks == 1;
    if (!isPlain || m_info.pZSCueSheet[0]->pZSTracks[0].Mode == ZSMODE_AUDIO) {
      return;
    }
    const TrackPlace place = m_image.Places(1)[0];
    const UINT offset = OffsetInSector(m_info, m_info.pZSCueSheet[0]->pZSTracks[0], ZSFILEBLOCKSIZE_2048);
    const std::string start =
        BytesAt(m_dataFile, place.begin + UHYPER{kDescriptorSector} * place.blockSize + offset, kVolumeSize + 4);
    if (place.sectors <= kDescriptorSector || start.size() < kVolumeSize + 4 ||
        !start.starts_with("\x01"
                           "CD001")) {
      return;
    }
    const ULONG volume = LittleEndian32(reinterpret_cast<const BYTE*>(start.data()) + kVolumeSize);
    if (volume > place.sectors) {
      m_report.findings.push_back(
          {"volume", true,
           "cut off: its file system has " + Sectors(volume) + ", and the track " + Sectors(place.sectors)});
    }
  }

  void CheckText() {
    if (m_info.nSessions == 0) {
      return;
    }
    CheckCatalogue(Narrow(m_info.pZSCueSheet[0]->ZSCDTEXT.bstrMCN), &m_report.findings);
    const std::string companion = WithExtension(m_image.Path(), ".CDT");
    if (m_info.ZSImageFormat != ZSIMAGEFORMAT_CUE || FileSize(companion).value_or(0) == 0) {
      return;
    }
    try {
      CheckPacks(ReadWholeFile(companion, kLargestPackFile), &m_report.findings);
    } catch (const Failure& failure) {
      m_report.findings.push_back({"cdtext", true, failure.what()});
    }
  }

  const Host& m_host;
  const ImageRecord& m_image;
  const zsimagefileinfo& m_info;
  std::string m_dataFile;
  bool m_full;
  DiscReport m_report;
  std::vector<Work> m_work;
  UHYPER m_bytes = 0; ///< To look at.
  UHYPER m_end = 0;   ///< Byte behind the last track.
  UINT m_lastSize = 0;
};

} // namespace

std::size_t DiscReport::Faults() const {
  std::size_t faults = FaultsIn(findings);
  for (const TrackReport& track : tracks) {
    faults += FaultsIn(track.findings);
  }
  return faults;
}

DiscReport CheckDisc(const Host& host, const ImageRecord& image, bool full) {
  image.RequireDataFile();
  return Checker(host, image, full).Run();
}
