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

/// Takes the first name off a path.
std::string_view TakeName(std::string_view* path) noexcept {
  const std::size_t end = path->find('\\');
  const std::string_view name = path->substr(0, end);
  *path = end == std::string_view::npos ? std::string_view() : path->substr(end + 1);
  return name;
}

bool IsKeyName(std::string_view name) noexcept {
  return !name.empty() && name.size() <= kMaxName &&
         std::none_of(name.begin(), name.end(), [](char c) { return static_cast<BYTE>(c) < 0x20; });
}

bool IsKeyPath(std::string_view path) noexcept {
  if (!path.empty() && path.back() == '\\') {
    return false;
  }
  std::size_t depth = 0;
  while (!path.empty()) {
    if (!IsKeyName(TakeName(&path)) || ++depth > kMaxDepth) {
      return false;
    }
  }
  return true;
}

/// A key that a caller has open: a part of a registry that lives as long as any key of it is open.
struct OpenKey {
  std::shared_ptr<const RegistryKey> registry;
  const RegistryKey* key = nullptr;
};

OpenKey* Opened(HKEY key) noexcept {
  return reinterpret_cast<OpenKey*>(key); // NOLINT(performance-no-int-to-ptr): it was made of a pointer.
}

const char* RootName(HKEY key) noexcept {
  return key == HKEY_CLASSES_ROOT ? kClassesRootName : key == HKEY_CURRENT_USER ? kCurrentUserName : nullptr;
}

/// Finds what a handle and a path name.
DWORD FindKey(HKEY key, std::string_view path, OpenKey* found) {
  if (const char* root = RootName(key); root != nullptr) {
    const auto registry = std::make_shared<RegistryKey>();
    const DWORD error = ReadRegistry(registry.get());
    if (error != 0) {
      return error;
    }
    *found = {registry, registry->Find(root)};
  } else if (key == HKEY{}) {
    return ERROR_INVALID_HANDLE;
  } else {
    *found = *Opened(key);
  }
  found->key = found->key == nullptr ? nullptr : found->key->Find(path);
  return found->key == nullptr ? ERROR_FILE_NOT_FOUND : ERROR_SUCCESS;
}

template <class Work> DWORD WithoutExceptions(Work work) noexcept {
  try {
    return work();
  } catch (const std::bad_alloc&) {
    return ERROR_NOT_ENOUGH_MEMORY;
  } catch (...) {
    return ERROR_GEN_FAILURE;
  }
}

/// Hands out the data of a value.
DWORD Deliver(const RegistryValue& value, BYTE* data, DWORD* size) noexcept {
  const bool text = value.type == REG_SZ;
  const void* bytes = text ? static_cast<const void*>(value.text.c_str()) : &value.number;
  const auto length = static_cast<DWORD>(text ? value.text.size() + 1 : sizeof(value.number));
  if (size == nullptr) {
    return data == nullptr ? ERROR_SUCCESS : ERROR_INVALID_PARAMETER;
  }
  const bool fits = *size >= length;
  *size = length;
  if (data == nullptr) {
    return ERROR_SUCCESS;
  }
  if (!fits) {
    return ERROR_MORE_DATA;
  }
  std::memcpy(data, bytes, length);
  return ERROR_SUCCESS;
}

} // namespace

RegistryKey* RegistryKey::Find(std::string_view path) const {
  const RegistryKey* key = this;
  while (!path.empty()) {
    const auto child = key->keys.find(platform::Upper(TakeName(&path)));
    if (child == key->keys.end()) {
      return nullptr;
    }
    key = child->second.get();
  }
  return const_cast<RegistryKey*>(key);
}

RegistryKey* RegistryKey::Create(std::string_view path) {
  if (!IsKeyPath(path)) {
    return nullptr;
  }
  RegistryKey* key = this;
  while (!path.empty()) {
    const std::string_view child = TakeName(&path);
    std::unique_ptr<RegistryKey>& place = key->keys[platform::Upper(child)];
    if (!place) {
      place = std::make_unique<RegistryKey>();
      place->name = child;
    }
    key = place.get();
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

void RegistryKey::RemoveValue(std::string_view valueName) { values.erase(platform::Upper(valueName)); }

DWORD RegOpenKeyExA(HKEY key, const char* subKey, DWORD /*options*/, DWORD /*access*/, HKEY* opened) noexcept {
  if (opened == nullptr) {
    return ERROR_INVALID_PARAMETER;
  }
  return WithoutExceptions([&] {
    auto found = std::make_unique<OpenKey>();
    const DWORD error = FindKey(key, subKey == nullptr ? "" : subKey, found.get());
    if (error == ERROR_SUCCESS) {
      *opened = HKEY{reinterpret_cast<std::uintptr_t>(found.release())};
    }
    return error;
  });
}

DWORD RegQueryValueExA(HKEY key, const char* name, DWORD* /*reserved*/, DWORD* type, BYTE* data, DWORD* size) noexcept {
  return WithoutExceptions([&]() -> DWORD {
    OpenKey found;
    const DWORD error = FindKey(key, "", &found);
    if (error != ERROR_SUCCESS) {
      return error;
    }
    const RegistryValue* value = found.key->FindValue(name == nullptr ? "" : name);
    if (value == nullptr) {
      return ERROR_FILE_NOT_FOUND;
    }
    if (type != nullptr) {
      *type = value->type;
    }
    return Deliver(*value, data, size);
  });
}

DWORD RegCloseKey(HKEY key) noexcept {
  if (RootName(key) == nullptr) {
    delete Opened(key);
  }
  return ERROR_SUCCESS;
}
