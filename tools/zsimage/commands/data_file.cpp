#include "commands/data_file.h"

#include <algorithm>

#include <fmt/format.h>

#include "files/input_file.h"
#include "image/disc_text.h"
#include "output/failure.h"

namespace {

constexpr std::size_t kBufferBytes = 262144;
constexpr const char* kNoTracks = "it has no tracks in its first session";

std::string NameOf(unsigned track, unsigned session) { return fmt::format("track {} of session {}", track, session); }

/// Explains why one file cannot contain the sectors of these sessions; empty if it can.
std::string FindSizeConflict(const imagefile::Image& image, unsigned sessions) {
  if (sessions == 0 || image.Sessions()[0].Tracks().empty()) {
    return kNoTracks;
  }
  const LONG first = image.Sessions()[0].Tracks()[0].Record().BlockSize;
  for (const imagefile::Session& session : image.Sessions().first(sessions)) {
    unsigned number = 0;
    for (const imagefile::Track& track : session.Tracks()) {
      const LONG size = track.Record().BlockSize;
      ++number;
      if (size <= 0 || size > ZSFILEBLOCKSIZE_2448) {
        return fmt::format("{} has sectors of {} bytes, which no data file can have", NameOf(number, session.Number()),
                           size);
      }
      if (size != first) {
        return fmt::format("{} has sectors of {} bytes, and tracks before it have different block sizes",
                           NameOf(number, session.Number()), size);
      }
    }
  }
  return "";
}

/// Lays out the tracks of an image in their order.
class Layout {
public:
  Layout(const imagefile::Image& image, DataFilePlan* plan)
      : m_plan(*plan), m_size(DataSize(image)), m_fileBytes(FileSize(image.DataFile()).value_or(0)),
        m_sourceEnd(image.Record().dwSeekBegin64) {}

  void AddSession(const imagefile::Session& session, bool isLast) {
    const auto tracks = session.Tracks();
    if (session.Number() > 1 && !tracks.empty()) { // The gap between sessions on the disc is not in the file.
      m_position = std::int64_t{tracks[0].Start()} - tracks[0].PregapSectors();
    }
    for (unsigned i = 0; i < tracks.size() && m_plan.conflict.empty(); ++i) {
      // The postgap of the last track is kept if another session follows.
      const LONG postgap = i + 1 == tracks.size() && !isLast ? tracks[i].PostgapSectors() : 0;
      AddTrack(tracks[i], std::max(postgap, 0), NameOf(i + 1, session.Number()));
    }
  }

private:
  void AddTrack(const imagefile::Track& track, LONG postgap, const std::string& name) {
    const std::int64_t gap = std::int64_t{track.Start()} - m_position;
    const UINT size = track.BlockBytes();
    if (gap < 0 || track.OffsetBytes() < m_sourceEnd) {
      m_plan.conflict = name + " begins before the end of the track before it";
      return;
    }
    // Sectors that the image has before the track, such as its pregap, are copied: at most as many as the gap has.
    const UHYPER kept = std::min<UHYPER>(static_cast<UHYPER>(gap), (track.OffsetBytes() - m_sourceEnd) / size);
    const SectorRun run{track.OffsetBytes() - kept * size,
                        static_cast<ULONG>(kept) + track.SectorsInFile() + static_cast<ULONG>(postgap), size, 0,
                        m_plan.blockSize};
    const ULONG missing = std::max(track.MissingSectors(m_size), MissingSectors(m_fileBytes, run));
    if (missing != 0 && m_plan.shortage.empty()) {
      m_plan.shortage = fmt::format("{} is {}", name, DescribeMissing(missing));
    }
    m_plan.pieces.push_back({static_cast<UHYPER>(gap) - kept, run});
    m_plan.sectors += static_cast<UHYPER>(gap) - kept + run.sectors;
    m_position = std::int64_t{track.Start()} + track.SectorsInFile() + postgap;
    m_sourceEnd = run.begin + UHYPER{run.sectors} * run.blockSize;
  }

  DataFilePlan& m_plan;
  UHYPER m_size;      ///< Bytes of the data file; endless if it is missing, so that no sector counts as cut off.
  UHYPER m_fileBytes; ///< Bytes of the file on disk; 0 if it is missing.
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

DataFilePlan PlanDataFile(const imagefile::Image& image, unsigned sessions) {
  const std::string conflict = FindSizeConflict(image, sessions);
  FailIf(!conflict.empty(), image.Path(), ZSE_FAILED, "no description can name one data file for this image: {}{}",
         conflict, conflict == kNoTracks ? "" : "; 'zsimage extract --all' saves its tracks one by one");
  DataFilePlan plan;
  plan.storedSize = image.Sessions()[0].Tracks()[0].BlockBytes();
  plan.blockSize = std::min<UINT>(plan.storedSize, ZSFILEBLOCKSIZE_2352);
  Layout layout(image, &plan);
  for (const imagefile::Session& session : image.Sessions().first(sessions)) {
    layout.AddSession(session, session.Number() == sessions);
  }
  return plan;
}

void WriteDataFile(const imagefile::Image& image, const DataFilePlan& plan, OutputFile* file) {
  ProgressBar progress("sectors", plan.Bytes());
  for (const DataFilePlan::Piece& piece : plan.pieces) {
    WriteSilence(piece.silence * plan.blockSize, &progress, file);
    ReadRun(image, piece.run, &progress, [&](const BYTE* data, std::size_t size) { file->Write(data, size); });
  }
}
