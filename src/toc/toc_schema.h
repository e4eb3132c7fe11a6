/// @file
/// Layout and names of the native TOC file, which describes an image. The sectors are in another file, as raw sectors.
///
///     <ZENTORASCRIBE>
///        <TOC>
///           <VERSION>1</VERSION>
///           <BLOCKSIZE>2352</BLOCKSIZE>
///           <DATASCRAMBLED>0</DATASCRAMBLED>
///           <SUBCHANNEL-SIZE>96</SUBCHANNEL-SIZE>      0 without a sub-channel file
///           <BINARYFILE>ALBUM.BIN</BINARYFILE>
///           <SUBFILE>ALBUM.SUB</SUBFILE>               only if there is one, like the next two
///           <CDGFILE>ALBUM.CDG</CDGFILE>
///           <CATALOG>0123456789012</CATALOG>
///           <SESSIONS>
///              <COUNT>1</COUNT>
///              <SESSION-01>
///                 <TRACKS>1</TRACKS>
///                 <TRACK-01>
///                    <MODE>AUDIO</MODE>                empty for an unknown mode
///                    <FLAGS>2</FLAGS>
///                    <ISRC>USRC17607839</ISRC>         only if there is one
///                    <PREGAP>150</PREGAP>              sectors, like the next three
///                    <BEGIN-DATA>0</BEGIN-DATA>
///                    <END-DATA>15000</END-DATA>
///                    <POSTGAP>0</POSTGAP>
///                 </TRACK-01>
///              </SESSION-01>
///           </SESSIONS>
///        </TOC>
///        <CDTEXT>                                      only if there is CD-Text
///           <ENTRIES>1</ENTRIES>                       packs
///           <LENGTH>18</LENGTH>                        bytes of all packs
///           <ENTRY-1>80 00 00 00 41 4C 42 55 4D 00 00 00 00 00 00 00 E9 68 </ENTRY-1>
///        </CDTEXT>
///     </ZENTORASCRIBE>
#pragma once

#include <string>
#include <string_view>

#include "disc/records.h"

namespace toc {

inline constexpr LONG kFormatVersion = 1;

// Paths of nodes and values of the document.
inline constexpr char kVersion[] = "ZENTORASCRIBE:TOC:VERSION";
inline constexpr char kBlockSize[] = "ZENTORASCRIBE:TOC:BLOCKSIZE";
inline constexpr char kDataScrambled[] = "ZENTORASCRIBE:TOC:DATASCRAMBLED";
inline constexpr char kSubchannelSize[] = "ZENTORASCRIBE:TOC:SUBCHANNEL-SIZE";
inline constexpr char kBinaryFile[] = "ZENTORASCRIBE:TOC:BINARYFILE";
inline constexpr char kSubFile[] = "ZENTORASCRIBE:TOC:SUBFILE";
inline constexpr char kCdgFile[] = "ZENTORASCRIBE:TOC:CDGFILE";
inline constexpr char kCatalog[] = "ZENTORASCRIBE:TOC:CATALOG";
inline constexpr char kSessions[] = "ZENTORASCRIBE:TOC:SESSIONS";
inline constexpr char kSessionCount[] = "ZENTORASCRIBE:TOC:SESSIONS:COUNT";
inline constexpr char kPacks[] = "ZENTORASCRIBE:CDTEXT";
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

/// A value of the key MODE.
struct Mode {
  std::string_view name;
  ZSMODETYPE mode;
};
inline constexpr Mode kModes[] = {{"AUDIO", ZSMODE_AUDIO}, {"MODE1", ZSMODE_1}, {"MODE2", ZSMODE_2}};

inline constexpr char kTrackNode[] = "TRACK-"; ///< Start of the name of each track's node.

/// Returns a name with a number of at least two digits.
inline std::string Numbered(const char* name, LONG number) {
  return std::string(name) + (number >= 0 && number < 10 ? "0" : "") + std::to_string(number);
}

/// Returns the name of a session's node. Sessions count from 1.
inline std::string SessionNode(LONG number) { return Numbered("SESSION-", number); }
/// Returns the name of a track's node.
inline std::string TrackNode(LONG number) { return Numbered(kTrackNode, number); }
/// Returns the key of a CD-Text pack. Packs count from 1.
inline std::string PackKey(ULONG number) { return "ENTRY-" + std::to_string(number); }

} // namespace toc
