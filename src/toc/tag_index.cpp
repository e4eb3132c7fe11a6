#include "toc/tag_index.h"

#include <algorithm>
#include <span>

namespace {

CZSTag ReadTag(std::string_view text, std::size_t start, std::size_t end) noexcept {
  CZSTag tag;
  tag.start = static_cast<ULONG>(start);
  tag.end = static_cast<ULONG>(end);
  tag.selfClosing = text[end - 1] == '/';
  const std::string_view inside = text.substr(start + 1, end - start - 1 - (tag.selfClosing ? 1 : 0));
  const std::string_view name = inside.substr(0, inside.find(' '));
  tag.nameSize = static_cast<ULONG>(name.size());
  tag.special = name.starts_with("?xml") || name.starts_with("!--");
  return tag;
}

/// The order of names by their last characters first.
bool EndsBefore(std::string_view left, std::string_view right) noexcept {
  const auto below = [](char l, char r) { return static_cast<unsigned char>(l) < static_cast<unsigned char>(r); };
  return std::lexicographical_compare(left.rbegin(), left.rend(), right.rbegin(), right.rend(), below);
}

/// Narrows names in that order to those that have `c` at a place counted from the end.
template <class Names> Names NamesWith(Names names, std::size_t fromEnd, char c) {
  const auto at = [fromEnd](const auto& name) {
    return fromEnd < name.text.size() ? static_cast<unsigned char>(name.text[name.text.size() - 1 - fromEnd]) : -1;
  };
  const int wanted = static_cast<unsigned char>(c);
  const auto from = std::partition_point(names.begin(), names.end(), [&](const auto& n) { return at(n) < wanted; });
  const auto to = std::partition_point(from, names.end(), [&](const auto& n) { return at(n) == wanted; });
  return Names(from, to);
}

/// Takes the opening and closing tags that end at the end of a stretch into account, for all names at once: the
/// stretch, which ends before a ">", is read backwards as long as some name ends like it.
template <class Name> void TakeTags(std::string_view stretch, std::size_t offset, std::span<Name> names) {
  for (std::size_t i = stretch.size(); i > 0 && !names.empty(); --i) {
    const std::size_t length = stretch.size() - i;
    const char before = stretch[i - 1];
    if (names.front().text.size() == length) {
      std::vector<ULONG>* closings = &names.front().closings;
      if (before == '/' && i > 1 && stretch[i - 2] == '<') {
        closings->push_back(static_cast<ULONG>(offset + i - 2));
      } else if (before == '<' && !closings->empty()) {
        closings->pop_back();
      }
    }
    names = NamesWith(names, length, before);
  }
}

} // namespace

std::string_view CZSTag::Attributes(std::string_view text) const noexcept {
  const ULONG from = start + nameSize + 2;
  return nameSize == 0 || from >= end ? std::string_view() : text.substr(from, end - from);
}

CZSTagIndex::CZSTagIndex(std::string_view text) : m_text(text) {
  CollectTags();
  PairTags();
}

const CZSTag* CZSTagIndex::FirstFrom(std::size_t position) const noexcept {
  const auto found = std::partition_point(m_tags.begin(), m_tags.end(),
                                          [position](const CZSTag& tag) { return tag.start < position; });
  return found == m_tags.end() ? nullptr : &*found;
}

void CZSTagIndex::CollectTags() {
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

/// Makes the sorted list of different names and tells for each tag the place of its own; kNoName for tags that need
/// none.
std::vector<ULONG> CZSTagIndex::CollectNames(std::vector<Name>* names) {
  std::vector<ULONG> order;
  for (std::size_t i = 0; i < m_tags.size(); ++i) {
    if (m_tags[i].OpensElement()) {
      order.push_back(static_cast<ULONG>(i));
    }
  }
  std::sort(order.begin(), order.end(),
            [this](ULONG left, ULONG right) { return EndsBefore(NameOf(left), NameOf(right)); });
  std::vector<ULONG> nameOfTag(m_tags.size(), kNoName);
  for (const ULONG tag : order) {
    if (names->empty() || names->back().text != NameOf(tag)) {
      names->push_back({NameOf(tag), {}});
    }
    nameOfTag[tag] = static_cast<ULONG>(names->size() - 1);
  }
  return nameOfTag;
}

void CZSTagIndex::PairTags() {
  std::vector<Name> names;
  const std::vector<ULONG> nameOfTag = CollectNames(&names);
  for (std::size_t i = m_tags.size(); i-- > 0;) {
    CZSTag& tag = m_tags[i];
    if (nameOfTag[i] != kNoName && !names[nameOfTag[i]].closings.empty()) {
      tag.closeStart = names[nameOfTag[i]].closings.back();
    }
    // No name holds a ">", so all that ends at this tag's ">" begins behind the one before, at a "<".
    TakeTags(m_text.substr(tag.start, tag.end - tag.start), tag.start, std::span(names));
  }
}
