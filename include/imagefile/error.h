/// @file
/// Failures as exceptions, with the names and meanings of result codes. Header-only.
#pragma once

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>

#include "disc/result_codes.h"
#include "platform/last_error.h"
#include "platform/registry.h"

namespace imagefile {

inline constexpr HRESULT kStopped = MakeResult(0x80004004);    ///< "E_ABORT": the user stopped the operation.
inline constexpr HRESULT kFileExists = MakeResult(0x80070050); ///< "ERROR_FILE_EXISTS": a file is in the way.

/// Name of a result code, and its meaning as a part of a sentence.
struct CodeMeaning {
  HRESULT code;      ///< The code.
  const char* name;  ///< "ZSE_BADIMAGE"; null for a code that has no name here.
  const char* words; ///< "not an image".
};

/// Returns the meaning of a result code.
inline CodeMeaning MeaningOf(HRESULT code) noexcept {
  static constexpr CodeMeaning kCodes[] = {
      {ZSE_FAILED, "ZSE_FAILED", "nothing in it can be used as a disc"},
      {ZSE_FILENOTFOUND, "ZSE_FILENOTFOUND", "its data file is missing; put it beside the description"},
      {ZSE_OUTOFRESOURCES, "ZSE_OUTOFRESOURCES", "it exceeds a limit of images, or there is not enough memory"},
      {ZSE_CANNOTOPENIMAGE, "ZSE_CANNOTOPENIMAGE", "it, or the data file it names, is missing or cannot be read"},
      {ZSE_BADIMAGE, "ZSE_BADIMAGE", "not an image; give its .iso, .cue, .nrg, .ccd, .mds or .zsi file"},
      {ZSE_TOCVERSION, "ZSE_TOCVERSION", "a later version of ImageFile wrote this file; install that version"},
      {kStopped, "E_ABORT", "stopped; nothing has been saved"},
      {E_FAIL, "E_FAIL", "the operation failed for an unknown reason"},
      {E_UNEXPECTED, "E_UNEXPECTED", "the object is not in a state for this operation"},
      {E_OUTOFMEMORY, "E_OUTOFMEMORY", "out of memory"},
      {E_INVALIDARG, "E_INVALIDARG", "an argument is missing or wrong"},
      {REGDB_E_CLASSNOTREG, "REGDB_E_CLASSNOTREG",
       "the image library is not loaded; is it registered? 'zsimage register' does it"},
      {REGDB_E_READREGDB, "REGDB_E_READREGDB", "the registry cannot be read"},
      {CO_E_CLASSSTRING, "CO_E_CLASSSTRING", "the image library is neither loaded nor registered"},
      {CO_E_DLLNOTFOUND, "CO_E_DLLNOTFOUND", "the image library does not load; register it again"},
      {kFileExists, "ERROR_FILE_EXISTS", "the file exists"},
      {HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND), "ERROR_FILE_NOT_FOUND", "no such file"},
      {HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND), "ERROR_PATH_NOT_FOUND", "no such folder"},
      {HRESULT_FROM_WIN32(ERROR_TOO_MANY_OPEN_FILES), "ERROR_TOO_MANY_OPEN_FILES", "too many files are open"},
      {HRESULT_FROM_WIN32(ERROR_NOT_ENOUGH_MEMORY), "ERROR_NOT_ENOUGH_MEMORY", "out of memory"},
      {HRESULT_FROM_WIN32(ERROR_INVALID_PARAMETER), "ERROR_INVALID_PARAMETER", "the system rejects this argument"},
      {HRESULT_FROM_WIN32(ERROR_INVALID_NAME), "ERROR_INVALID_NAME", "the system rejects this name"},
      {HRESULT_FROM_WIN32(ERROR_FILENAME_EXCED_RANGE), "ERROR_FILENAME_EXCED_RANGE", "the name is too long"},
      {HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED), "ERROR_ACCESS_DENIED", "permission denied"},
      {HRESULT_FROM_WIN32(ERROR_SHARING_VIOLATION), "ERROR_SHARING_VIOLATION", "another program is writing this file"},
      {HRESULT_FROM_WIN32(ERROR_HANDLE_EOF), "ERROR_HANDLE_EOF", "the file ends too early"},
      {HRESULT_FROM_WIN32(ERROR_DISK_FULL), "ERROR_DISK_FULL", "the disk is full"},
      {HRESULT_FROM_WIN32(ERROR_IO_DEVICE), "ERROR_IO_DEVICE", "the device failed"},
      {HRESULT_FROM_WIN32(ERROR_FILE_TOO_LARGE), "ERROR_FILE_TOO_LARGE", "the file would be too large"},
      {HRESULT_FROM_WIN32(ERROR_BADDB), "ERROR_BADDB",
       "this is not a registry file, or it is damaged; move it away, and register again"},
      {HRESULT_FROM_WIN32(ERROR_WRITE_PROTECT), "ERROR_WRITE_PROTECT", "the disk is write-protected"},
      {HRESULT_FROM_WIN32(ERROR_INVALID_HANDLE), "ERROR_INVALID_HANDLE", "the file is not open"},
      {HRESULT_FROM_WIN32(ERROR_CANT_RESOLVE_FILENAME), "ERROR_CANT_RESOLVE_FILENAME",
       "the links of the path lead in a circle"},
      {HRESULT_FROM_WIN32(ERROR_GEN_FAILURE), "ERROR_GEN_FAILURE", "the system reported an error"},
  };
  const auto* found = std::ranges::find(kCodes, code, &CodeMeaning::code);
  return found == std::end(kCodes) ? CodeMeaning{code, nullptr, "the operation failed"} : *found;
}

/// Returns a result code as hosts write it, "0x809F001B".
inline std::string CodeNumber(HRESULT code) {
  char number[16];
  static_cast<void>(std::snprintf(number, sizeof(number), "0x%08X", static_cast<unsigned>(code)));
  return number;
}

/// Returns the name of a result code; its number if it has none.
inline std::string CodeName(HRESULT code) {
  const char* name = MeaningOf(code).name;
  return name == nullptr ? CodeNumber(code) : name;
}

/// Returns name and number of a result code, "ZSE_BADIMAGE, 0x809F001B"; its number alone if it has no name.
inline std::string CodeText(HRESULT code) {
  return (MeaningOf(code).name == nullptr ? "" : CodeName(code) + ", ") + CodeNumber(code);
}

/// A failure. Its text: "disc.bin: not an image; give its ... file (ZSE_BADIMAGE, 0x809F001B)".
class Error : public std::runtime_error {
public:
  /// @param code The result code. @param path The file at fault, or empty. @param words What is wrong and what to do;
  /// the code's meaning if empty.
  Error(HRESULT code, const std::string& path, std::string_view words = {})
      : std::runtime_error((path.empty() ? "" : path + ": ").append(words.empty() ? MeaningOf(code).words : words) +
                           " (" + CodeText(code) + ")"),
        m_code(code), m_path(path), m_words(words.empty() ? MeaningOf(code).words : words) {}

  HRESULT Code() const noexcept { return m_code; }              ///< The result code.
  std::string Name() const { return CodeName(m_code); }         ///< Its name; its number if it has none.
  const std::string& Path() const noexcept { return m_path; }   ///< The file at fault; empty if there is none.
  const std::string& Words() const noexcept { return m_words; } ///< The text without file and code.

private:
  HRESULT m_code;
  std::string m_path;
  std::string m_words;
};

/// @cond
namespace detail {

inline HRESULT ResultOf(DWORD error) noexcept { return HRESULT_FROM_WIN32(static_cast<std::int32_t>(error)); }
inline HRESULT LastResult() noexcept { return ResultOf(GetLastError()); }

/// Throws unless all is good. S_OK as a code means an unknown reason, and S_FALSE that nothing was done.
inline void Require(bool isGood, HRESULT code, const std::string& path, std::string_view words = {}) {
  if (!isGood) {
    throw Error(code == S_OK ? E_FAIL : code == S_FALSE ? ZSE_FAILED : code, path, words);
  }
}
inline void Check(HRESULT code, const std::string& path) { Require(code == S_OK, code, path); }

} // namespace detail
/// @endcond

} // namespace imagefile
