/// @file
/// Sectors of test discs. Each byte of user data depends on the sector's position and the byte's offset, so that a test
/// can identify the sectors that it has read.
#pragma once

#include <string>
#include <vector>

#include "disc/records.h"

/// Returns the byte at an offset of a sector's user data.
BYTE PatternByte(ULONG lba, std::size_t offset);
/// Returns the user data of a sector.
std::vector<BYTE> UserData(ULONG lba, std::size_t size = 2048);

/// Returns the error detection code (ECMA-130) of a sector's bytes: the remainder by
/// x^32 + x^31 + x^16 + x^15 + x^4 + x^3 + x + 1, the lowest bit of each byte first. In a sector the code is stored
/// after these bytes, least significant byte first.
ULONG ErrorDetectionCode(const BYTE* data, std::size_t size);

/// Returns a sector of an image file. An audio sector is user data alone. A data sector has the header of its mode,
/// 2048 bytes of user data, their error detection code, and zeros for error correction. Sizes are 2048 (user data
/// alone), 2336 (mode 2 without sync and header), 2352 and 2448 (with a sub-channel of zeros at the end).
std::vector<BYTE> Sector(ZSMODETYPE mode, ULONG size, ULONG lba, const std::vector<BYTE>& userData);

/// Returns a primary volume descriptor (ECMA-119) with a system identifier. Fields that no reader needs are zero.
std::vector<BYTE> VolumeDescriptor(const std::string& systemIdentifier);

/// A track of a test disc.
struct PlannedTrack {
  ZSMODETYPE mode = ZSMODE_AUDIO;
  ULONG sectors = 20; ///< From index 1 to the end.
  ULONG pregap = 0;   ///< Sectors before index 1, in the image.
  ULONG size = 2352;  ///< Bytes of a sector.
};
using PlannedSession = std::vector<PlannedTrack>;

/// A test disc. Its image holds the sectors of all sessions in order, without the gaps between sessions.
struct DiscPlan {
  std::vector<PlannedSession> sessions;
  /// System identifier of the volume descriptor in sector 16, if that is a data sector. No descriptor if empty.
  std::string systemIdentifier = "LINUX";
};

/// A track with its position on the disc, in absolute sectors.
struct PlacedTrack : PlannedTrack {
  UINT session = 0; ///< From 0.
  UINT number = 0;  ///< From 1, through the whole disc.
  ULONG start = 0;  ///< Position of index 1.
  ULONG end = 0;
  UHYPER offset = 0; ///< Byte offset of the pregap in the image.
};

/// Returns all tracks of a disc in order. Sessions are separated by the gaps of a real disc.
std::vector<PlacedTrack> PlaceTracks(const DiscPlan& disc);

/// Returns the bytes of a track in the image, with its pregap.
std::vector<BYTE> TrackSectors(const DiscPlan& disc, const PlacedTrack& track);

/// Returns the image file of a disc.
std::vector<BYTE> DiscSectors(const DiscPlan& disc);
