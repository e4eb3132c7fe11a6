#include "toc/settings_document.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <sstream>

#include "foundation/file.h"
#include "platform/digits.h"

namespace {

constexpr char kDeclaration[] = "<?xml version=\"1.0\" encoding=\"ISO-8859-1\" ?>\n";
constexpr std::size_t kIndentUnit = 3;
constexpr std::size_t kWriteLimit = std::size_t{1} << 30; // One write takes a count of 32 bits.

std::string Indent(std::size_t level) { return std::string(level * kIndentUnit, ' '); }

void WriteOpening(std::ostream& stream, const CZSSettingsNode& node, std::size_t level) {
  stream << Indent(level) << '<' << node.name << ">\n";
  for (const CZSSettingsEntry& entry : node.Entries()) {
    stream << Indent(level + 1) << '<' << entry.key << '>' << entry.value << "</" << entry.key << ">\n";
  }
}

/// Line feeds as files have them.
std::string WithCarriageReturns(std::string_view text) {
  std::string result;
  result.reserve(text.size() + static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')));
  for (const char c : text) {
    if (c == '\n') {
      result.push_back('\r');
    }
    result.push_back(c);
  }
  return result;
}

/// Takes away the carriage returns that stand before line feeds.
void DropCarriageReturns(std::string* text) noexcept {
  std::size_t kept = 0;
  for (std::size_t i = 0; i < text->size(); ++i) {
    if ((*text)[i] != '\r' || i + 1 == text->size() || (*text)[i + 1] != '\n') {
      (*text)[kept++] = (*text)[i];
    }
  }
  text->resize(kept);
}

} // namespace

std::optional<std::int64_t> LeadingNumber(std::string_view text) noexcept {
  while (!text.empty() && platform::IsBlank(text.front())) {
    text.remove_prefix(1);
  }
  const bool negative = platform::ParseSign(&text);
  const platform::Digits digits = platform::ParseDigits(&text, 10);
  if (!digits.found) {
    return std::nullopt;
  }
  constexpr std::uint64_t kMax = std::numeric_limits<std::int64_t>::max();
  const auto number = static_cast<std::int64_t>(digits.overflows ? kMax : std::min(digits.value, kMax));
  return negative ? -number : number;
}

std::vector<std::string> CZSSettingsDocument::SplitPath(const char* path) {
  std::string_view rest(path == nullptr ? "" : path);
  std::vector<std::string> parts;
  for (std::size_t colon = rest.find(':'); colon != std::string_view::npos; colon = rest.find(':')) {
    parts.emplace_back(rest.substr(0, colon));
    rest.remove_prefix(colon + 1);
  }
  if (!parts.empty() && !rest.empty()) {
    parts.emplace_back(rest);
  }
  return parts;
}

bool CZSSettingsDocument::SetValue(const char* path, const std::string& value) {
  const std::vector<std::string> parts = SplitPath(path);
  if (parts.size() < 2) {
    return true;
  }
  const std::size_t names = parts.size() - 1;
  CZSSettingsNode* node = &m_builder.Root();
  std::size_t i = 1;
  if (node->name == parts[0]) {
    for (CZSSettingsNode* next = nullptr; i < names && (next = node->FindChild(parts[i])) != nullptr; ++i) {
      node = next;
    }
  } else {
    m_builder.NameRoot(parts[0], {});
  }
  for (; i < names; ++i) {
    node = node->AppendChild(parts[i], {});
  }
  node->SetEntry(parts.back(), value, {});
  return true;
}

bool CZSSettingsDocument::SetValue(const char* path, const char* value) {
  return SetValue(path, std::string(value == nullptr ? "" : value));
}

bool CZSSettingsDocument::SetValue(const char* path, LONG value) { return SetValue(path, std::to_string(value)); }

bool CZSSettingsDocument::SetValue(const char* path, USHORT value) { return SetValue(path, std::to_string(value)); }

bool CZSSettingsDocument::SetValue(const char* path, ULONG value) { return SetValue(path, std::to_string(value)); }

bool CZSSettingsDocument::GetValue(const char* path, std::string* value, const std::string& missing) const {
  const std::vector<std::string> parts = SplitPath(path);
  const CZSSettingsNode* node = parts.size() < 2 ? nullptr : FindNode(parts, parts.size() - 1);
  const CZSSettingsEntry* entry = node == nullptr ? nullptr : node->FindEntry(parts.back());
  *value = entry == nullptr ? missing : entry->value;
  return entry != nullptr;
}

bool CZSSettingsDocument::GetValue(const char* path, LONG* value, LONG missing) const {
  std::string text;
  *value = missing;
  if (!GetValue(path, &text, {})) {
    return false;
  }
  const std::optional<std::int64_t> number = LeadingNumber(text);
  if (!number || *number < std::numeric_limits<LONG>::min() || *number > std::numeric_limits<LONG>::max()) {
    return false;
  }
  *value = static_cast<LONG>(*number);
  return true;
}

const CZSSettingsNode* CZSSettingsDocument::FindNode(const char* path) const {
  const std::vector<std::string> parts = SplitPath(path);
  return FindNode(parts, parts.size());
}

const CZSSettingsNode* CZSSettingsDocument::FindNode(const std::vector<std::string>& parts, std::size_t names) const {
  if (names == 0 || Root().name != parts[0]) {
    return nullptr;
  }
  const CZSSettingsNode* node = &Root();
  for (std::size_t i = 1; i < names && node != nullptr; ++i) {
    node = node->FindChild(parts[i]);
  }
  return node;
}

void CZSSettingsDocument::WriteText(std::ostream& stream) const {
  struct Level {
    const CZSSettingsNode* node;
    std::list<CZSSettingsNode>::const_iterator next;
  };
  stream << kDeclaration;
  WriteOpening(stream, Root(), 0);
  std::vector<Level> levels{{&Root(), Root().Children().begin()}};
  while (!levels.empty()) {
    Level& level = levels.back();
    if (level.next != level.node->Children().end()) {
      const CZSSettingsNode& child = *level.next++;
      WriteOpening(stream, child, levels.size());
      levels.push_back({&child, child.Children().begin()});
    } else {
      const std::string& name = level.node->name;
      levels.pop_back();
      stream << Indent(levels.size()) << "</" << name << ">\n";
    }
  }
}

void CZSSettingsDocument::Save(const std::string& path) const {
  std::ostringstream stream;
  stream.exceptions(std::ios::badbit); // Without it a lack of memory would go by and leave a part of the text.
  WriteText(stream);
  const std::string text = WithCarriageReturns(stream.view());
  CZSFile file;
  bool written = file.Open(path, GENERIC_WRITE, FILE_SHARE_READ, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL);
  for (std::size_t done = 0; written && done < text.size(); done += kWriteLimit) {
    written = file.Write(text.data() + done, static_cast<DWORD>(std::min(kWriteLimit, text.size() - done)));
  }
}

void CZSSettingsDocument::Load(const std::string& path) {
  CZSFile file;
  if (!file.OpenForReading(path)) {
    return;
  }
  std::string text;
  ReadToEnd(file.Handle(), std::numeric_limits<LONG>::max(), &text);
  DropCarriageReturns(&text);
  Clear();
  SetHandler(&m_builder);
  Parse(text.data(), static_cast<LONG>(text.size()));
}
