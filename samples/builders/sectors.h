/// @file
/// Sectors of made-up discs: each byte of user data follows from its sector's number, so that any test can tell
/// where data came from.
#pragma once

#include <string>
#include <vector>

#include "disc/records.h"

/// Byte `place` of the user data of a sector.
BYTE PatternByte(ULONG lba, std::size_t place);
/// User data of a sector.
std::vector<BYTE> UserData(ULONG lba, std::size_t size = 2048);

/// Error detection code (ECMA-130) of a sector's bytes: the remainder by x^32 + x^31 + x^16 + x^15 + x^4 + x^3 + x + 1,
/// each byte from its lowest bit on. It stands behind them, its lowest byte first.
ULONG ErrorDetectionCode(const BYTE* data, std::size_t size);

/// A whole sector as an image file holds it: of audio, all pattern; of data, 2048 bytes of user data between what the
/// mode has before them and their error detection code, with error correction left zero. Sizes of 2048 (user data
/// alone), 2336 (mode 2 from the sub-header on), 2352 and 2448 (with a sub-channel of zeros behind).
std::vector<BYTE> Sector(ZSMODETYPE mode, ULONG size, ULONG lba, const std::vector<BYTE>& userData);

/// Primary volume descriptor (ECMA-119) as far as it is looked at, with a system identifier.
std::vector<BYTE> VolumeDescriptor(const std::string& systemIdentifier);

/// One track of a made-up disc.
struct PlannedTrack {
  ZSMODETYPE mode = ZSMODE_AUDIO;
  ULONG sectors = 20; ///< From index 1 to the end.
  ULONG pregap = 0;   ///< Sectors before it, in the image.
  ULONG size = 2352;  ///< Bytes of one sector.
};
using PlannedSession = std::vector<PlannedTrack>;

/// A made-up disc. Its image holds all sectors of all sessions, one after the other.
struct DiscPlan {
  std::vector<PlannedSession> sessions;
  /// System identifier of the descriptor that stands in sector 16 of the image; none when empty.
  std::string systemIdentifier = "LINUX";
};

/// A track where it lies on the disc, in absolute sector numbers.
struct PlacedTrack : PlannedTrack {
  UINT session = 0; ///< From 0.
  UINT number = 0;  ///< From 1, through the whole disc.
  ULONG start = 0;  ///< Of index 1.
  ULONG end = 0;
  UHYPER position = 0; ///< Of the pregap, in the image.
};

/// All tracks of a disc, in order, later sessions behind the gaps that discs have.
std::vector<PlacedTrack> PlaceTracks(const DiscPlan& disc);

/// The bytes of one track in the image, pregap included.
std::vector<BYTE> TrackSectors(const DiscPlan& disc, const PlacedTrack& track);

/// The image file of a disc.
std::vector<BYTE> DiscSectors(const DiscPlan& disc);
