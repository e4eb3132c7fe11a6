/// @file
/// The CD-Text pack (Red Book, CD-Text; layout as in MMC).
///
/// A text may extend over several packs of one type. Each text ends with a zero byte. The text of the next track
/// follows it directly.
#pragma once

#include "disc/record_text.h"

/// @name Layout
/// @{
inline constexpr std::size_t kPackType = 0;
inline constexpr std::size_t kPackTrack = 1;    ///< Owner of the first text; 0 for the disc. Bit 7: an extension.
inline constexpr std::size_t kPackSequence = 2; ///< Counts the packs of a block, from 0.
inline constexpr std::size_t kPackBlock = 3; ///< Bit 7: double-byte text; bits 4 to 6: block (language); bits 0 to 3:
                                             ///< characters of the first text in earlier packs, at most 15.
inline constexpr std::size_t kPackTextStart = 4;
inline constexpr std::size_t kPackTextSize = 12;
inline constexpr std::size_t kPackCrc = 16; ///< 16 bits, big-endian.
inline constexpr std::size_t kPackSize = 18;
/// @}

/// @name Types
/// @{
inline constexpr BYTE kPackTitle = 0x80;
inline constexpr BYTE kPackPerformer = 0x81;
inline constexpr BYTE kPackSongwriter = 0x82;
inline constexpr BYTE kPackComposer = 0x83;
inline constexpr BYTE kPackArranger = 0x84;
inline constexpr BYTE kPackMessage = 0x85;
inline constexpr BYTE kPackDiscId = 0x86;
inline constexpr BYTE kPackGenre = 0x87;
inline constexpr BYTE kPackTocInfo2 = 0x89; ///< Second table of contents.
inline constexpr BYTE kPackClosedInfo = 0x8D;
inline constexpr BYTE kPackCode = 0x8E; ///< ISRC of a track, catalogue number of the disc.
inline constexpr BYTE kPackSizeInfo = 0x8F;
/// @}

/// A type of packs with text, and the field of a record that has the text.
struct TextPackType {
  BYTE type;
  TextField field;
};

/// The types with text, in the order of their packs.
inline constexpr std::array<TextPackType, kTextFields.size()> kTextPackTypes = {{
    {kPackTitle, TextField::Title},
    {kPackPerformer, TextField::Performer},
    {kPackSongwriter, TextField::Songwriter},
    {kPackComposer, TextField::Composer},
    {kPackArranger, TextField::Arranger},
    {kPackMessage, TextField::Message},
    {kPackGenre, TextField::Genre},
}};
