/// @file
/// The native TOC file: where its settings stand.
///
/// The file describes an image beside it: root "ZENTORASCRIBE" with a node "TOC", which holds the node
/// "SESSIONS" with one node for each session and in it one for each track, and a node "CDTEXT" with raw CD-Text
/// packs in hexadecimal. The sectors stand in a .BIN file of raw sectors.
#pragma once

#include <cstdio>
#include <string>

#include "platform/base_types.h"

namespace toc {

inline constexpr LONG kFormatVersion = 1;

inline constexpr char kVersion[] = "ZENTORASCRIBE:TOC:VERSION:";
inline constexpr char kBlockSize[] = "ZENTORASCRIBE:TOC:BLOCKSIZE";
inline constexpr char kDataScrambled[] = "ZENTORASCRIBE:TOC:DATASCRAMBLED";
inline constexpr char kSubchannelSize[] = "ZENTORASCRIBE:TOC:SUBCHANNEL-SIZE";
inline constexpr char kBinaryFile[] = "ZENTORASCRIBE:TOC:BINARYFILE";
inline constexpr char kSubFile[] = "ZENTORASCRIBE:TOC:SUBFILE";
inline constexpr char kCdgFile[] = "ZENTORASCRIBE:TOC:CDGFILE";
inline constexpr char kCatalog[] = "ZENTORASCRIBE:TOC:CATALOG";
inline constexpr char kSessionCount[] = "ZENTORASCRIBE:TOC:SESSIONS:COUNT";
inline constexpr char kPackCount[] = "ZENTORASCRIBE:CDTEXT:ENTRIES";
inline constexpr char kPackBytes[] = "ZENTORASCRIBE:CDTEXT:LENGTH";

// Keys of a session's and of a track's node.
inline constexpr char kTracks[] = "TRACKS";
inline constexpr char kMode[] = "MODE";
inline constexpr char kFlags[] = "FLAGS";
inline constexpr char kIsrc[] = "ISRC";
inline constexpr char kPregap[] = "PREGAP";
inline constexpr char kBeginData[] = "BEGIN-DATA";
inline constexpr char kEndData[] = "END-DATA";
inline constexpr char kPostgap[] = "POSTGAP";

// Values of the key MODE; a track of any other mode has an empty one.
inline constexpr char kModeAudio[] = "AUDIO";
inline constexpr char kMode1[] = "MODE1";
inline constexpr char kMode2[] = "MODE2";

/// Decimal digits, at least two.
inline std::string TwoDigits(LONG number) {
  char text[16];
  static_cast<void>(std::snprintf(text, sizeof(text), "%02d", number));
  return text;
}

/// Path of the node of a session, numbered from 1.
inline std::string SessionPath(LONG number) { return "ZENTORASCRIBE:TOC:SESSIONS:SESSION-" + TwoDigits(number); }

/// The name of a track's node, without its number.
inline constexpr char kTrackNode[] = "TRACK-";

/// Path of the node of a track.
inline std::string TrackPath(const std::string& session, LONG number) {
  return session + ":" + kTrackNode + TwoDigits(number);
}

/// Path of a key of a session's or track's node.
inline std::string KeyPath(const std::string& node, const char* key) { return node + ":" + key; }

/// Path of a CD-Text pack, numbered from 1.
inline std::string PackPath(ULONG number) { return "ZENTORASCRIBE:CDTEXT:ENTRY-" + std::to_string(number); }

} // namespace toc
