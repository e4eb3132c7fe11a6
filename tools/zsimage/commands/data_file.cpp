#include "commands/data_file.h"

#include <algorithm>

#include "image/disc_words.h"
#include "output/failure.h"

namespace {

constexpr std::size_t kBufferBytes = 262144;

/// Why the sectors of these sessions cannot be in one file; empty when they can.
std::string FindSizeConflict(const zsimagefileinfo& info, unsigned sessions) {
  LONG first = 0;
  for (unsigned session = 0; session < sessions; ++session) {
    const ZSCUESHEET& sheet = *info.pZSCueSheet[session];
    for (UINT i = 0; i < sheet.nTracks; ++i) {
      const LONG size = sheet.pZSTracks[i].BlockSize;
      first = first == 0 ? size : first;
      if (size <= 0 || size > ZSFILEBLOCKSIZE_2448 || size != first) {
        return Format("track %u of session %u has sectors of %d bytes, %s", i + 1, session + 1, static_cast<int>(size),
                      size == first ? "which no data file can have"
                                    : "and tracks before it have different block sizes");
      }
    }
  }
  return first == 0 ? "the image has no tracks" : "";
}

/// Lays the tracks of an image out behind each other.
class Layout {
public:
  Layout(const ImageRecord& image, DataFilePlan* plan) : m_image(image), m_plan(*plan) {}

  void AddSession(unsigned index, bool isLast) {
    const ZSCUESHEET& sheet = *m_image.Info().pZSCueSheet[index];
    const std::vector<TrackPlace> places = m_image.Places(index + 1);
    if (index == 0) {
      m_sourceEnd = m_image.Info().dwSeekBegin64;
    } else if (sheet.nTracks != 0) { // A later session follows the one before, whatever the gap on the disc.
      m_position = std::int64_t{sheet.pZSTracks[0].dwLBA} - sheet.pZSTracks[0].Pregap;
    }
    for (UINT i = 0; i < sheet.nTracks && m_plan.conflict.empty(); ++i) {
      // Between two sessions the space behind the last track counts; behind the disc's end nothing needs it.
      const LONG postgap = i + 1 == sheet.nTracks && !isLast ? LONG{sheet.pZSTracks[i].Postgap} : 0;
      AddTrack(sheet.pZSTracks[i], places[i], std::max<LONG>(postgap, 0),
               Format("track %u of session %u", i + 1, index + 1));
    }
  }

private:
  void AddTrack(const ZSTRACK& track, const TrackPlace& place, LONG postgap, const std::string& name) {
    const std::int64_t gap = std::int64_t{track.dwLBA} - m_position;
    if (gap < 0 || place.begin < m_sourceEnd) {
      m_plan.conflict = name + " begins before the track before it ends";
      return;
    }
    // What the image holds in front of the track, its pregap above all, comes along as far as it goes.
    const UHYPER kept = std::min<UHYPER>(static_cast<UHYPER>(gap), (place.begin - m_sourceEnd) / place.blockSize);
    const SectorRun run{place.begin - kept * place.blockSize,
                        static_cast<ULONG>(kept) + place.sectors + static_cast<ULONG>(postgap), place.blockSize, 0,
                        m_plan.blockSize};
    const ULONG missing = std::max(place.missing, MissingSectors(m_image.DataFile(), run));
    if (missing != 0 && m_plan.shortage.empty()) {
      m_plan.shortage = "the image is short: " + name + " is " + CutOffWords(missing);
    }
    m_plan.pieces.push_back({static_cast<UHYPER>(gap) - kept, run});
    m_position = std::int64_t{track.dwLBA} + place.sectors + postgap;
    m_sourceEnd = run.begin + UHYPER{run.sectors} * run.blockSize;
  }

  const ImageRecord& m_image;
  DataFilePlan& m_plan;
  std::int64_t m_position = 0; ///< Position of the description behind what is laid out.
  UHYPER m_sourceEnd = 0;      ///< Byte of the image behind it.
};

void WriteSilence(UHYPER bytes, const std::string& target, OutputFile* file) {
  const std::vector<BYTE> zeros(static_cast<std::size_t>(std::min<UHYPER>(bytes, kBufferBytes)));
  while (bytes > 0) {
    const UHYPER step = std::min<UHYPER>(bytes, zeros.size());
    file->Write(zeros.data(), static_cast<std::size_t>(step));
    bytes -= step;
    if (InterruptWatch::Requested()) {
      ThrowCancelled(target);
    }
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
  const std::string conflict = FindSizeConflict(image.Info(), sessions);
  if (!conflict.empty()) {
    throw Failure(image.Path(),
                  "no description can name one data file for it: " + conflict +
                      "; 'zsimage extract --all' saves its tracks one by one",
                  ZSE_FAILED);
  }
  DataFilePlan plan;
  plan.storedSize = static_cast<UINT>(image.Info().pZSCueSheet[0]->pZSTracks[0].BlockSize);
  plan.blockSize = std::min<UINT>(plan.storedSize, ZSFILEBLOCKSIZE_2352);
  Layout layout(image, &plan);
  for (unsigned session = 0; session < sessions && plan.conflict.empty(); ++session) {
    layout.AddSession(session, session + 1 == sessions);
  }
  return plan;
}

void WriteDataFile(const Host& host, const std::string& source, const DataFilePlan& plan, const std::string& target,
                   OutputFile* file) {
  Transfer transfer("sectors", plan.Bytes());
  for (const DataFilePlan::Piece& piece : plan.pieces) {
    WriteSilence(piece.silence * plan.blockSize, target, file);
    transfer.StartNextStream();
    const RunEnd end = ReadRun(host, source, piece.run, &transfer,
                               [&](const BYTE* data, std::size_t size) { file->Write(data, size); });
    if (transfer.IsCancelled()) {
      ThrowCancelled(target);
    }
    if (end.bytes < piece.run.Bytes()) {
      ThrowReadFailure(source, piece.run, end);
    }
  }
}
