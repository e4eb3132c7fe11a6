/// @file
/// The registry: keys and values of the current user, in one text file.
///
/// The file is `ImageFile/registry.reg` in `$XDG_DATA_HOME`, else in `~/.local/share`; the environment variable
/// `IMAGEFILE_REGISTRY` names another.
///
///     ImageFile Registry 1
///     [HKEY_CLASSES_ROOT\Name\Name]
///     @="text"                         The value without a name
///     "Name"="text"                    Backslash, quote and line ends are written \\ \" \n \r
///     "Number"=dword:0000002a
///     ; comment                        Lost when the file is written
///
/// A change replaces the file in one step, so that after a crash the file is the old one or the new one. Processes
/// change it one after another; readers do not wait. Names match without regard to case. A file that breaks a rule is
/// refused and never overwritten.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "platform/base_types.h"

inline constexpr DWORD REG_SZ = 1;    ///< Narrow text with a final zero.
inline constexpr DWORD REG_DWORD = 4; ///< A 32-bit number.

inline constexpr DWORD ERROR_MORE_DATA = 234; ///< The buffer is too small.
inline constexpr DWORD ERROR_BADDB = 1009;    ///< The file breaks the rules of its format.

/// A value of a key.
struct RegistryValue {
  std::string name;    ///< As spelled when it was set; empty for the value without a name.
  DWORD type = REG_SZ; ///< REG_SZ or REG_DWORD.
  std::string text;    ///< REG_SZ only.
  DWORD number = 0;    ///< REG_DWORD only.
};

/// A key in memory, with its values and the keys below it. Paths are relative to the key. Their names are separated by
/// `\`; the empty path is the key itself. Operations throw std::bad_alloc.
struct RegistryKey {
  std::string name;                                         ///< As spelled when it was created.
  std::map<std::string, RegistryValue> values;              ///< By name in upper case.
  std::map<std::string, std::unique_ptr<RegistryKey>> keys; ///< By name in upper case.

  /// Finds a key. Null if there is none.
  RegistryKey* Find(std::string_view path);
  /// Finds a key, or creates it with the missing keys above it. Null, with nothing created, for a path that has an
  /// empty name, a name of more than 255 bytes or with control characters, or more than 512 names.
  RegistryKey* Create(std::string_view path);
  /// Removes the key of a name and the keys below it, if it exists.
  void Remove(std::string_view child);

  /// Finds a value. Null if there is none.
  const RegistryValue* FindValue(std::string_view valueName) const;
  /// Returns the text of a value; empty if there is none, or if it is a number.
  std::string Text(std::string_view valueName) const;
  /// Sets a value to a text, which ends at its first zero byte.
  void SetText(std::string_view valueName, std::string_view content);
  /// Sets a value to a number.
  void SetNumber(std::string_view valueName, DWORD number);
};

/// Returns the path of the file; empty if the user has no home folder.
std::string RegistryPath();

/// Reads the registry into a key without name, below which are the roots `HKEY_CLASSES_ROOT` and `HKEY_CURRENT_USER`.
/// If the file is missing, both are empty. @return 0, ERROR_BADDB or a system error. Throws std::bad_alloc.
DWORD ReadRegistry(RegistryKey* registry);

/// Locks the registry, reads it, calls `change` with it and writes it. Nothing is written if `change` returns an error,
/// throws or changes nothing.
/// @return 0, the error of `change`, ERROR_BADDB or a system error. Throws std::bad_alloc.
DWORD ChangeRegistry(const std::function<DWORD(RegistryKey* registry)>& change);

/// A root, or an open key.
enum class HKEY : std::uintptr_t {};
inline constexpr HKEY HKEY_CLASSES_ROOT{0x80000000U}; ///< Root of the classes.
inline constexpr HKEY HKEY_CURRENT_USER{0x80000001U}; ///< Root of the user's settings.

inline constexpr DWORD KEY_READ = 0x20019; ///< The only kind of access.

/// Opens a key for reading. An open key is a snapshot, which later changes of the registry do not affect.
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
