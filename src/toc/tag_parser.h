/// @file
/// Parser of the text form of settings: finds tags in raw text and reports elements to a handler.
///
/// The text is a dialect of XML without references, sections and quotes. Every text is accepted: at an opening tag
/// without a closing tag, the parser leaves the level of that tag and continues after the element around it. Values are
/// not trimmed. An element with any "<" in its value counts as an element with child tags.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "toc/tag_index.h"

/// Receives the elements of a text in order.
class IZSTagHandler {
public:
  /// Called where an element with child tags opens.
  virtual void OnStartElement(const std::string& name, const std::string& attributes) = 0;
  /// Called for an element without child tags. The value of a self-closing tag is empty.
  virtual void OnValueElement(const std::string& name, const std::string& value, const std::string& attributes) = 0;
  /// Called where an element with child tags closes.
  virtual void OnEndElement(const std::string& name, const std::string& attributes) = 0;
  virtual ~IZSTagHandler() = default;
};

/// Finds the tags of one level in a span of a text. A span begins at the start of the text or after a ">". All offsets
/// are those of the whole text.
class CZSTagScanner {
public:
  CZSTagScanner(const TagIndex* index, ULONG start, ULONG end) noexcept : m_index(index), m_cursor(start), m_end(end) {}

  /// Finds the next element, self-closing tag, declaration or comment and moves the cursor to its end. Returns false,
  /// with the cursor unchanged, at the end of the span and at an element whose closing tag is not in the span.
  bool FindNextTag() noexcept;

  /// Returns the offset at which the next search starts.
  ULONG Cursor() const noexcept { return m_cursor; }
  /// Returns the tag that was found last. There must be one.
  const TextTag& Tag() const noexcept { return *m_tag; }
  std::string_view Name() const noexcept { return m_tag->Name(m_index->Text()); }
  std::string_view Attributes() const noexcept { return m_tag->Attributes(m_index->Text()); }
  /// Returns the text between the opening and the closing tag; empty for a self-closing tag.
  std::string_view Value() const noexcept;
  /// Returns a scanner of the value.
  CZSTagScanner Inside() const noexcept { return {m_index, m_tag->end + 1, m_tag->closeStart}; }

private:
  const TagIndex* m_index;
  ULONG m_cursor;
  ULONG m_end; ///< Offset of the end of the span.
  const TextTag* m_tag = nullptr;
};

/// Reports the elements of a text to a handler.
class CZSTagParser {
public:
  CZSTagParser() = default;
  CZSTagParser(const CZSTagParser&) = delete;
  CZSTagParser& operator=(const CZSTagParser&) = delete;
  virtual ~CZSTagParser() = default;

  /// Parses a text. The depth of its elements is limited by memory alone.
  /// @return false, with nothing reported, for null text, a length below 1, or without a handler.
  bool Parse(const char* text, LONG length);

  /// Sets the receiver, which is not owned.
  void SetHandler(IZSTagHandler* handler) noexcept { m_handler = handler; }

private:
  void ReportElements(const TagIndex& index);
  void CloseElements(std::vector<CZSTagScanner>* levels);

  IZSTagHandler* m_handler = nullptr;
};
