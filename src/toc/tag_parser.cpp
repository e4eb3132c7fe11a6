#include "toc/tag_parser.h"

bool CZSTagScanner::FindNextTag() noexcept {
  const TextTag* tag = m_index->FirstFrom(m_cursor);
  if (tag == nullptr || tag->end >= m_end) {
    return false;
  }
  const bool opens = tag->OpensElement();
  if (opens && (tag->closeStart == TextTag::kNoClose || tag->CloseEnd() >= m_end)) {
    return false;
  }
  m_tag = tag;
  m_cursor = opens ? tag->CloseEnd() : tag->end + 1;
  return true;
}

std::string_view CZSTagScanner::Value() const noexcept {
  if (!m_tag->OpensElement()) {
    return {};
  }
  return m_index->Text().substr(m_tag->end + 1, m_tag->closeStart - m_tag->end - 1);
}

bool CZSTagParser::Parse(const char* text, LONG length) {
  if (text == nullptr || length < 1 || m_handler == nullptr) {
    return false;
  }
  ReportElements(TagIndex(std::string_view(text, static_cast<std::size_t>(length))));
  return true;
}

void CZSTagParser::ReportElements(const TagIndex& index) {
  std::vector<CZSTagScanner> levels{{&index, 0, static_cast<ULONG>(index.Text().size())}};
  while (!levels.empty()) {
    CZSTagScanner& scanner = levels.back();
    if (!scanner.FindNextTag()) {
      CloseElements(&levels);
      continue;
    }
    if (scanner.Tag().special) {
      continue;
    }
    const std::string name(scanner.Name());
    const std::string_view value = scanner.Value();
    const bool hasTags = value.find('<') != std::string_view::npos;
    if (hasTags && !name.empty()) {
      m_handler->OnStartElement(name, std::string(scanner.Attributes()));
    } else if (!name.empty()) {
      m_handler->OnValueElement(name, std::string(value), std::string(scanner.Attributes()));
    }
    if (hasTags) {
      levels.push_back(scanner.Inside());
    }
  }
}

/// Leaves the innermost level and reports the end of its element. If the last tag of that level has no value and is
/// directly before the closing tag, the level around it ends as well. See "self-closing tags" in docs/compatibility.md.
void CZSTagParser::CloseElements(std::vector<CZSTagScanner>* levels) {
  bool ended = true;
  while (ended) {
    const ULONG cursor = levels->back().Cursor();
    levels->pop_back();
    if (levels->empty()) {
      return;
    }
    const CZSTagScanner& outer = levels->back();
    if (!outer.Name().empty()) {
      m_handler->OnEndElement(std::string(outer.Name()), std::string(outer.Attributes()));
    }
    ended = cursor >= outer.Tag().closeStart;
  }
}
