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

namespace imagefile {

inline constexpr HRESULT kStopped = MakeResult(0x80004004);    ///< "E_ABORT": a progress function returned false.
inline constexpr HRESULT kFileExists = MakeResult(0x80070050); ///< "ERROR_FILE_EXISTS": a file is in the way.

/// Name of a result code, and its meaning as the part of a sentence.
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
      {ZSE_OUTOFRESOURCES, "ZSE_OUTOFRESOURCES", "it asks for more than an image can have, or memory is short"},
      {ZSE_CANNOTOPENIMAGE, "ZSE_CANNOTOPENIMAGE", "it, or the data file it names, is missing or cannot be read"},
      {ZSE_BADIMAGE, "ZSE_BADIMAGE", "not an image; give its .iso, .cue, .nrg, .ccd, .mds or .zsi file"},
      {ZSE_TOCVERSION, "ZSE_TOCVERSION", "a later version of ImageFile wrote this file; install that version"},
      {kStopped, "E_ABORT", "stopped; nothing has been saved"},
      {E_INVALIDARG, "E_INVALIDARG", "an argument is missing or wrong"},
      {E_OUTOFMEMORY, "E_OUTOFMEMORY", "there is not enough memory"},
      {E_FAIL, "E_FAIL", "the operation failed"},
      {REGDB_E_CLASSNOTREG, "REGDB_E_CLASSNOTREG",
       "the image library is not loaded; is it registered? 'zsimage register' does it"},
      {CO_E_DLLNOTFOUND, "CO_E_DLLNOTFOUND", "the image library does not load; register it anew"},
      {kFileExists, "ERROR_FILE_EXISTS", "the file exists"},
      {HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND), "ERROR_PATH_NOT_FOUND", "no such folder"},
      {HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND), "ERROR_FILE_NOT_FOUND", "no such file or folder"},
      {HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED), "ERROR_ACCESS_DENIED", "no permission, or not a file"},
      {HRESULT_FROM_WIN32(ERROR_SHARING_VIOLATION), "ERROR_SHARING_VIOLATION", "another program uses the file"},
      {HRESULT_FROM_WIN32(ERROR_HANDLE_EOF), "ERROR_HANDLE_EOF", "the file ends too early"},
      {HRESULT_FROM_WIN32(ERROR_DISK_FULL), "ERROR_DISK_FULL", "the disk is full"},
      {HRESULT_FROM_WIN32(ERROR_FILE_TOO_LARGE), "ERROR_FILE_TOO_LARGE", "the file would be too large"},
      {HRESULT_FROM_WIN32(ERROR_GEN_FAILURE), "ERROR_GEN_FAILURE", "the system refused; give a file or a device"},
      {HRESULT_FROM_WIN32(ERROR_IO_DEVICE), "ERROR_IO_DEVICE", "the device failed"},
  };
  const auto* found =
      std::find_if(std::begin(kCodes), std::end(kCodes), [&](auto& known) { return known.code == code; });
  return found == std::end(kCodes) ? CodeMeaning{code, nullptr, "the operation failed"} : *found;
}

/// Returns a result code as hosts write it, "0x809F001B".
inline std::string CodeNumber(HRESULT code) {
  char number[16];
  static_cast<void>(std::snprintf(number, sizeof(number), "0x%08X", static_cast<unsigned>(code)));
  return number;
}

/// A failure. Its text: "disc.bin: not an image; give its ... file (ZSE_BADIMAGE, 0x809F001B)".
class Error : public std::runtime_error {
public:
  /// @param code The result code. @param path The file at fault, or empty. @param words What is wrong and what to do;
  /// the meaning of the code if empty.
  Error(HRESULT code, const std::string& path, std::string_view words = {})
      : std::runtime_error((path.empty() ? "" : path + ": ").append(words.empty() ? MeaningOf(code).words : words) +
                           " (" + NameOf(code) + ", " + CodeNumber(code) + ")"),
        m_code(code), m_path(path) {}

  HRESULT Code() const noexcept { return m_code; }            ///< The result code.
  std::string Name() const { return NameOf(m_code); }         ///< Its name; its number if it has none.
  const std::string& Path() const noexcept { return m_path; } ///< The file at fault; empty if there is none.

private:
  static std::string NameOf(HRESULT code) {
    const char* name = MeaningOf(code).name;
    return name == nullptr ? CodeNumber(code) : name;
  }

  HRESULT m_code;
  std::string m_path;
};

} // namespace imagefile
