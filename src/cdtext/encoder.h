/// @file
/// Encoder of the texts of a sheet into CD-Text packs.
#pragma once

#include <array>
#include <span>
#include <string_view>
#include <vector>

#include "cdtext/packs.h"

inline constexpr std::size_t kPacksOfBlock = 256; ///< Most packs of a block: sequence numbers have 8 bits.
inline constexpr std::size_t kSizeInfoPacks = 3;
inline constexpr std::size_t kSizeInfoLength = kSizeInfoPacks * kPackTextSize;

inline constexpr std::size_t kGroupPacks = 4;
inline constexpr std::size_t kGroupSymbols = kGroupPacks * kPackSize * 8 / 6; ///< 96, of six bits in one byte each.

/// One text to be packed.
struct ZSCDTEXTENTRY {
  BYTE track = 0; ///< Track that has the text; 0 for the disc.
  BYTE type = 0;
  std::array<char, 255> text{}; ///< Narrow text and its zero byte.
  USHORT length = 0;            ///< Bytes of `text`, zero byte included.
};

/// Computes the CRC of a pack: polynomial x^16 + x^12 + x^5 + 1, most significant bit first, initial value 0, result
/// inverted.
USHORT CrcCDText(const BYTE* bytes, std::size_t count) noexcept;

/// Spreads four packs over the six-bit symbols R to W of the sub-channel, one symbol in the low bits of each byte.
void SpreadToSubChannel(std::span<BYTE, kGroupSymbols> group,
                        std::span<const BYTE, kGroupPacks * kPackSize> packs) noexcept;

/// Encodes the texts of a sheet as one block of single-byte text, which ends with three packs of size information.
/// Texts of more than 254 bytes are cut between two characters. If a block is too small for all texts, those from the
/// first that does not fit are left out.
class CZSCDTextEncoder {
public:
  using Pack = std::array<BYTE, kPackSize>;

  /// @param withSubChannel False for the content of a .CDT file: the packs and one zero byte. True for groups of four
  /// packs in 96 symbols; see "sub-channel groups" in docs/compatibility.md for packs that fill no whole group.
  /// @return false, with `*data` unchanged, if the sheet has no CD-Text. Throws std::bad_alloc.
  bool EncodePacks(const ZSCUESHEET& sheet, bool withSubChannel, std::vector<BYTE>* data);

private:
  static constexpr std::size_t kTextPacks = kPacksOfBlock - kSizeInfoPacks;

  void CollectTexts(const ZSCUESHEET& sheet);
  void CollectText(BYTE track, BYTE type, BSTR text);
  void BuildTextPacks();
  void BuildSizePacks(const ZSCUESHEET& sheet);
  void AppendToPacks(ZSCDTEXTENTRY entry);
  bool LastPackHasRoom(BYTE type) const noexcept;
  std::size_t PacksNeeded(const ZSCDTEXTENTRY& entry) const noexcept;
  Pack StartPack(const ZSCDTEXTENTRY& entry, std::size_t position) const noexcept;

  std::vector<ZSCDTEXTENTRY> m_entries;
  std::size_t m_collectedBytes = 0; ///< Bytes of all texts of the sheet, zero bytes included.
  std::vector<Pack> m_packs;
  std::size_t m_fill = kPackTextSize; ///< Bytes of text in the last pack.
};

/// Encodes a sheet into a new block of task memory that the caller frees.
/// @return 0; 1, with nothing changed, if the sheet has no CD-Text; E_OUTOFMEMORY, with `*data` null and `*length`
/// unchanged. Throws std::bad_alloc, with the same effect.
HRESULT EncodeSheetText(const ZSCUESHEET& sheet, bool withSubChannel, BYTE** data, LONG* length);
