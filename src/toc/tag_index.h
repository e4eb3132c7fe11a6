/// @file
/// The tags of a text and how they pair up, found in one go.
///
/// A tag runs from a "<" to the first ">" behind it; quotes mean nothing. Whatever span of the text is walked,
/// its walk begins at the start of the text or behind a ">", so only the first "<" between two ">" can open a
/// tag. The closing tag of an element is the one at which, counted from behind the opening tag, closing tags
/// "</name>" first outnumber plain opening tags "<name>" of the same name.
#pragma once

#include <deque>
#include <string_view>
#include <vector>

#include "platform/base_types.h"

/// One possible opening tag. Positions are offsets in the text, which is not kept: a text may be little else than
/// tags, and each of them takes this record.
struct TextTag {
  static constexpr ULONG kNoClose = 0xFFFFFFFF;

  ULONG start = 0;             ///< Of the "<".
  ULONG end = 0;               ///< Of the ">".
  ULONG closeStart = kNoClose; ///< Of the "<" of the closing tag, where there is one.
  ULONG nameSize = 0;          ///< Up to the first blank; only that ends a name. May be 0.
  bool selfClosing = false;    ///< A "/" stands before the ">".
  bool special = false;        ///< A declaration or a comment, by the start of the name.

  /// Whether it has a value and a closing tag at all.
  bool OpensElement() const noexcept { return !selfClosing && !special; }
  /// Of the ">" of the closing tag.
  ULONG CloseEnd() const noexcept { return closeStart + nameSize + 2; }
  std::string_view Name(std::string_view text) const noexcept { return text.substr(start + 1, nameSize); }
  /// Raw text, from the second character behind the name up to the ">".
  std::string_view Attributes(std::string_view text) const noexcept;
};

/// The tags of one text, which must outlive the index and be shorter than 2^31 bytes. Memory is proportional to
/// the text. Time is, too, but for a factor that grows with the logarithm of the number of tags.
class TagIndex {
public:
  explicit TagIndex(std::string_view text);

  std::string_view Text() const noexcept { return m_text; }
  /// The first tag that starts at or behind a position; null when there is none.
  const TextTag* FirstFrom(std::size_t position) const noexcept;

private:
  /// A name that an opening tag of the text has, with the closing tags that are met and not paired yet, the
  /// nearest last, as the text is gone through from its end.
  struct Name {
    std::string_view text;
    std::vector<ULONG> closings;
  };
  static constexpr ULONG kNoName = 0xFFFFFFFF;

  void CollectTags();
  std::vector<ULONG> CollectNames(std::vector<Name>* names);
  void PairTags();
  std::string_view NameOf(ULONG tag) const noexcept { return m_tags[tag].Name(m_text); }

  std::string_view m_text;
  std::deque<TextTag> m_tags; ///< Grows in place: a text of bare tags takes many times its size here.
};
