/// @file
/// The reader of the text form of settings: finds tags in raw text and tells a handler of elements.
///
/// The text looks like XML and is a dialect of its own. Nothing is refused: text that makes no sense ends the
/// walk of the level that it stands on, and what was told before stands. References, sections and quotes are not
/// known, values are not trimmed, and an element whose value holds any "<" counts as one with child tags.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "toc/tag_index.h"

/// Receives the elements of a text, in order. The arguments last for the call.
class IZSTagHandler {
public:
  /// An element that has child tags opens.
  virtual void OnStartElement(const std::string& name, const std::string& attributes) = 0;
  /// An element without child tags, with its text; empty for a self-closing tag.
  virtual void OnValueElement(const std::string& name, const std::string& value, const std::string& attributes) = 0;
  /// An element that has child tags closes.
  virtual void OnEndElement(const std::string& name, const std::string& attributes) = 0;
  virtual ~IZSTagHandler() = default;
};

/// Goes through one span of a text, tag by tag. A span begins at the start of the text or behind a ">". All
/// positions are those of the whole text.
class CZSTagScanner {
public:
  CZSTagScanner(const TagIndex* index, ULONG start, ULONG end) noexcept : m_index(index), m_cursor(start), m_end(end) {}

  /// Finds the next element, self-closing tag, declaration or comment and moves the cursor behind it. False at
  /// the end, and at an element whose closing tag is not in the span; the cursor stays then.
  bool FindNextTag() noexcept;

  /// Where the next search starts.
  ULONG Cursor() const noexcept { return m_cursor; }
  /// The tag that was found last; there must be one.
  const TextTag& Tag() const noexcept { return *m_tag; }
  std::string_view Name() const noexcept { return m_tag->Name(m_index->Text()); }
  std::string_view Attributes() const noexcept { return m_tag->Attributes(m_index->Text()); }
  /// The text between its opening and closing tag; empty for a self-closing tag.
  std::string_view Value() const noexcept;
  /// A scanner of its value.
  CZSTagScanner Inside() const noexcept { return {m_index, m_tag->end + 1, m_tag->closeStart}; }

private:
  const TagIndex* m_index;
  ULONG m_cursor;
  ULONG m_end; ///< Behind the last character of the span.
  const TextTag* m_tag = nullptr;
};

/// Tells a handler of the elements of a text.
class CZSTagParser {
public:
  CZSTagParser() = default;
  CZSTagParser(const CZSTagParser&) = delete;
  CZSTagParser& operator=(const CZSTagParser&) = delete;
  virtual ~CZSTagParser() = default;

  /// Goes through `length` bytes of text. Nesting is limited by memory alone.
  /// @return false, with nothing done, for null text, a length below 1, or without a handler; else true.
  bool Parse(const char* text, LONG length);

  /// The receiver, not owned.
  void SetHandler(IZSTagHandler* handler) noexcept { m_handler = handler; }

private:
  void Walk(const TagIndex& index);
  void EndWalk(std::vector<CZSTagScanner>* levels);

  IZSTagHandler* m_handler = nullptr;
};
