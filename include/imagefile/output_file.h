/// @file
/// Writing files whole, for imagefile/disc_image.h: not part of what programs use.
#pragma once

#include <filesystem>
#include <new>
#include <random>
#include <span>
#include <string>
#include <string_view>
#include <system_error>

#include "disc/records.h"
#include "imagefile/error.h"
#include "platform/bstr.h"
#include "platform/files.h"
#include "platform/paths.h"
#include "platform/text.h"

/// @cond
namespace imagefile::detail {

/// Throws for every code but 0; S_FALSE means that nothing was done.
inline void Check(HRESULT code, const std::string& path, std::string_view words = {}) {
  if (code != S_OK) {
    throw Error(code == S_FALSE ? ZSE_FAILED : code, path, words);
  }
}
inline void Require(bool isGood, HRESULT code, const std::string& path, std::string_view words = {}) {
  if (!isGood) {
    Check(code == S_OK ? E_FAIL : code, path, words);
  }
}
inline HRESULT LastResult() noexcept { return HRESULT_FROM_WIN32(static_cast<std::int32_t>(GetLastError())); }

inline UniqueBstr WidePath(const std::string& path) {
  Require(path.find('\0') == path.npos, E_INVALIDARG, path.c_str(), "a path has no zero byte");
  UniqueBstr wide(SysAllocString(MultiByteToWideChar(path).c_str()));
  return wide ? std::move(wide) : throw std::bad_alloc();
}
inline std::string FileName(const std::string& path) { return path.substr(PathFindFileNameA(path)); }
inline std::string FolderOf(const std::string& path) { return path.substr(0, PathFindFileNameA(path)); }
inline std::string WithExtension(std::string path, std::string_view extension) {
  PathRenameExtensionA(&path, extension);
  return path;
}
/// Returns the path of a file as it is spelled on disk; the path itself if there is none.
inline std::string OnDisk(std::string path) {
  ResolveFilePath(path, &path);
  return path;
}
inline bool IsSameFile(const std::string& left, const std::string& right) {
  std::error_code error;
  return std::filesystem::equivalent(OnDisk(left), OnDisk(right), error);
}
inline std::string RandomName() {
  std::random_device random;
  return ".imagefile-" + std::to_string(std::uint64_t{random()} << 32 | random());
}

/// A file on its way to a path. It is written under a hidden name beside the path, and removed unless it is published.
/// A device is written directly.
class OutputFile {
public:
  explicit OutputFile(const std::string& path) : OutputFile() { // From here on the destructor removes what is left.
    namespace fs = std::filesystem;
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    const bool isFile = fs::is_regular_file(status);
    m_path = path;
    Require(fs::exists(status) || !fs::is_symlink(fs::symlink_status(path, error)),
            HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND), path, "this is a link that leads nowhere");
    if (isFile || !fs::exists(status)) {
      m_target = isFile ? fs::canonical(path, error) : fs::path(OnDisk(FolderOf(path))) / NarrowToUtf8(FileName(path));
      m_hidden = m_target.parent_path() / RandomName();
    }
    m_file.Reset(CreateFileA(m_hidden.empty() ? path : m_hidden.string(), GENERIC_WRITE, FILE_SHARE_NONE, CREATE_ALWAYS,
                             FILE_ATTRIBUTE_NORMAL));
    Require(bool{m_file}, LastResult(), path);
    if (isFile) {
      fs::permissions(m_hidden, status.permissions(), error);
    }
  }
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  ~OutputFile() {
    std::error_code ignored;
    if (!m_hidden.empty()) {
      std::filesystem::remove(m_hidden, ignored);
    }
  }

  void Write(std::span<const std::byte> bytes) {
    DWORD done = 0;
    const bool isWritten = WriteFile(m_file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &done);
    Require(isWritten, LastResult(), m_path);
  }
  void Publish() {
    std::error_code error;
    m_file.Reset();
    if (!m_hidden.empty()) {
      std::filesystem::rename(m_hidden, m_target, error);
      if (error) {
        throw Error(E_FAIL, m_path, "the file cannot get its name: " + error.message());
      }
      m_hidden.clear();
    }
  }

private:
  OutputFile() = default;

  std::string m_path;
  std::filesystem::path m_target;
  std::filesystem::path m_hidden; // Empty for a device, and once published.
  UniqueHandle m_file;
};

/// A file in a folder of its own, both removed at the end.
struct ScratchFile {
  explicit ScratchFile(const std::string& name) {
    std::error_code error;
    folder = std::filesystem::temp_directory_path(error) / RandomName();
    Require(!error, HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND), name, "there is no temporary folder; set TMPDIR to one");
    path = folder / name;
    std::filesystem::create_directory(folder, error);
  }
  ScratchFile(const ScratchFile&) = delete;
  ScratchFile& operator=(const ScratchFile&) = delete;
  ~ScratchFile() {
    std::error_code ignored;
    std::filesystem::remove(path, ignored);
    std::filesystem::remove(folder, ignored);
  }

  std::filesystem::path folder;
  std::filesystem::path path;
};

/// Returns the text that `write` writes to the path that it gets, which has the name of the new description. Writes
/// that fail are not reported; they leave the reason for GetLastError.
template <class Write> std::string MakeDescription(const std::string& path, Write write) {
  const ScratchFile file(FileName(path));
  std::string text;
  SetLastError(ERROR_SUCCESS);
  const HRESULT result = write(WidePath(file.path).get());
  const bool isWhole =
      result == S_OK && GetLastError() == ERROR_SUCCESS && ReadWholeFile(file.path, kToEndOfFile, &text);
  Check(result == E_FAIL ? S_OK : result, path); // E_FAIL says that the file cannot be created.
  Require(isWhole, LastResult(), path, "the description could not be written; set TMPDIR to a folder with free space");
  return text;
}

} // namespace imagefile::detail
/// @endcond
