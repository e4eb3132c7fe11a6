#include "platform/profile.h"

#include <algorithm>

#include "platform/files.h"
#include "platform/text.h"

namespace {

constexpr std::string_view kBlanks = " \t\r\n\v\f";

std::string_view Trim(std::string_view text) noexcept {
  const std::size_t first = text.find_first_not_of(kBlanks);
  return first == std::string_view::npos ? std::string_view()
                                         : text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::string_view DropQuotes(std::string_view value) noexcept {
  const bool quoted =
      value.size() >= 2 && (value.front() == '"' || value.front() == '\'') && value.back() == value.front();
  return quoted ? value.substr(1, value.size() - 2) : value;
}

std::string Upper(std::string_view text) {
  std::string upper(text);
  CharUpperA(&upper);
  return upper;
}

std::string_view SectionOf(std::string_view line) noexcept { return Trim(line.substr(1, line.find(']', 1) - 1)); }

/// What a line says of a key before its `=`.
std::string_view KeyOf(std::string_view line) noexcept { return Trim(line.substr(0, line.find('='))); }

std::string ReadWhole(const std::string& path) {
  const UniqueHandle file(CreateFileA(path, GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL));
  constexpr DWORD kTooLarge = 0x80000000U;
  DWORD high = 0;
  const DWORD size = file ? GetFileSize(file.Get(), &high) : 0;
  if (high != 0 || size >= kTooLarge) {
    return {};
  }
  std::string text(size, '\0');
  DWORD came = 0;
  ReadFile(file.Get(), text.data(), size, &came);
  text.resize(came);
  return text;
}

int DigitOf(char c, std::uint32_t base) noexcept {
  const int digit = c >= '0' && c <= '9'   ? c - '0'
                    : c >= 'a' && c <= 'f' ? c - 'a' + 10
                    : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                           : 16;
  return digit < static_cast<int>(base) ? digit : -1;
}

LONG ParseInt(std::string_view text) noexcept {
  std::size_t i = 0;
  const bool negative = !text.empty() && text[0] == '-';
  if (negative || (!text.empty() && text[0] == '+')) {
    ++i;
  }
  std::uint32_t base = 10;
  if (i + 1 < text.size() && text[i] == '0' && (text[i + 1] == 'x' || text[i + 1] == 'X')) {
    base = 16;
    i += 2;
  }
  std::uint32_t number = 0;
  for (; i < text.size() && DigitOf(text[i], base) >= 0; ++i) {
    number = number * base + static_cast<std::uint32_t>(DigitOf(text[i], base));
  }
  return static_cast<LONG>(negative ? 0U - number : number);
}

} // namespace

ProfileFile::ProfileFile(const std::string& path) : m_text(ReadWhole(path)), m_entries(0, Hash{this}, Equal{this}) {
  Index();
}

void ProfileFile::Index() {
  std::uint32_t section = 0;
  bool skip = true; // Keys before the first section belong to none, and those of a repeated section do not count.
  for (std::size_t start = 0; start < m_text.size(); start = std::min(m_text.find('\n', start), m_text.size()) + 1) {
    const std::string_view line = LineAt(start);
    const auto place = static_cast<std::uint32_t>(start);
    if (line.empty() || line.front() == ';') {
      continue;
    }
    if (line.front() == '[') {
      section = place;
      skip = !m_entries.insert({kSections, place}).second;
    } else if (!skip && line.find('=') != std::string_view::npos) {
      m_entries.insert({section, place});
    }
  }
}

std::string_view ProfileFile::LineAt(std::size_t start) const noexcept {
  const std::string_view rest = std::string_view(m_text).substr(start);
  return Trim(rest.substr(0, rest.find('\n')));
}

ProfileFile::Name ProfileFile::NameOf(const Entry& entry) const noexcept {
  const std::string_view line = LineAt(entry.line);
  return {entry.section, entry.section == kSections ? SectionOf(line) : KeyOf(line)};
}

std::size_t ProfileFile::Hash::operator()(const Name& name) const {
  return std::hash<std::string>()(Upper(name.name)) * 31 + name.section;
}

bool ProfileFile::Equal::operator()(const Name& left, const Name& right) const {
  return left.section == right.section && Upper(left.name) == Upper(right.name);
}

std::optional<std::string_view> ProfileFile::Find(std::string_view section, std::string_view key) const {
  const auto heading = m_entries.find(Name{kSections, section});
  if (heading == m_entries.end()) {
    return std::nullopt;
  }
  const auto found = m_entries.find(Name{heading->line, key});
  if (found == m_entries.end()) {
    return std::nullopt;
  }
  const std::string_view line = LineAt(found->line);
  return DropQuotes(Trim(line.substr(line.find('=') + 1)));
}

LONG ProfileFile::GetInt(std::string_view section, std::string_view key, LONG missing) const {
  const std::optional<std::string_view> value = Find(section, key);
  return value ? ParseInt(*value) : missing;
}

std::string ProfileFile::GetString(std::string_view section, std::string_view key, std::size_t limit) const {
  const std::optional<std::string_view> value = Find(section, key);
  return value && limit != 0 ? std::string(value->substr(0, limit - 1)) : std::string();
}

LONG GetPrivateProfileIntA(std::string_view section, std::string_view key, LONG missing, const std::string& path) {
  return ProfileFile(path).GetInt(section, key, missing);
}

std::string GetPrivateProfileStringA(std::string_view section, std::string_view key, std::string_view missing,
                                     std::size_t limit, const std::string& path) {
  const ProfileFile profile(path);
  return profile.Find(section, key) ? profile.GetString(section, key, limit) : std::string(missing);
}
