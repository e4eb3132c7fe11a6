// How tags pair, shown on a text of ten characters:
//
//     offset  0123456789
//     text    <b><b></b>      one element name: "b"
//
// The text is read backward, from each ">" to the "<" that starts its tag, and each name keeps a stack of the closing
// tags that are not paired yet:
//
//     ">" at 9   "b", then "/" and "<": a closing tag of "b". Its offset 6 is pushed onto the stack of "b".
//     ">" at 5   The tag at 3 opens an element "b": its closing tag is the top of the stack, 6.
//                "b", then "<": a plain opening tag of "b". It removes 6 from the stack.
//     ">" at 2   The tag at 0 opens an element "b". The stack is empty: the element has no closing tag.
//
// A name may contain "<" and may be the end of another name, so one ">" may end tags of several names. The names are
// sorted by their reversed text, and each character that is read narrows the range of names that still match.
#include "toc/tag_index.h"

#include <algorithm>
#include <map>
#include <span>
#include <string>
#include <vector>

namespace {

/// Offsets of the closing tags of each element name that are not paired yet, by the reversed name.
using ClosingTags = std::map<std::string, std::vector<ULONG>>;
using ElementName = ClosingTags::value_type;

TextTag ReadTag(std::string_view text, std::size_t start, std::size_t end) noexcept {
  TextTag tag;
  tag.start = static_cast<ULONG>(start);
  tag.end = static_cast<ULONG>(end);
  tag.selfClosing = text[end - 1] == '/';
  const std::string_view inside = text.substr(start + 1, end - start - 1 - (tag.selfClosing ? 1 : 0));
  const std::string_view name = inside.substr(0, inside.find(' '));
  tag.nameSize = static_cast<ULONG>(name.size());
  tag.special = name.starts_with("?xml") || name.starts_with("!--");
  return tag;
}

/// Returns the reversed names that have a character at an index. They must be sorted and equal before that index.
std::span<ElementName* const> NamesWith(std::span<ElementName* const> names, std::size_t index, char wanted) {
  const auto characterOf = [index](const ElementName* name) {
    return index < name->first.size() ? static_cast<unsigned char>(name->first[index]) : -1;
  };
  const int character = static_cast<unsigned char>(wanted);
  const auto first = std::ranges::lower_bound(names, character, {}, characterOf);
  return {first, std::ranges::upper_bound(first, names.end(), character, {}, characterOf)};
}

/// Updates the stacks of all names that have a tag which ends at a ">". `text` is the text before that ">", which
/// starts at `offset`.
void UpdateClosingTags(std::string_view text, std::size_t offset, std::span<ElementName* const> names) {
  for (std::size_t i = text.size(); i > 0 && !names.empty(); --i) {
    const std::size_t length = text.size() - i;
    const char before = text[i - 1];
    if (auto& [name, closings] = *names.front(); name.size() == length) {
      if (before == '/' && i > 1 && text[i - 2] == '<') {
        closings.push_back(static_cast<ULONG>(offset + i - 2));
      } else if (before == '<' && !closings.empty()) {
        closings.pop_back();
      }
    }
    names = NamesWith(names, length, before);
  }
}

} // namespace

std::string_view TextTag::Attributes(std::string_view text) const noexcept {
  const ULONG from = start + nameSize + 2;
  return nameSize == 0 || from >= end ? std::string_view() : text.substr(from, end - from);
}

TagIndex::TagIndex(std::string_view text) : m_text(text) {
  CollectTags();
  PairTags();
}

const TextTag* TagIndex::FirstFrom(std::size_t offset) const noexcept {
  const auto found = std::ranges::lower_bound(m_tags, offset, {}, &TextTag::start);
  return found == m_tags.end() ? nullptr : &*found;
}

void TagIndex::CollectTags() {
  std::size_t start = m_text.find('<');
  while (start != std::string_view::npos) {
    const std::size_t end = m_text.find('>', start);
    if (end == std::string_view::npos) {
      return;
    }
    m_tags.push_back(ReadTag(m_text, start, end));
    start = m_text.find('<', end);
  }
}

void TagIndex::PairTags() {
  ClosingTags closings;
  std::vector<ElementName*> nameOfTag(m_tags.size());
  for (std::size_t i = 0; i < m_tags.size(); ++i) {
    if (m_tags[i].OpensElement()) {
      const std::string_view name = m_tags[i].Name(m_text);
      nameOfTag[i] = &*closings.try_emplace({name.rbegin(), name.rend()}).first;
    }
  }
  std::vector<ElementName*> names;
  for (ElementName& name : closings) {
    names.push_back(&name);
  }
  for (std::size_t i = m_tags.size(); i-- > 0;) {
    TextTag& tag = m_tags[i];
    if (nameOfTag[i] != nullptr && !nameOfTag[i]->second.empty()) {
      tag.closeStart = nameOfTag[i]->second.back();
    }
    UpdateClosingTags(m_text.substr(tag.start, tag.end - tag.start), tag.start, names);
  }
}
