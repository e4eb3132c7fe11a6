#include "builders/mpeg_stream.h"

#include <string_view>

#include "builders/byte_writer.h"

namespace {

constexpr std::size_t kPackSize = 2324;
constexpr UHYPER kMuxRate = 3528;      // Units of 50 bytes a second: the rate of a Video CD.
constexpr UHYPER kTicksPerPack = 1200; // Ticks of 90 kHz, for 75 packs a second.

/// Returns the lower `bits` of a number.
constexpr UHYPER Low(UHYPER number, int bits) { return number & ((UHYPER{1} << bits) - 1); }

void AppendBits40(ByteWriter* stream, UHYPER bits) {
  stream->Byte(static_cast<unsigned>(bits >> 32)).Big32(static_cast<ULONG>(bits));
}

/// Returns a time as 40 bits: a mark of 4 bits, then 3, 15 and 15 bits of the time, each followed by a 1.
UHYPER TimeBits(UHYPER mark, UHYPER ticks) {
  return (mark << 36) | (Low(ticks >> 30, 3) << 33) | (UHYPER{1} << 32) | (Low(ticks >> 15, 15) << 17) | 0x10000U |
         (Low(ticks, 15) << 1) | 1U;
}

void AppendPackHeader(ByteWriter* stream, UHYPER ticks) {
  stream->Big32(0x1BA);
  AppendBits40(stream, TimeBits(0b0010, ticks));
  const UHYPER rate = (1U << 23) | (kMuxRate << 1) | 1U;
  stream->Byte(static_cast<unsigned>(rate >> 16)).Big16(static_cast<ULONG>(Low(rate, 16)));
}

void AppendSystemHeader(ByteWriter* stream) {
  const UHYPER rate = (1U << 23) | (kMuxRate << 1) | 1U;
  stream->Big32(0x1BB).Big16(9).Byte(static_cast<unsigned>(rate >> 16)).Big16(static_cast<ULONG>(Low(rate, 16)));
  stream->Byte(0x00).Byte(0x21).Byte(0xFF).Byte(0xE0).Byte(0xE0).Byte(0x2E);
}

void AppendPicture(ByteWriter* stream, bool first) {
  if (first) {
    stream->Big32(0x1B3).Byte(352 >> 4).Big16(288).Byte((8 << 4) | 3).Big32((2875U << 14) | (1U << 13) | (20U << 3));
    stream->Big32(0x1B8).Big32(0x80080040);
  }
  stream->Big32(0x100).Big32(0x000FFFF8).Big32(0x101).Byte(0x13).Big16(0xF87D);
}

} // namespace

std::vector<BYTE> MpegStream(int packs) {
  ByteWriter stream;
  for (int i = 0; i < packs; ++i) {
    const std::size_t end = stream.Size() + kPackSize;
    const UHYPER ticks = static_cast<UHYPER>(i) * kTicksPerPack;
    AppendPackHeader(&stream, ticks);
    if (i == 0) {
      AppendSystemHeader(&stream);
    }
    stream.Big32(0x1E0).Big16(static_cast<ULONG>(end - stream.Size() - 2));
    AppendBits40(&stream, TimeBits(0b0010, ticks + 9000));
    AppendPicture(&stream, i % 15 == 0);
    stream.PadTo(end);
  }
  return stream.Get();
}
