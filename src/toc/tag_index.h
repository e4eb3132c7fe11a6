/// @file
/// Index of the tags of a text, and how they pair.
///
/// A tag runs from a "<" to the first ">" after it; quotes mean nothing. A search for a tag starts at the start of the
/// text or after a ">", so only the first "<" between two ">" can open a tag. To find the closing tag of an element,
/// closing tags "</name>" and plain opening tags "<name>" of its name are counted from the end of its opening tag on.
/// The closing tag is the first at which there are more closing than opening tags.
#pragma once

#include <deque>
#include <string_view>

#include "platform/base_types.h"

/// A tag that may open an element. The record is small because a text may consist of tags alone.
struct TextTag {
  static constexpr ULONG kNoClose = 0xFFFFFFFF;

  ULONG start = 0;             ///< Offset of the "<".
  ULONG end = 0;               ///< Offset of the ">".
  ULONG closeStart = kNoClose; ///< Offset of the "<" of the closing tag.
  ULONG nameSize = 0;          ///< Length of the name, which ends at the first blank or at the end of the tag.
  bool selfClosing = false;    ///< Whether the tag ends with "/>".
  bool special = false;        ///< Whether it is a declaration ("?xml") or a comment ("!--").

  /// Returns whether the tag needs a closing tag.
  bool OpensElement() const noexcept { return !selfClosing && !special; }
  /// Returns the offset of the ">" of the closing tag.
  ULONG CloseEnd() const noexcept { return closeStart + nameSize + 2; }
  std::string_view Name(std::string_view text) const noexcept { return text.substr(start + 1, nameSize); }
  /// Returns the raw text from the second character after the name up to the ">".
  std::string_view Attributes(std::string_view text) const noexcept;
};

/// Index of the tags of a text. The text must outlive the index and be shorter than 2^31 bytes. Memory is proportional
/// to the text. Time is proportional to the size of the text times the logarithm of the number of names.
class TagIndex {
public:
  explicit TagIndex(std::string_view text);

  std::string_view Text() const noexcept { return m_text; }
  /// Returns the first tag that starts at an offset or after it, or null.
  const TextTag* FirstFrom(std::size_t offset) const noexcept;

private:
  void CollectTags();
  void PairTags();

  std::string_view m_text;
  std::deque<TextTag> m_tags; ///< A vector would need three times the memory while it grows.
};
