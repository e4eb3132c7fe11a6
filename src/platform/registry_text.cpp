#include "platform/registry_text.h"

#include <charconv>
#include <cstdio>

namespace {

constexpr std::string_view kHeading = "ImageFile Registry 1";
constexpr std::string_view kNumberMark = "dword:";

/// The texts of one line, read from the left.
class LineReader {
public:
  explicit LineReader(std::string_view line) noexcept : m_rest(line) {}

  bool AtEnd() const noexcept { return m_rest.empty(); }

  bool Take(std::string_view expected) noexcept {
    if (m_rest.substr(0, expected.size()) != expected) {
      return false;
    }
    m_rest.remove_prefix(expected.size());
    return true;
  }

  /// A text in quotes.
  bool TakeText(std::string* text) {
    if (!Take("\"")) {
      return false;
    }
    while (!m_rest.empty() && m_rest.front() != '"') {
      const char c = m_rest.front();
      m_rest.remove_prefix(1);
      if (c != '\\') {
        text->push_back(c);
      } else if (!TakeEscaped(text)) {
        return false;
      }
    }
    return Take("\"");
  }

  /// Eight hexadecimal digits.
  bool TakeNumber(DWORD* number) noexcept {
    const char* end = m_rest.data() + m_rest.size();
    const auto [stop, error] = std::from_chars(m_rest.data(), end, *number, 16);
    const bool whole = error == std::errc() && stop == end && m_rest.size() == 8;
    m_rest = {};
    return whole;
  }

private:
  bool TakeEscaped(std::string* text) {
    if (m_rest.empty()) {
      return false;
    }
    const char c = m_rest.front();
    m_rest.remove_prefix(1);
    if (c != '\\' && c != '"' && c != 'n' && c != 'r') {
      return false;
    }
    text->push_back(c == 'n' ? '\n' : c == 'r' ? '\r' : c);
    return true;
  }

  std::string_view m_rest;
};

/// Reads `"Name"=value` or `@=value` into a key.
bool ParseValue(std::string_view line, RegistryKey* key) {
  LineReader reader(line);
  std::string name;
  if (!reader.Take("@") && !reader.TakeText(&name)) {
    return false;
  }
  if (!reader.Take("=")) {
    return false;
  }
  if (reader.Take(kNumberMark)) {
    DWORD number = 0;
    if (!reader.TakeNumber(&number)) {
      return false;
    }
    key->SetNumber(name, number);
    return true;
  }
  std::string text;
  if (!reader.TakeText(&text) || !reader.AtEnd()) {
    return false;
  }
  key->SetText(name, text);
  return true;
}

/// The key that a line in brackets names, made where it is missing. Null unless it stands below one of the roots.
RegistryKey* ParseKey(std::string_view line, RegistryKey* registry) {
  if (line.back() != ']') {
    return nullptr;
  }
  const std::string_view path = line.substr(1, line.size() - 2);
  const std::string_view root = path.substr(0, path.find('\\'));
  return root == kClassesRootName || root == kCurrentUserName ? registry->Create(path) : nullptr;
}

std::string_view TakeLine(std::string_view* text) noexcept {
  const std::size_t end = text->find('\n');
  std::string_view line = text->substr(0, end);
  *text = end == std::string_view::npos ? std::string_view() : text->substr(end + 1);
  if (!line.empty() && line.back() == '\r') {
    line.remove_suffix(1);
  }
  return line;
}

void AppendText(std::string_view text, std::string* out) {
  out->push_back('"');
  for (const char c : text) {
    switch (c) {
    case '\n':
      *out += "\\n";
      break;
    case '\r':
      *out += "\\r";
      break;
    case '\\':
    case '"':
      out->push_back('\\');
      [[fallthrough]];
    default:
      out->push_back(c);
    }
  }
  out->push_back('"');
}

void AppendValue(const RegistryValue& value, std::string* out) {
  if (value.name.empty()) {
    out->push_back('@');
  } else {
    AppendText(value.name, out);
  }
  out->push_back('=');
  if (value.type == REG_SZ) {
    AppendText(value.text, out);
  } else {
    char digits[9];
    static_cast<void>(std::snprintf(digits, sizeof(digits), "%08x", value.number));
    *out += kNumberMark;
    *out += digits;
  }
  out->push_back('\n');
}

void AppendKey(const RegistryKey& key, const std::string& path, std::string* out) {
  *out += "\n[" + path + "]\n";
  for (const auto& [upper, value] : key.values) {
    AppendValue(value, out);
  }
  for (const auto& [upper, child] : key.keys) {
    AppendKey(*child, path + "\\" + child->name, out);
  }
}

} // namespace

bool platform::ParseRegistry(std::string_view text, RegistryKey* registry) {
  if (text.empty()) {
    return true; // A file that was made and never filled.
  }
  if (TakeLine(&text) != kHeading || text.find('\0') != std::string_view::npos) {
    return false;
  }
  RegistryKey* key = nullptr;
  while (!text.empty()) {
    const std::string_view line = TakeLine(&text);
    if (line.empty() || line.front() == ';') {
      continue;
    }
    if (line.front() == '[') {
      key = ParseKey(line, registry);
    } else if (key != nullptr && !ParseValue(line, key)) {
      return false;
    }
    if (key == nullptr) {
      return false;
    }
  }
  return true;
}

std::string platform::FormatRegistry(const RegistryKey& registry) {
  std::string text(kHeading);
  text.push_back('\n');
  for (const auto& [upper, root] : registry.keys) {
    AppendKey(*root, root->name, &text);
  }
  return text;
}
