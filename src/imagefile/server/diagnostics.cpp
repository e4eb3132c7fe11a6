#include "imagefile/server/diagnostics.h"

#include "platform/named_mutex.h"
#include "platform/registry.h"

namespace {

LONG ReadLevel() noexcept {
  HKEY key{};
  if (RegOpenKeyExA(HKEY_CURRENT_USER, "Software\\Zentora\\Zentora Scribe\\MMC", 0, KEY_READ, &key) != ERROR_SUCCESS) {
    return -1;
  }
  DWORD type = 0;
  DWORD level = 0;
  DWORD size = sizeof(level);
  const DWORD error = RegQueryValueExA(key, "DebugLevel", nullptr, &type, reinterpret_cast<BYTE*>(&level), &size);
  RegCloseKey(key);
  return error == ERROR_SUCCESS && type == REG_DWORD ? static_cast<LONG>(level) : -1;
}

} // namespace

Diagnostics::Diagnostics() noexcept : level(ReadLevel()), mutex(CreateMutexA("ZSModuleTrace")) {}
