#include "toc/tag_parser.h"

bool CZSTagScanner::FindNextTag() noexcept {
  const TextTag* tag = m_index->FirstFrom(m_cursor);
  if (tag == nullptr || tag->end >= m_end) {
    return false;
  }
  if (!tag->OpensElement()) {
    m_tag = tag;
    m_cursor = tag->end + 1;
    return true;
  }
  if (tag->closeStart == TextTag::kNoClose || tag->CloseEnd() >= m_end) {
    return false;
  }
  m_tag = tag;
  const std::string_view span = m_index->Text().substr(0, m_end);
  const std::size_t next = span.find('<', tag->CloseEnd());
  m_cursor = next == std::string_view::npos ? tag->CloseEnd() : static_cast<ULONG>(next);
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
  Walk(TagIndex(std::string_view(text, static_cast<std::size_t>(length))));
  return true;
}

void CZSTagParser::Walk(const TagIndex& index) {
  std::vector<CZSTagScanner> levels{{&index, 0, static_cast<ULONG>(index.Text().size())}};
  while (!levels.empty()) {
    CZSTagScanner& scanner = levels.back();
    if (!scanner.FindNextTag()) {
      EndWalk(&levels);
      continue;
    }
    if (scanner.Tag().special) {
      continue;
    }
    const bool named = !scanner.Name().empty();
    const std::string_view value = scanner.Value();
    const bool hasTags = value.find('<') != std::string_view::npos;
    if (hasTags && named) {
      m_handler->OnStartElement(std::string(scanner.Name()), std::string(scanner.Attributes()));
    } else if (named) {
      m_handler->OnValueElement(std::string(scanner.Name()), std::string(value), std::string(scanner.Attributes()));
    }
    if (hasTags) {
      levels.push_back(scanner.Inside());
    }
  }
}

/// Ends the walk of the innermost element and closes the element. When a tag without a value was the last thing
/// in it, with nothing before the closing tag, the walk around it ends as well: that is how files of this format
/// have always been read.
void CZSTagParser::EndWalk(std::vector<CZSTagScanner>* levels) {
  bool ended = true;
  while (ended) {
    const ULONG stopped = levels->back().Cursor();
    levels->pop_back();
    if (levels->empty()) {
      return;
    }
    const CZSTagScanner& around = levels->back();
    if (!around.Name().empty()) {
      m_handler->OnEndElement(std::string(around.Name()), std::string(around.Attributes()));
    }
    ended = stopped >= around.Tag().closeStart;
  }
}
