#include "builders/nrg_builder.h"

#include "builders/byte_writer.h"
#include "disc/msf.h"

namespace {

unsigned ControlOf(const PlacedTrack& track) { return track.mode == ZSMODE_AUDIO ? 0x00 : 0x40; }

unsigned ModeOf(const PlacedTrack& track) {
  switch (track.mode) {
  case ZSMODE_AUDIO:
    return 7;
  case ZSMODE_1:
    return 0;
  default:
    return track.size == 2352 ? 6 : 3;
  }
}

std::vector<std::vector<PlacedTrack>> BySession(const DiscPlan& disc) {
  std::vector<std::vector<PlacedTrack>> sessions(disc.sessions.size());
  for (const PlacedTrack& track : PlaceTracks(disc)) {
    sessions[track.session].push_back(track);
  }
  return sessions;
}

void AddSession(const std::vector<PlacedTrack>& tracks, NrgBuilder* image) {
  std::vector<NrgCue> cues{{0, 0, 0, -kPause}};
  std::vector<NrgTrack> records;
  for (const PlacedTrack& track : tracks) {
    const auto start = static_cast<LONG>(track.start);
    const LONG pause = track.number == 1 ? kPause : static_cast<LONG>(track.pregap);
    cues.push_back({ControlOf(track), track.number, 0, start - pause});
    cues.push_back({ControlOf(track), track.number, 1, start});
    records.push_back({ModeOf(track), track.size, ""});
  }
  cues.push_back({0, 0xAA, 1, static_cast<LONG>(tracks.back().end)});
  image->Cues(cues)
      .DiscAtOnce(tracks.front().number, tracks.back().number, records)
      .SessionInfo(static_cast<ULONG>(tracks.size()));
}

} // namespace

NrgBuilder& NrgBuilder::Sectors(const std::vector<BYTE>& sectors) {
  m_sectors.insert(m_sectors.end(), sectors.begin(), sectors.end());
  return *this;
}

NrgBuilder& NrgBuilder::Cues(const std::vector<NrgCue>& cues) {
  ByteWriter payload;
  for (const NrgCue& cue : cues) {
    payload.Byte(cue.control).Byte(cue.track).Byte(cue.index).Byte(0).Big32(static_cast<ULONG>(cue.lba));
  }
  return Chunk("CUEX", payload.Get());
}

NrgBuilder& NrgBuilder::DiscAtOnce(unsigned first, unsigned last, const std::vector<NrgTrack>& tracks,
                                   const std::string& catalogue) {
  ByteWriter payload;
  payload.Zeros(4).Text(catalogue, 13).Zeros(3).Byte(first).Byte(last);
  for (const NrgTrack& track : tracks) {
    payload.Text(track.isrc, 12).Big16(track.size).Byte(track.mode).Zeros(27);
  }
  return Chunk("DAOX", payload.Get());
}

NrgBuilder& NrgBuilder::TracksAtOnce(const std::vector<NrgPiece>& tracks) {
  ByteWriter payload;
  for (const NrgPiece& track : tracks) {
    payload.Zeros(8).Big64(track.bytes).Big32(track.mode).Big32(track.lba).Zeros(8);
  }
  return Chunk("ETN2", payload.Get());
}

NrgBuilder& NrgBuilder::SessionInfo(ULONG tracks) { return Chunk("SINF", ByteWriter().Big32(tracks).Get()); }

NrgBuilder& NrgBuilder::Chunk(const std::string& tag, const std::vector<BYTE>& payload) {
  ByteWriter chunk;
  chunk.Bytes(m_chunks).Text(tag, 4).Big32(static_cast<ULONG>(payload.size())).Bytes(payload);
  m_chunks = chunk.Get();
  return *this;
}

std::vector<BYTE> NrgBuilder::Build(NrgFooter footer) const { return Build(footer, BlockOffset()); }

std::vector<BYTE> NrgBuilder::Build(NrgFooter footer, UHYPER blockOffset) const {
  ByteWriter image;
  image.Bytes(m_sectors).Bytes(m_chunks).Text("END!", 4).Big32(0);
  if (footer == NrgFooter::Long) {
    image.Text("NER5", 4).Big64(blockOffset);
  } else {
    image.Text("NERO", 4).Big32(static_cast<ULONG>(blockOffset));
  }
  return image.Get();
}

std::vector<BYTE> NrgImage(const DiscPlan& disc) {
  NrgBuilder image;
  image.Sectors(std::vector<BYTE>(std::size_t{kPause} * disc.sessions[0][0].size)).Sectors(DiscSectors(disc));
  for (const std::vector<PlacedTrack>& tracks : BySession(disc)) {
    AddSession(tracks, &image);
  }
  return image.Build();
}
