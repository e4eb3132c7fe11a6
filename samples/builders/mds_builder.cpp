#include "builders/mds_builder.h"

#include "builders/byte_writer.h"

namespace {

constexpr unsigned kHeaderSize = 84;
constexpr unsigned kTrackBlockSize = 80;
constexpr unsigned kDvd = 0x10;

bool IsTrack(const MdsBlock& block) { return block.point > 0 && block.point < 100; }

/// Returns the block of a track. The length of a track includes its pregap, except for the first of a session.
MdsBlock TrackBlock(const PlacedTrack& track, bool isFirst) {
  MdsBlock block;
  block.point = track.number;
  block.mode = track.mode == ZSMODE_AUDIO ? 0xA9 : track.mode == ZSMODE_1 ? 0xAA : 0xAC;
  block.control = track.mode == ZSMODE_AUDIO ? 0 : 0x04;
  block.size = track.size;
  block.lba = track.start;
  block.offset = track.offset;
  block.pregap = track.pregap;
  block.length = track.sectors + (isFirst ? 0 : track.pregap);
  return block;
}

MdsBlock Entry(unsigned point) {
  MdsBlock block;
  block.point = point;
  return block;
}

} // namespace

std::vector<BYTE> MdsBuilder::Build() const {
  ByteWriter file;
  file.Text(signature, 16).Byte(major).Byte(minor).Byte(medium).Zeros(1);
  file.Byte(static_cast<unsigned>(lastTracks.size())).PadTo(80).Little32(kHeaderSize);
  for (const unsigned last : lastTracks) {
    file.Zeros(14).Byte(last).Zeros(9);
  }
  ByteWriter lengths;
  const std::size_t lengthsStart = file.Size() + blocks.size() * kTrackBlockSize;
  for (const MdsBlock& block : blocks) {
    const bool hasLengths = IsTrack(block) && medium != kDvd;
    const ULONG offsetOrLength =
        hasLengths ? static_cast<ULONG>(lengthsStart + lengths.Size()) + lengthsMoved : block.length;
    file.Byte(block.mode).Zeros(1).Byte(block.control).Zeros(1).Byte(block.point).Zeros(5).Byte(block.format).Zeros(1);
    file.Little32(offsetOrLength).Little16(block.size).Zeros(18).Little32(block.lba).Little64(block.offset).Zeros(32);
    if (hasLengths) {
      lengths.Little32(block.pregap).Little32(block.length);
    }
  }
  return file.Bytes(lengths.Get()).Get();
}

MdsBuilder MdsOf(const DiscPlan& disc) {
  MdsBuilder description;
  const std::vector<PlacedTrack> tracks = PlaceTracks(disc);
  for (const PlacedTrack& track : tracks) {
    const bool opens = track.session == description.lastTracks.size();
    if (opens) {
      if (track.session != 0) {
        description.blocks.push_back(Entry(0xB0));
      }
      for (const unsigned point : {0xA0U, 0xA1U, 0xA2U}) {
        description.blocks.push_back(Entry(point));
      }
      description.lastTracks.push_back(0);
    }
    description.lastTracks.back() = track.number;
    description.blocks.push_back(TrackBlock(track, opens));
  }
  description.blocks.push_back(Entry(0));
  return description;
}

MdsBuilder MdsOfDvd(ULONG sectors) {
  MdsBuilder description;
  description.medium = kDvd;
  description.lastTracks = {1};
  MdsBlock track;
  track.mode = 0x02;
  track.control = 0x04;
  track.size = 2048;
  track.length = sectors;
  description.blocks = {track, Entry(0)};
  return description;
}
