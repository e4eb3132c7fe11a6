#include "platform/profile.h"

#include <algorithm>

#include "platform/digits.h"
#include "platform/files.h"

namespace {

std::string_view DropQuotes(std::string_view value) noexcept {
  const bool quoted =
      value.size() >= 2 && (value.front() == '"' || value.front() == '\'') && value.back() == value.front();
  return quoted ? value.substr(1, value.size() - 2) : value;
}

bool IsHeading(std::string_view line) noexcept { return line.starts_with('['); }

bool HasKey(std::string_view line) noexcept {
  return !line.starts_with(';') && line.find('=') != std::string_view::npos;
}

/// Returns the name under which a section is indexed. Its bracket distinguishes it from all keys.
std::string SectionName(std::string_view name) { return '[' + platform::Upper(name); }

/// Returns the name under which a heading, or a line with a key, is indexed.
std::string NameOf(std::string_view line) {
  return IsHeading(line) ? SectionName(platform::Trim(line.substr(1, line.find(']') - 1)))
                         : platform::Upper(platform::Trim(line.substr(0, line.find('='))));
}

std::uint32_t HashOf(const std::string& name) noexcept {
  return static_cast<std::uint32_t>(std::hash<std::string>()(name));
}

LONG ParseInt(std::string_view text) noexcept {
  const bool negative = platform::ParseSign(&text);
  const bool isHexadecimal = text.starts_with("0x") || text.starts_with("0X");
  text.remove_prefix(isHexadecimal ? 2 : 0);
  const auto number = static_cast<ULONG>(platform::ParseDigits(&text, isHexadecimal ? 16 : 10).value);
  return static_cast<LONG>(negative ? 0U - number : number);
}

} // namespace

bool ProfileFile::Load(const std::string& path) {
  m_lines.clear();
  m_headings.clear();
  const bool read = ReadWholeFile(path, kMaxSize, &m_text);
  for (std::size_t start = 0; start < m_text.size(); start = std::min(m_text.find('\n', start), m_text.size()) + 1) {
    const std::string_view line = LineAt(start);
    const auto offset = static_cast<std::uint32_t>(start);
    if (IsHeading(line)) {
      m_headings.push_back(offset);
    } else if (m_headings.empty() || !HasKey(line)) {
      continue;
    }
    m_lines.push_back({HashOf(NameOf(line)), offset});
  }
  std::ranges::sort(m_lines);
  return read;
}

/// Returns the line at an offset without the blanks around it.
std::string_view ProfileFile::LineAt(std::size_t offset) const noexcept {
  const std::string_view rest = std::string_view(m_text).substr(offset);
  return platform::Trim(rest.substr(0, rest.find('\n')));
}

/// Finds the first line of a name between the offsets `first` and `end`. Null if there is none.
const ProfileFile::NamedLine* ProfileFile::FindLine(const std::string& name, std::size_t first, std::size_t end) const {
  const NamedLine wanted{HashOf(name), static_cast<std::uint32_t>(first)};
  auto line = std::ranges::lower_bound(m_lines, wanted);
  for (; line != m_lines.end() && line->hash == wanted.hash && line->offset < end; ++line) {
    if (NameOf(LineAt(line->offset)) == name) {
      return &*line;
    }
  }
  return nullptr;
}

ProfileFile::Section ProfileFile::GetSection(std::string_view name) const {
  const NamedLine* heading = FindLine(SectionName(name), 0, m_text.size());
  if (heading == nullptr) {
    return Section(this, 0, 0);
  }
  const auto next = std::ranges::upper_bound(m_headings, heading->offset);
  return Section(this, heading->offset + 1, next == m_headings.end() ? m_text.size() : *next);
}

std::optional<std::string_view> ProfileFile::Section::Find(std::string_view key) const {
  const NamedLine* found = m_profile->FindLine(platform::Upper(key), m_first, m_end);
  if (found == nullptr) {
    return std::nullopt;
  }
  const std::string_view line = m_profile->LineAt(found->offset);
  return DropQuotes(platform::Trim(line.substr(line.find('=') + 1)));
}

LONG ProfileFile::Section::GetInt(std::string_view key, LONG missing) const {
  const std::optional<std::string_view> value = Find(key);
  return value ? ParseInt(*value) : missing;
}

std::string ProfileFile::Section::GetString(std::string_view key, std::size_t limit) const {
  const std::optional<std::string_view> value = Find(key);
  return value && limit != 0 ? std::string(value->substr(0, limit - 1)) : std::string();
}
