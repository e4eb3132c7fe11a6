#include "toc/tag_index.h"

#include <algorithm>
#include <cstdint>
#include <span>

namespace {

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

/// The order of names by their last characters first.
bool EndsBefore(std::string_view left, std::string_view right) noexcept {
  const auto below = [](char l, char r) { return static_cast<unsigned char>(l) < static_cast<unsigned char>(r); };
  return std::lexicographical_compare(left.rbegin(), left.rend(), right.rbegin(), right.rend(), below);
}

constexpr std::size_t kEndLength = 8;

/// The last characters of a name as a number, the very last on top and zeros before the first, which tells the order of
/// most names.
std::uint64_t EndOf(std::string_view name) noexcept {
  std::uint64_t end = 0;
  for (std::size_t i = 1; i <= kEndLength; ++i) {
    end = end << 8 | (i <= name.size() ? static_cast<unsigned char>(name[name.size() - i]) : 0);
  }
  return end;
}

/// An opening tag, to be put in that order.
struct OpeningTag {
  std::uint64_t nameEnd;
  ULONG nameSize;
  ULONG place;
};

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

std::string_view TextTag::Attributes(std::string_view text) const noexcept {
  const ULONG from = start + nameSize + 2;
  return nameSize == 0 || from >= end ? std::string_view() : text.substr(from, end - from);
}

TagIndex::TagIndex(std::string_view text) : m_text(text) {
  CollectTags();
  PairTags();
}

const TextTag* TagIndex::FirstFrom(std::size_t position) const noexcept {
  const auto found = std::partition_point(m_tags.begin(), m_tags.end(),
                                          [position](const TextTag& tag) { return tag.start < position; });
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

/// Makes the sorted list of different names and tells for each tag the place of its own; kNoName for tags that need
/// none.
std::vector<ULONG> TagIndex::CollectNames(std::vector<Name>* names) {
  const auto opens = [](const TextTag& tag) { return tag.OpensElement(); };
  std::vector<OpeningTag> tags;
  tags.reserve(static_cast<std::size_t>(std::count_if(m_tags.begin(), m_tags.end(), opens)));
  for (std::size_t i = 0; i < m_tags.size(); ++i) {
    if (m_tags[i].OpensElement()) {
      tags.push_back({EndOf(m_tags[i].Name(m_text)), m_tags[i].nameSize, static_cast<ULONG>(i)});
    }
  }
  std::sort(tags.begin(), tags.end(), [this](const OpeningTag& left, const OpeningTag& right) {
    if (left.nameEnd != right.nameEnd) {
      return left.nameEnd < right.nameEnd;
    }
    const bool areShort = left.nameSize <= kEndLength && right.nameSize <= kEndLength;
    return areShort ? left.nameSize < right.nameSize : EndsBefore(NameOf(left.place), NameOf(right.place));
  });
  std::vector<ULONG> nameOfTag(m_tags.size(), kNoName);
  for (const OpeningTag& tag : tags) {
    const std::string_view name = NameOf(tag.place);
    if (names->empty() || names->back().text != name) {
      names->push_back({name, {}});
    }
    nameOfTag[tag.place] = static_cast<ULONG>(names->size() - 1);
  }
  return nameOfTag;
}

void TagIndex::PairTags() {
  std::vector<Name> names;
  const std::vector<ULONG> nameOfTag = CollectNames(&names);
  for (std::size_t i = m_tags.size(); i-- > 0;) {
    TextTag& tag = m_tags[i];
    if (nameOfTag[i] != kNoName && !names[nameOfTag[i]].closings.empty()) {
      tag.closeStart = names[nameOfTag[i]].closings.back();
    }
    // No name holds a ">", so all that ends at this tag's ">" begins behind the one before, at a "<".
    TakeTags(m_text.substr(tag.start, tag.end - tag.start), tag.start, std::span(names));
  }
}
