#include "imagefile/server/registrar.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "platform/files.h"
#include "platform/guard.h"
#include "platform/registry.h"

namespace {

constexpr int kMaxDepth = 32;

enum class Removal { IfEmpty, Never, Whole };

struct ScriptValue {
  std::string name; ///< Empty for the text of the key itself.
  std::string text;
  Removal removal = Removal::IfEmpty;
};

struct ScriptKey {
  std::string name;
  Removal removal = Removal::IfEmpty;
  std::vector<ScriptValue> values;
  std::vector<ScriptKey> keys;
};

/// A word of a script, its replaceable names replaced.
struct Token {
  std::string text;
  bool quoted = false;

  bool Is(std::string_view word) const noexcept { return !quoted && text == word; }
};

/// Takes a script apart into its words.
class ScriptReader {
public:
  ScriptReader(std::string_view script, const ScriptNames& names) : m_rest(script), m_names(names) { Advance(); }

  bool AtEnd() const noexcept { return !m_token; }
  /// False when the text breaks a rule of words.
  bool IsSound() const noexcept { return m_sound; }

  /// Takes the next word if it is this one.
  bool Take(std::string_view word) {
    if (!m_token || !m_token->Is(word)) {
      return false;
    }
    Advance();
    return true;
  }

  bool IsNext(std::string_view word) const noexcept { return m_token && m_token->Is(word); }

  /// Takes a name or a text; signs of the grammar are none.
  bool TakeText(std::string* text) {
    if (!m_token || IsNext("{") || IsNext("}") || IsNext("=")) {
      return false;
    }
    *text = m_token->text;
    Advance();
    return true;
  }

private:
  static constexpr std::string_view kBlanks = " \t\r\n";

  void Advance() {
    m_token.reset();
    m_rest.remove_prefix(std::min(m_rest.find_first_not_of(kBlanks), m_rest.size()));
    if (!m_sound || m_rest.empty()) {
      return;
    }
    Token token;
    std::string raw;
    token.quoted = m_rest.front() == '\'';
    if (token.quoted) {
      m_sound = TakeQuoted(&raw);
    } else {
      const std::size_t end = std::min(m_rest.find_first_of(kBlanks), m_rest.size());
      raw = m_rest.substr(0, end);
      m_rest.remove_prefix(end);
    }
    m_sound = m_sound && Replace(raw, &token.text);
    if (m_sound) {
      m_token = token;
    }
  }

  bool TakeQuoted(std::string* raw) {
    m_rest.remove_prefix(1);
    for (;;) {
      const std::size_t quote = m_rest.find('\'');
      if (quote == std::string_view::npos) {
        return false;
      }
      *raw += m_rest.substr(0, quote);
      m_rest.remove_prefix(quote + 1);
      if (m_rest.empty() || m_rest.front() != '\'') {
        return true;
      }
      raw->push_back('\'');
      m_rest.remove_prefix(1);
    }
  }

  bool Replace(std::string_view raw, std::string* text) const {
    for (;;) {
      const std::size_t mark = raw.find('%');
      *text += raw.substr(0, mark);
      if (mark == std::string_view::npos) {
        return true;
      }
      raw.remove_prefix(mark + 1);
      const std::size_t end = raw.find('%');
      if (end == std::string_view::npos) {
        return false;
      }
      const auto name = m_names.find(raw.substr(0, end));
      if (end != 0 && name == m_names.end()) {
        return false;
      }
      *text += end == 0 ? "%" : name->second;
      raw.remove_prefix(end + 1);
    }
  }

  std::string_view m_rest;
  const ScriptNames& m_names;
  std::optional<Token> m_token;
  bool m_sound = true;
};

Removal TakeRemoval(ScriptReader* reader) {
  return reader->Take("NoRemove") ? Removal::Never : reader->Take("ForceRemove") ? Removal::Whole : Removal::IfEmpty;
}

/// A text behind its type.
bool ParseText(ScriptReader* reader, std::string* text) { return reader->Take("s") && reader->TakeText(text); }

bool ParseNamedValue(ScriptReader* reader, Removal removal, ScriptKey* key) {
  ScriptValue value{{}, {}, removal};
  if (!reader->TakeText(&value.name) || !reader->Take("=") || !ParseText(reader, &value.text)) {
    return false;
  }
  key->values.push_back(value);
  return true;
}

bool ParseBlock(ScriptReader* reader, int depth, ScriptKey* key);

bool ParseKey(ScriptReader* reader, Removal removal, int depth, ScriptKey* parent) {
  ScriptKey key;
  key.removal = removal;
  if (!reader->TakeText(&key.name) || key.name.empty() || key.name.find('\\') != std::string::npos) {
    return false;
  }
  if (reader->Take("=")) {
    ScriptValue own{{}, {}, Removal::Never}; // It goes when the key goes.
    if (!ParseText(reader, &own.text)) {
      return false;
    }
    key.values.push_back(own);
  }
  if (reader->IsNext("{") && !ParseBlock(reader, depth + 1, &key)) {
    return false;
  }
  parent->keys.push_back(std::move(key));
  return true;
}

/// What stands between a key's braces.
bool ParseBlock(ScriptReader* reader, int depth, ScriptKey* key) {
  if (depth > kMaxDepth || !reader->Take("{")) {
    return false;
  }
  while (!reader->Take("}")) {
    const Removal removal = TakeRemoval(reader);
    const bool parsed =
        reader->Take("val") ? ParseNamedValue(reader, removal, key) : ParseKey(reader, removal, depth, key);
    if (!parsed) {
      return false;
    }
  }
  return true;
}

/// Reads a script into a key without name that holds the roots.
bool ParseScript(std::string_view script, const ScriptNames& names, ScriptKey* roots) {
  ScriptReader reader(script, names);
  while (!reader.AtEnd()) {
    ScriptKey root;
    root.removal = Removal::Never;
    root.name = reader.Take("HKCR") ? "HKEY_CLASSES_ROOT" : reader.Take("HKCU") ? "HKEY_CURRENT_USER" : "";
    if (root.name.empty() || !ParseBlock(&reader, 1, &root)) {
      return false;
    }
    roots->keys.push_back(std::move(root));
  }
  return reader.IsSound();
}

/// False when the registry takes no key of that name.
bool Register(const ScriptKey& script, RegistryKey* parent) {
  if (script.removal == Removal::Whole) {
    parent->Remove(script.name);
  }
  RegistryKey* key = parent->Create(script.name);
  if (key == nullptr) {
    return false;
  }
  for (const ScriptValue& value : script.values) {
    key->SetText(value.name, value.text);
  }
  return std::all_of(script.keys.begin(), script.keys.end(),
                     [key](const ScriptKey& child) { return Register(child, key); });
}

void Unregister(const ScriptKey& script, RegistryKey* parent) {
  RegistryKey* key = parent->Find(script.name);
  if (key == nullptr) {
    return;
  }
  if (script.removal == Removal::Whole) {
    parent->Remove(script.name);
    return;
  }
  for (const ScriptValue& value : script.values) {
    if (value.removal != Removal::Never) {
      key->RemoveValue(value.name);
    }
  }
  for (const ScriptKey& child : script.keys) {
    Unregister(child, key);
  }
  if (script.removal == Removal::IfEmpty && key->keys.empty()) {
    parent->Remove(script.name);
  }
}

} // namespace

HRESULT RunRegistrationScript(std::string_view script, const ScriptNames& names, RegistrarMode mode) noexcept {
  return Guarded([&] {
    ScriptKey roots;
    if (!ParseScript(script, names, &roots)) {
      return E_INVALIDARG;
    }
    const DWORD error = ChangeRegistry([&](RegistryKey* registry) -> DWORD {
      for (const ScriptKey& root : roots.keys) {
        if (mode == RegistrarMode::Unregister) {
          Unregister(root, registry);
        } else if (!Register(root, registry)) {
          return ERROR_INVALID_NAME;
        }
      }
      return ERROR_SUCCESS;
    });
    return HRESULT_FROM_WIN32(static_cast<std::int32_t>(error));
  });
}
