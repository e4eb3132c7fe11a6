#include "image/raw_sector.h"

#include <algorithm>

#include "disc/msf.h"

using namespace raw_sector;

namespace {

/// Returns the table of the division by x^32 + x^31 + x^16 + x^15 + x^4 + x^3 + x + 1, lowest bit first.
constexpr std::array<std::uint32_t, 256> MakeEdcTable() {
  std::array<std::uint32_t, 256> table{};
  for (std::uint32_t i = 0; i < 256; ++i) {
    std::uint32_t edc = i;
    for (int bit = 0; bit < 8; ++bit) {
      edc = (edc & 1U) != 0 ? (edc >> 1) ^ 0xD8018001U : edc >> 1;
    }
    table[i] = edc;
  }
  return table;
}
constexpr std::array<std::uint32_t, 256> kEdcTable = MakeEdcTable();

/// Returns x times a, where a = 2 is the primitive element of GF(2^8) with x^8 + x^4 + x^3 + x^2 + 1.
constexpr BYTE TimesA(BYTE x) { return static_cast<BYTE>(x << 1 ^ ((x & 0x80U) != 0 ? 0x1D : 0)); }

/// Computes the two parity bytes of each vector of one code. The sector from its header on is a list of 16-bit words,
/// whose low and high bytes are coded separately. As a polynomial, data and parity are a multiple of
/// (x + 1)(x + a) = x^2 + (a + 1)x + a, so the parity is the remainder of a division by it.
/// @param vectors Number of vectors; vector i begins at word i * `first` and continues in steps of `step` words.
/// @param length Words of data in each. @param words Words of data in all; the parity words follow them.
void WriteParity(BYTE* header, unsigned vectors, unsigned first, unsigned step, unsigned length, unsigned words) {
  for (unsigned i = 0; i < 2 * vectors; ++i) {
    BYTE high = 0; // Coefficients of the remainder.
    BYTE low = 0;
    for (unsigned n = 0; n < length; ++n) {
      const unsigned word = (i / 2 * first + n * step) % words;
      const BYTE quotient = header[2 * word + i % 2] ^ high;
      high = low ^ quotient ^ TimesA(quotient);
      low = TimesA(quotient);
    }
    header[2 * words + i] = high;
    header[2 * (words + vectors) + i] = low;
  }
}

BYTE Bcd(ULONG number) { return static_cast<BYTE>(number / 10 * 16 + number % 10); }

} // namespace

std::array<BYTE, 3> HeaderTime(LONG position) {
  const ULONG time = LbaToMsf(position);
  return {Bcd(MinutesOf(time)), Bcd(SecondsOf(time)), Bcd(FramesOf(time))};
}

std::uint32_t EdcOf(const BYTE* data, std::size_t size) {
  std::uint32_t edc = 0;
  for (std::size_t i = 0; i < size; ++i) {
    edc = (edc >> 8) ^ kEdcTable[(edc ^ data[i]) & 0xFFU];
  }
  return edc;
}

void WriteHeader(LONG position, BYTE mode, BYTE* sector) {
  const std::array<BYTE, 3> time = HeaderTime(position);
  std::ranges::copy(kSync, sector);
  std::ranges::copy(time, sector + kTime);
  sector[kMode] = mode;
}

void WriteMode1Codes(BYTE* sector) {
  const std::uint32_t edc = EdcOf(sector, kEdc);
  for (unsigned i = 0; i < 4; ++i) {
    sector[kEdc + i] = static_cast<BYTE>(edc >> 8 * i);
  }
  constexpr unsigned kColumns = 43; // Words of a row of the P code, which has 24 rows.
  constexpr unsigned kRows = 26;    // Those of P included; the Q code runs through them diagonally.
  WriteParity(sector + kTime, kColumns, 1, kColumns, kRows - 2, kColumns * (kRows - 2));
  WriteParity(sector + kTime, kRows, kColumns, kColumns + 1, kColumns, kColumns * kRows);
}
