#include "platform/registry_text.h"

#include <algorithm>
#include <cstdio>

#include "platform/digits.h"

namespace {

constexpr std::string_view kHeading = "ImageFile Registry 1";
constexpr std::string_view kNumberMark = "dword:";
constexpr std::size_t kNumberDigits = 8;

// Each of these characters is written as a backslash and the letter at the same index of kEscapeLetters.
constexpr std::string_view kEscaped = "\n\r\\\"";
constexpr std::string_view kEscapeLetters = "nr\\\"";

/// Removes a prefix from a line. Returns false if the line does not begin with it.
bool RemovePrefix(std::string_view prefix, std::string_view* line) noexcept {
  const bool found = line->starts_with(prefix);
  line->remove_prefix(found ? prefix.size() : 0);
  return found;
}

/// Removes a text in quotes from the start of a line and appends it, unescaped, to `text`.
bool ParseText(std::string_view* line, std::string* text) {
  if (!RemovePrefix("\"", line)) {
    return false;
  }
  while (!line->empty()) {
    char c = line->front();
    line->remove_prefix(1);
    if (c == '"') {
      return true;
    }
    if (c == '\\') {
      const std::size_t index = line->empty() ? std::string_view::npos : kEscapeLetters.find(line->front());
      if (index == std::string_view::npos) {
        return false;
      }
      c = kEscaped[index];
      line->remove_prefix(1);
    }
    text->push_back(c);
  }
  return false;
}

/// Parses `"Name"=value` or `@=value` into a key.
bool ParseValue(std::string_view line, RegistryKey* key) {
  std::string name;
  if (!(RemovePrefix("@", &line) || ParseText(&line, &name)) || !RemovePrefix("=", &line)) {
    return false;
  }
  if (RemovePrefix(kNumberMark, &line)) {
    const bool complete = line.size() == kNumberDigits;
    key->SetNumber(name, static_cast<DWORD>(platform::ParseDigits(&line, 16).value));
    return complete && line.empty();
  }
  std::string text;
  if (!ParseText(&line, &text) || !line.empty()) {
    return false;
  }
  key->SetText(name, text);
  return true;
}

/// Finds or creates the key that a line in brackets names. Null unless it is a root or below one.
RegistryKey* ParseKey(std::string_view line, RegistryKey* registry) {
  if (!line.ends_with(']')) {
    return nullptr;
  }
  const std::string_view path = line.substr(1, line.size() - 2);
  const std::string_view root = path.substr(0, path.find('\\'));
  return root == kClassesRootName || root == kCurrentUserName ? registry->Create(path) : nullptr;
}

/// Removes the first line from a text and returns it without its line end.
std::string_view RemoveLine(std::string_view* text) noexcept {
  std::string_view line = text->substr(0, text->find('\n'));
  text->remove_prefix(std::min(line.size() + 1, text->size()));
  line.remove_suffix(line.ends_with('\r') ? 1 : 0);
  return line;
}

void AppendText(std::string_view text, std::string* out) {
  out->push_back('"');
  for (const char c : text) {
    const std::size_t index = kEscaped.find(c);
    if (index != std::string_view::npos) {
      out->push_back('\\');
    }
    out->push_back(index != std::string_view::npos ? kEscapeLetters[index] : c);
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
    char digits[kNumberDigits + 1];
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
    return true; // The file was created, but not written.
  }
  if (RemoveLine(&text) != kHeading || text.find('\0') != std::string_view::npos) {
    return false;
  }
  RegistryKey* key = nullptr;
  while (!text.empty()) {
    const std::string_view line = RemoveLine(&text);
    if (line.starts_with('[')) {
      key = ParseKey(line, registry);
      if (key == nullptr) {
        return false;
      }
    } else if (!line.empty() && !line.starts_with(';') && (key == nullptr || !ParseValue(line, key))) {
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
