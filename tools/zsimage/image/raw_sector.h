/// @file
/// Raw data sectors of 2352 bytes (ECMA-130).
///
///     offset  mode 1                            mode 2 with sub-header
///          0  synchronization: 00, 10 x FF, 00  the same
///         12  minute, second, frame in BCD      the same
///         15  mode: 1                           mode: 2
///         16  2048 bytes of user data           sub-header twice, 4 bytes each
///         24                                    user data, codes
///       2064  error detection code (EDC)
///       2068  8 zeros
///       2076  error correction code: P, then Q
#pragma once

#include <array>
#include <cstdint>

#include "platform/base_types.h"

namespace raw_sector {

inline constexpr std::array<BYTE, 12> kSync{0, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0};
inline constexpr std::size_t kTime = 12;
inline constexpr std::size_t kMode = 15;
inline constexpr std::size_t kUserData = 16; ///< In mode 1.
inline constexpr std::size_t kSubHeader = 16;
inline constexpr std::size_t kSubHeaderBytes = 4; ///< Bytes of one copy; a sector has two.
inline constexpr std::size_t kEdc = 2064;

inline constexpr std::size_t kSubMode = 2; ///< Offset in the sub-header.
inline constexpr BYTE kForm2Bit = 0x20;    ///< Bit of the sub-mode: the sector has form 2.

} // namespace raw_sector

/// Returns the little-endian number of 32 bits at `bytes`.
inline std::uint32_t LittleEndian32(const BYTE* bytes) noexcept {
  return bytes[0] | std::uint32_t{bytes[1]} << 8 | std::uint32_t{bytes[2]} << 16 | std::uint32_t{bytes[3]} << 24;
}

/// Returns the time of a sector in BCD, as it is in the header. The position must have a time (disc/msf.h).
std::array<BYTE, 3> HeaderTime(LONG position);

/// Returns the error detection code of bytes, which sectors store in little-endian order.
std::uint32_t EdcOf(const BYTE* data, std::size_t size);

/// Writes synchronization and header of a sector.
void WriteHeader(LONG position, BYTE mode, BYTE* sector);

/// Writes the codes of a mode 1 sector. The 8 zeros between them must be there.
void WriteMode1Codes(BYTE* sector);
