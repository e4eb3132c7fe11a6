/// @file
/// The texts of a sheet into CD-Text packs (Red Book, CD-Text; pack layout as in MMC).
#pragma once

#include <array>
#include <span>
#include <string_view>
#include <vector>

#include "cdtext/decoder.h"

/// Most packs of a block: sequence numbers have 8 bits.
inline constexpr std::size_t kPacksOfBlock = 256;
inline constexpr std::size_t kSizeInfoPacks = 3;
inline constexpr std::size_t kSizeInfoLength = kSizeInfoPacks * kPackTextSize;

inline constexpr std::size_t kGroupPacks = 4;
inline constexpr std::size_t kGroupSymbols = kGroupPacks * kPackSize * 8 / 6; ///< 96, one byte for each.

/// One text on its way into packs.
struct ZSCDTEXTENTRY {
  BYTE track = 0; ///< Track byte of its packs; 0 for the disc.
  BYTE type = 0;
  std::array<char, 255> text{}; ///< Narrow text and its zero byte.
  USHORT length = 0;            ///< Bytes of `text`, zero byte included.
};

/// The CRC of a pack: x^16 + x^12 + x^5 + 1, most significant bit first, from 0, inverted.
USHORT CrcCDText(const BYTE* bytes, std::size_t count) noexcept;

/// Spreads four packs over the six-bit symbols R to W of the sub-channel, one symbol in the low bits of each byte.
void SpreadToSubChannel(std::span<BYTE, kGroupSymbols> group,
                        std::span<const BYTE, kGroupPacks * kPackSize> packs) noexcept;

/// Encodes one sheet as one block of single-byte text, closed by its three size packs. A text of more than 254
/// bytes is cut there, between two characters. When the texts need more packs than a block has, the texts from the
/// first one that does not fit are left out.
class CZSCDTextEncoder {
public:
  using Pack = std::array<BYTE, kPackSize>;

  /// Encodes a sheet that says it has CD-Text; the sheet of the first call stands.
  /// @param withSubChannel Output in groups of 96 bytes, four packs each, and one more group for each pack that
  /// four do not divide, filled up from the first pack on; else the packs and one zero byte, the content of a .CDT
  /// file.
  /// @return false, with `*data` unchanged, when the sheet has no CD-Text. Throws std::bad_alloc.
  bool EncodePacks(const ZSCUESHEET& sheet, bool withSubChannel, std::vector<BYTE>* data);

private:
  static constexpr std::size_t kTextPacks = kPacksOfBlock - kSizeInfoPacks;

  void CollectTexts(const ZSCUESHEET& sheet);
  void AddText(BYTE track, BYTE type, BSTR text);
  void AddEntry(BYTE track, BYTE type, std::string_view text);
  void FinishPacks(const ZSCUESHEET& sheet);
  void FillSizeInfo(const ZSCUESHEET& sheet, std::span<char, kSizeInfoLength> info) const noexcept;
  void BuildPacks(BYTE block, ZSCDTEXTENTRY entry);
  std::size_t PacksNeeded(const ZSCDTEXTENTRY& entry) const noexcept;
  bool GoesOn(BYTE type, BYTE block) const noexcept;
  Pack StartPack(BYTE block, const ZSCDTEXTENTRY& entry, std::size_t position) const noexcept;

  std::vector<ZSCDTEXTENTRY> m_entries; ///< In the order of collection.
  UHYPER m_collected = 0;               ///< Bytes of all texts that were offered.
  std::vector<Pack> m_packs;
  bool m_pending = false; ///< The last pack has room left.
  std::size_t m_fill = 0; ///< Bytes of text in the pending pack.
  bool m_built = false;
};

/// Encodes a sheet into a new block of task memory that the caller frees.
/// @return 0; 1, with nothing changed, when the sheet has no CD-Text; E_OUTOFMEMORY, also thrown as
/// std::bad_alloc, with `*data` null and `*length` unchanged.
HRESULT EncodeSheetText(const ZSCUESHEET& sheet, bool withSubChannel, BYTE** data, LONG* length);
