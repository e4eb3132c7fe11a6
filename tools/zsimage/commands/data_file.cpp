#include "commands/data_file.h"

#include <algorithm>

#include <fmt/format.h>

#include "image/disc_words.h"
#include "output/fail_if.h"

namespace {

constexpr std::size_t kBufferBytes = 262144;
constexpr const char* kNoTracks = "it has no tracks in its first session";

std::string NameOf(unsigned track, unsigned session) { return fmt::format("track {} of session {}", track, session); }

/// Explains why one file cannot contain the sectors of these sessions; empty if it can.
std::string FindSizeConflict(const ImageRecord& image, unsigned sessions) {
  if (sessions == 0 || Tracks(image.Session(1)).empty()) {
    return kNoTracks;
  }
  const LONG first = Tracks(image.Session(1))[0].BlockSize;
  for (unsigned session = 1; session <= sessions; ++session) {
    unsigned number = 0;
    for (const ZSTRACK& track : Tracks(image.Session(session))) {
      const LONG size = track.BlockSize;
      ++number;
      if (size <= 0 || size > ZSFILEBLOCKSIZE_2448) {
        return fmt::format("{} has sectors of {} bytes, which no data file can have", NameOf(number, session), size);
      }
      if (size != first) {
        return fmt::format("{} has sectors of {} bytes, and tracks before it have different block sizes",
                           NameOf(number, session), size);
      }
    }
  }
  return "";
}

/// Lays out the tracks of an image in their order.
class Layout {
public:
  Layout(const ImageRecord& image, DataFilePlan* plan)
      : m_image(image), m_plan(*plan), m_sourceEnd(image.Info().dwSeekBegin64) {}

  void AddSession(unsigned session, bool isLast) {
    const auto tracks = Tracks(m_image.Session(session));
    const std::vector<TrackExtent> extents = m_image.Extents(session);
    if (session > 1 && !tracks.empty()) { // The gap between sessions on the disc is not in the file.
      m_position = std::int64_t{tracks[0].dwLBA} - tracks[0].Pregap;
    }
    for (unsigned i = 0; i < tracks.size() && m_plan.conflict.empty(); ++i) {
      // The postgap of the last track is kept if another session follows.
      const LONG postgap = i + 1 == tracks.size() && !isLast ? LONG{tracks[i].Postgap} : 0;
      AddTrack(tracks[i], extents[i], std::max(postgap, 0), NameOf(i + 1, session));
    }
  }

private:
  void AddTrack(const ZSTRACK& track, const TrackExtent& extent, LONG postgap, const std::string& name) {
    const std::int64_t gap = std::int64_t{track.dwLBA} - m_position;
    if (gap < 0 || extent.begin < m_sourceEnd) {
      m_plan.conflict = name + " begins before the end of the track before it";
      return;
    }
    // Sectors that the image has before the track, such as its pregap, are copied: at most as many as the gap has.
    const UHYPER kept = std::min<UHYPER>(static_cast<UHYPER>(gap), (extent.begin - m_sourceEnd) / extent.blockSize);
    const SectorRun run{extent.begin - kept * extent.blockSize,
                        static_cast<ULONG>(kept) + extent.sectors + static_cast<ULONG>(postgap), extent.blockSize, 0,
                        m_plan.blockSize};
    const ULONG missing = std::max(extent.missing, MissingSectors(m_image.DataFile(), run));
    if (missing != 0 && m_plan.shortage.empty()) {
      m_plan.shortage = fmt::format("{} is {}", name, CutOffWords(missing));
    }
    m_plan.pieces.push_back({static_cast<UHYPER>(gap) - kept, run});
    m_position = std::int64_t{track.dwLBA} + extent.sectors + postgap;
    m_sourceEnd = run.begin + UHYPER{run.sectors} * run.blockSize;
  }

  const ImageRecord& m_image;
  DataFilePlan& m_plan;
  std::int64_t m_position = 0; ///< Next free position of the description.
  UHYPER m_sourceEnd;          ///< Offset in the image's data file after the last piece.
};

void WriteSilence(UHYPER bytes, ProgressBar* progress, OutputFile* file) {
  const std::vector<BYTE> zeros(static_cast<std::size_t>(std::min<UHYPER>(bytes, kBufferBytes)));
  while (bytes > 0) {
    const UHYPER step = std::min<UHYPER>(bytes, zeros.size());
    file->Write(zeros.data(), static_cast<std::size_t>(step));
    progress->Advance(step);
    bytes -= step;
  }
}

} // namespace

UHYPER DataFilePlan::Sectors() const noexcept {
  UHYPER sectors = 0;
  for (const Piece& piece : pieces) {
    sectors += piece.silence + piece.run.sectors;
  }
  return sectors;
}

DataFilePlan PlanDataFile(const ImageRecord& image, unsigned sessions) {
  const std::string conflict = FindSizeConflict(image, sessions);
  FailIf(!conflict.empty(), image.Path(), ZSE_FAILED, "no description can name one data file for this image: {}{}",
         conflict, conflict == kNoTracks ? "" : "; 'zsimage extract --all' saves its tracks one by one");
  DataFilePlan plan;
  plan.storedSize = static_cast<UINT>(image.Session(1).pZSTracks[0].BlockSize);
  plan.blockSize = std::min<UINT>(plan.storedSize, ZSFILEBLOCKSIZE_2352);
  Layout layout(image, &plan);
  for (unsigned session = 1; session <= sessions && plan.conflict.empty(); ++session) {
    layout.AddSession(session, session == sessions);
  }
  return plan;
}

void WriteDataFile(const Host& host, const std::string& source, const DataFilePlan& plan, OutputFile* file) {
  ProgressBar progress("sectors", plan.Bytes());
  for (const DataFilePlan::Piece& piece : plan.pieces) {
    WriteSilence(piece.silence * plan.blockSize, &progress, file);
    ReadRun(host, source, piece.run, &progress, [&](const BYTE* data, std::size_t size) { file->Write(data, size); });
  }
}
