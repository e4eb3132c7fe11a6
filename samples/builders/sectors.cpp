#include "builders/sectors.h"

#include "builders/byte_writer.h"
#include "disc/msf.h"
#include "disc/positions.h"

namespace {

constexpr ULONG kDescriptorSector = 16;

unsigned Bcd(ULONG number) { return number / 10 * 16 + number % 10; }

ULONG GapBefore(std::size_t session) { return session == 0 ? 0 : session == 1 ? kFirstSessionGap : kLaterSessionGap; }

} // namespace

BYTE PatternByte(ULONG lba, std::size_t offset) {
  return static_cast<BYTE>(lba * 31 + (lba >> 8) + offset * 7 + (offset >> 8) + 1);
}

std::vector<BYTE> UserData(ULONG lba, std::size_t size) {
  std::vector<BYTE> data(size);
  for (std::size_t i = 0; i < size; ++i) {
    data[i] = PatternByte(lba, i);
  }
  return data;
}

ULONG ErrorDetectionCode(const BYTE* data, std::size_t size) {
  ULONG code = 0;
  for (std::size_t i = 0; i < size * 8; ++i) {
    const ULONG bit = (code ^ (ULONG{data[i / 8]} >> (i % 8))) & 1U;
    code = (code >> 1) ^ (bit != 0 ? 0xD8018001U : 0);
  }
  return code;
}

std::vector<BYTE> Sector(ZSMODETYPE mode, ULONG size, ULONG lba, const std::vector<BYTE>& userData) {
  ByteWriter sector;
  const bool hasHeader = mode != ZSMODE_AUDIO && size >= 2352;
  const bool hasSubHeader = mode == ZSMODE_2 && size >= 2336;
  if (hasHeader) {
    const ULONG time = LbaToMsf(static_cast<LONG>(lba));
    sector.Byte(0).Big64(0xFFFFFFFFFFFFFFFFU).Big16(0xFFFF).Byte(0);
    sector.Byte(Bcd(MinutesOf(time))).Byte(Bcd(SecondsOf(time))).Byte(Bcd(FramesOf(time)));
    sector.Byte(mode == ZSMODE_1 ? 1 : 2);
  }
  const std::size_t checkedStart = hasSubHeader ? sector.Size() : 0;
  if (hasSubHeader) {
    sector.Big32(0x00000800).Big32(0x00000800); // The XA sub-header of form 1 data, twice.
  }
  sector.Bytes(userData);
  if (hasHeader || hasSubHeader) {
    sector.Little32(ErrorDetectionCode(sector.Get().data() + checkedStart, sector.Size() - checkedStart));
  }
  sector.PadTo(size);
  return sector.Get();
}

std::vector<BYTE> VolumeDescriptor(const std::string& systemIdentifier) {
  ByteWriter descriptor;
  descriptor.Byte(1).Text("CD001", 5).Byte(1).Byte(0).Text(systemIdentifier, 32).PadTo(2048);
  return descriptor.Get();
}

std::vector<PlacedTrack> PlaceTracks(const DiscPlan& disc) {
  std::vector<PlacedTrack> placed;
  ULONG lba = 0;
  UHYPER offset = 0;
  for (std::size_t session = 0; session < disc.sessions.size(); ++session) {
    lba += GapBefore(session);
    for (const PlannedTrack& planned : disc.sessions[session]) {
      PlacedTrack track{planned};
      track.session = static_cast<UINT>(session);
      track.number = static_cast<UINT>(placed.size()) + 1;
      track.start = lba + track.pregap;
      track.end = track.start + track.sectors;
      track.offset = offset;
      lba = track.end;
      offset += UHYPER{track.pregap + track.sectors} * track.size;
      placed.push_back(track);
    }
  }
  return placed;
}

std::vector<BYTE> TrackSectors(const DiscPlan& disc, const PlacedTrack& track) {
  ByteWriter sectors;
  for (ULONG lba = track.start - track.pregap; lba < track.end; ++lba) {
    const bool audio = track.mode == ZSMODE_AUDIO;
    const bool descriptor = lba == kDescriptorSector && !audio && !disc.systemIdentifier.empty();
    sectors.Bytes(Sector(track.mode, track.size, lba,
                         descriptor ? VolumeDescriptor(disc.systemIdentifier) : UserData(lba, audio ? 2352 : 2048)));
  }
  return sectors.Get();
}

std::vector<BYTE> DiscSectors(const DiscPlan& disc) {
  ByteWriter image;
  for (const PlacedTrack& track : PlaceTracks(disc)) {
    image.Bytes(TrackSectors(disc, track));
  }
  return image.Get();
}
