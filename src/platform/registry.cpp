#include "platform/registry.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "platform/files.h"
#include "platform/registry_text.h"
#include "platform/text.h"

namespace {

constexpr std::size_t kMaxName = 255;
constexpr std::size_t kMaxDepth = 512;

/// Removes the first name from a path and returns it.
std::string_view RemoveName(std::string_view* path) noexcept {
  const std::string_view name = path->substr(0, path->find('\\'));
  path->remove_prefix(std::min(name.size() + 1, path->size()));
  return name;
}

bool IsKeyName(std::string_view name) noexcept {
  return !name.empty() && name.size() <= kMaxName &&
         std::ranges::none_of(name, [](char c) { return static_cast<BYTE>(c) < 0x20; });
}

bool IsKeyPath(std::string_view path) noexcept {
  if (path.ends_with('\\')) {
    return false;
  }
  std::size_t depth = 0;
  while (!path.empty()) {
    if (!IsKeyName(RemoveName(&path)) || ++depth > kMaxDepth) {
      return false;
    }
  }
  return true;
}

/// What an HKEY points to: a copy of the registry and a key in it.
struct OpenKey {
  RegistryKey registry;
  RegistryKey* key = nullptr;
};

OpenKey* OpenKeyOf(HKEY key) noexcept {
  return reinterpret_cast<OpenKey*>(key); // NOLINT(performance-no-int-to-ptr): the number is a pointer.
}

DWORD OpenPath(const std::string& path, OpenKey* open) {
  const DWORD error = ReadRegistry(&open->registry);
  if (error != ERROR_SUCCESS) {
    return error;
  }
  open->key = open->registry.Find(path);
  return open->key == nullptr ? ERROR_FILE_NOT_FOUND : ERROR_SUCCESS;
}

DWORD CopyData(const RegistryValue& value, BYTE* data, DWORD* size) noexcept {
  const bool isText = value.type == REG_SZ;
  const void* bytes = isText ? static_cast<const void*>(value.text.c_str()) : &value.number;
  const auto length = static_cast<DWORD>(isText ? value.text.size() + 1 : sizeof(value.number));
  const bool fits = *size >= length;
  *size = length;
  if (!fits) {
    return ERROR_MORE_DATA;
  }
  std::memcpy(data, bytes, length);
  return ERROR_SUCCESS;
}

} // namespace

RegistryKey* RegistryKey::Find(std::string_view path) {
  RegistryKey* key = this;
  while (key != nullptr && !path.empty()) {
    const auto child = key->keys.find(platform::Upper(RemoveName(&path)));
    key = child == key->keys.end() ? nullptr : child->second.get();
  }
  return key;
}

RegistryKey* RegistryKey::Create(std::string_view path) {
  if (!IsKeyPath(path)) {
    return nullptr;
  }
  RegistryKey* key = this;
  while (!path.empty()) {
    const std::string_view childName = RemoveName(&path);
    std::unique_ptr<RegistryKey>& child = key->keys[platform::Upper(childName)];
    if (!child) {
      child = std::make_unique<RegistryKey>();
      child->name = childName;
    }
    key = child.get();
  }
  return key;
}

void RegistryKey::Remove(std::string_view child) { keys.erase(platform::Upper(child)); }

const RegistryValue* RegistryKey::FindValue(std::string_view valueName) const {
  const auto value = values.find(platform::Upper(valueName));
  return value == values.end() ? nullptr : &value->second;
}

std::string RegistryKey::Text(std::string_view valueName) const {
  const RegistryValue* value = FindValue(valueName);
  return value == nullptr ? std::string() : value->text;
}

void RegistryKey::SetText(std::string_view valueName, std::string_view content) {
  const std::string_view text = content.substr(0, content.find('\0'));
  values[platform::Upper(valueName)] = {std::string(valueName), REG_SZ, std::string(text), 0};
}

void RegistryKey::SetNumber(std::string_view valueName, DWORD number) {
  values[platform::Upper(valueName)] = {std::string(valueName), REG_DWORD, std::string(), number};
}

DWORD RegOpenKeyExA(HKEY root, const char* subKey, DWORD /*options*/, DWORD /*access*/, HKEY* opened) noexcept {
  if (root != HKEY_CLASSES_ROOT && root != HKEY_CURRENT_USER) {
    return ERROR_INVALID_HANDLE;
  }
  const char* rootName = root == HKEY_CLASSES_ROOT ? kClassesRootName : kCurrentUserName;
  try {
    auto open = std::make_unique<OpenKey>();
    const DWORD error = OpenPath(rootName + ('\\' + std::string(subKey)), open.get());
    if (error == ERROR_SUCCESS) {
      *opened = HKEY{reinterpret_cast<std::uintptr_t>(open.release())};
    }
    return error;
  } catch (const std::bad_alloc&) {
    return ERROR_NOT_ENOUGH_MEMORY;
  }
}

DWORD RegQueryValueExA(HKEY key, const char* name, DWORD* /*reserved*/, DWORD* type, BYTE* data, DWORD* size) noexcept {
  try {
    const RegistryValue* value = OpenKeyOf(key)->key->FindValue(name);
    if (value == nullptr) {
      return ERROR_FILE_NOT_FOUND;
    }
    *type = value->type;
    return CopyData(*value, data, size);
  } catch (const std::bad_alloc&) {
    return ERROR_NOT_ENOUGH_MEMORY;
  }
}

DWORD RegCloseKey(HKEY key) noexcept {
  delete OpenKeyOf(key);
  return ERROR_SUCCESS;
}
