/// @file
/// The registry: keys and values of the current user, in one text file.
///
/// The file is `ImageFile/registry.reg` in `$XDG_DATA_HOME`, else in `~/.local/share`; the environment variable
/// `IMAGEFILE_REGISTRY` names another. A key is a line `[HKEY_CLASSES_ROOT\Name\Name]`, and below it stand its
/// values: `"Name"="text"`, `"Name"=dword:0000002a`, and `@="text"` for the one without a name. `\` and `"` in names
/// and texts are written `\\` and `\"`. Lines that begin with `;` are skipped, and lost when the file is written.
///
/// A change replaces the whole file in one step, so that a crash leaves the old or the new state, and waits for
/// other processes that are changing it. A reader waits for nobody. Names match without regard to case. A file
/// that breaks a rule is refused as a whole and never overwritten.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "platform/base_types.h"

inline constexpr DWORD REG_SZ = 1;    ///< Narrow text, with a zero behind.
inline constexpr DWORD REG_DWORD = 4; ///< A 32-bit number.

inline constexpr DWORD ERROR_MORE_DATA = 234; ///< The buffer is too small.
inline constexpr DWORD ERROR_BADDB = 1009;    ///< The registry's file breaks the rules of its format.

/// One value of a key.
struct RegistryValue {
  std::string name;    ///< As it was spelled; empty for the value without a name.
  DWORD type = REG_SZ; ///< REG_SZ or REG_DWORD.
  std::string text;    ///< REG_SZ only.
  DWORD number = 0;    ///< REG_DWORD only.
};

/// One key with all that stands below it, as a copy in memory. Paths are relative to the key, their names
/// separated by `\`; the empty path is the key itself. Its operations throw std::bad_alloc.
struct RegistryKey {
  std::string name;                                         ///< As it was spelled.
  std::map<std::string, RegistryValue> values;              ///< By name in upper case.
  std::map<std::string, std::unique_ptr<RegistryKey>> keys; ///< By name in upper case.

  /// Null when there is no such key.
  RegistryKey* Find(std::string_view path);
  /// Finds a key, or makes it with all that are missing on the way to it. Null, with nothing made, for a path that
  /// has an empty name, one of more than 255 bytes, one with control characters, or more than 512 names.
  RegistryKey* Create(std::string_view path);
  /// Removes the key of this name with all that stands below it, if it is there.
  void Remove(std::string_view child);

  /// Null when there is no such value.
  const RegistryValue* FindValue(std::string_view valueName) const;
  /// The text of a value; empty when there is none, or when it is a number.
  std::string Text(std::string_view valueName) const;
  /// Adds a value, or replaces it. A text ends at its first zero byte.
  void SetText(std::string_view valueName, std::string_view content);
  /// The same with a number.
  void SetNumber(std::string_view valueName, DWORD number);
  /// Removes a value, if it is there.
  void RemoveValue(std::string_view valueName);
};

/// Path of the registry's file; empty when the user has no home folder.
std::string RegistryPath();

/// Reads the whole registry below a key without name, whose keys are the roots `HKEY_CLASSES_ROOT` and
/// `HKEY_CURRENT_USER`. A missing file is an empty registry.
/// @return 0; ERROR_BADDB, or what the system refused. Throws std::bad_alloc.
DWORD ReadRegistry(RegistryKey* registry);

/// Reads the registry, lets `change` work on it and writes it, while no other process can do the same. When
/// `change` answers other than 0, or throws, nothing is written; neither is it when nothing has changed.
/// @return 0; what `change` answered; ERROR_BADDB, or what the system refused. Throws std::bad_alloc.
DWORD ChangeRegistry(const std::function<DWORD(RegistryKey* registry)>& change);

/// A root, or an open key.
enum class HKEY : std::uintptr_t {};
inline constexpr HKEY HKEY_CLASSES_ROOT{0x80000000U}; ///< Root of the classes.
inline constexpr HKEY HKEY_CURRENT_USER{0x80000001U}; ///< Root of the user's settings.

inline constexpr DWORD KEY_READ = 0x20019; ///< The only kind of access.

/// Opens a key for reading. Its values are those of this moment until it is closed.
/// @param root One of the two roots. @param subKey Path of the key below the root. @param options Not read.
/// @param access Not read. @param opened Receives the key, which RegCloseKey closes.
/// @return 0; ERROR_FILE_NOT_FOUND if there is no such key; ERROR_INVALID_HANDLE for anything but a root; otherwise as
/// ReadRegistry. On failure `*opened` is unchanged.
DWORD RegOpenKeyExA(HKEY root, const char* subKey, DWORD options, DWORD access, HKEY* opened) noexcept;

/// Copies the data of a value.
/// @param key An open key. @param name Empty for the value without a name. @param reserved Not read.
/// @param type Receives REG_SZ or REG_DWORD. @param data Receives the data: a text with a final zero, or a number.
/// @param size Bytes of the buffer at `data`; receives the size of the data in bytes.
/// @return 0; ERROR_FILE_NOT_FOUND if there is no such value; ERROR_MORE_DATA if the buffer is too small.
DWORD RegQueryValueExA(HKEY key, const char* name, DWORD* reserved, DWORD* type, BYTE* data, DWORD* size) noexcept;

/// Closes an open key. @return 0.
DWORD RegCloseKey(HKEY key) noexcept;
