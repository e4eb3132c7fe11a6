#include "files/files.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "output/terminal_text.h"
#include "platform/paths.h"
#include "platform/text.h"

namespace {

std::optional<struct stat> StatusOf(const std::string& path) {
  std::string resolved;
  struct stat status {};
  if (!ResolveFilePath(path, &resolved) || stat(resolved.c_str(), &status) != 0) {
    return std::nullopt;
  }
  return status;
}

void CheckSize(const std::string& name, UHYPER size, UHYPER limit) {
  if (size > limit) {
    throw Failure(name, "this is far too large; the limit is " + ReadableSize(limit), E_INVALIDARG);
  }
}

std::vector<BYTE> ReadStandardInput(UHYPER limit) {
  std::vector<BYTE> content;
  std::array<BYTE, 65536> part{};
  for (std::size_t count = 1; count != 0;) {
    count = std::fread(part.data(), 1, part.size(), stdin);
    content.insert(content.end(), part.begin(), part.begin() + static_cast<std::ptrdiff_t>(count));
    CheckSize("standard input", content.size(), limit);
  }
  if (std::ferror(stdin) != 0) {
    throw Failure("standard input", "it cannot be read", HRESULT_FROM_WIN32(ERROR_IO_DEVICE));
  }
  return content;
}

} // namespace

bool EndsWith(std::string_view path, std::string_view extension) {
  return path.size() >= extension.size() && lstrcmpiA(path.substr(path.size() - extension.size()), extension) == 0;
}

std::optional<UHYPER> FileSize(const std::string& path) {
  const auto status = StatusOf(path);
  if (status && S_ISREG(status->st_mode)) {
    return static_cast<UHYPER>(status->st_size);
  }
  if (!status || !S_ISBLK(status->st_mode)) {
    return std::nullopt;
  }
  const UniqueHandle device(
      CreateFileA(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL));
  UHYPER size = 0;
  return device && SetFilePointerEx(device.Get(), 0, &size, FILE_END) ? std::optional(size) : std::nullopt;
}

bool IsOneOf(const std::string& path, const std::vector<std::string>& files) {
  const auto status = StatusOf(path);
  return status && std::any_of(files.begin(), files.end(), [&](const std::string& file) {
           const auto other = StatusOf(file);
           return other && other->st_dev == status->st_dev && other->st_ino == status->st_ino;
         });
}

bool SameFile(const std::string& left, const std::string& right) { return IsOneOf(left, {right}); }

std::vector<BYTE> ReadWholeFile(const std::string& path, UHYPER limit) {
  if (IsStandardStream(path)) {
    return ReadStandardInput(limit);
  }
  const UniqueHandle file(CreateFileA(path, GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL));
  if (!file) {
    const DWORD error = GetLastError();
    const bool missing = error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
    throw Failure(path, missing ? "no such file" : "the file cannot be opened for reading",
                  missing ? ZSE_FILENOTFOUND : HRESULT_FROM_WIN32(static_cast<std::int32_t>(error)));
  }
  const UHYPER size = FileSize(path).value_or(0);
  CheckSize(path, size, limit);
  std::vector<BYTE> content(static_cast<std::size_t>(size));
  DWORD done = 0;
  if (!ReadFile(file.Get(), content.data(), static_cast<DWORD>(size), &done)) {
    throw Failure(path, "the file cannot be read", HRESULT_FROM_WIN32(static_cast<std::int32_t>(GetLastError())));
  }
  content.resize(done);
  return content;
}

std::string BytesAt(const std::string& path, UHYPER offset, std::size_t count) {
  const UniqueHandle file(
      CreateFileA(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL));
  std::string bytes(count, '\0');
  DWORD done = 0;
  if (SetFilePointerEx(file.Get(), static_cast<std::int64_t>(offset), nullptr, FILE_BEGIN)) {
    ReadFile(file.Get(), bytes.data(), static_cast<DWORD>(count), &done);
  }
  return bytes.substr(0, done);
}

std::string SoundMark(const std::string& path) {
  const std::string mark = BytesAt(path, 0, 4);
  return mark == "RIFF" || mark == "FORM" || mark == "fLaC" ? mark : "";
}

std::string Beside(const std::string& path, std::string_view name) {
  return path.substr(0, PathFindFileNameA(path)).append(name);
}

std::string WithExtension(std::string path, std::string_view extension) {
  PathRenameExtensionA(&path, extension);
  return path;
}

std::string OnDisk(const std::string& path) {
  std::string found = path;
  ResolveFilePath(path, &found);
  return found;
}

std::string FileName(const std::string& path) { return path.substr(PathFindFileNameA(path)); }

std::string FolderOf(const std::string& path) {
  const std::string folder = path.substr(0, PathFindFileNameA(path));
  return folder.empty() ? "." : folder;
}

DWORD SystemError(int error) {
  static constexpr std::pair<int, DWORD> kErrors[] = {
      {0, ERROR_SUCCESS},           {ENOENT, ERROR_FILE_NOT_FOUND}, {EACCES, ERROR_ACCESS_DENIED},
      {EPERM, ERROR_ACCESS_DENIED}, {EROFS, ERROR_WRITE_PROTECT},   {ENAMETOOLONG, ERROR_FILENAME_EXCED_RANGE},
      {ENOSPC, ERROR_DISK_FULL},    {EDQUOT, ERROR_DISK_FULL},      {EFBIG, ERROR_FILE_TOO_LARGE},
      {EIO, ERROR_IO_DEVICE}};
  const auto* known =
      std::find_if(std::begin(kErrors), std::end(kErrors), [&](const auto& entry) { return entry.first == error; });
  return known == std::end(kErrors) ? ERROR_GEN_FAILURE : known->second;
}

Failure WriteFailure(const std::string& path, UHYPER written, UHYPER wanted, DWORD error) {
  const auto folder = StatusOf(FolderOf(path));
  const auto target = StatusOf(path);
  if (error == ERROR_FILENAME_EXCED_RANGE) { // Nothing of such a name can be looked at.
    return Failure(path, "the name is too long; give a shorter one", HRESULT_FROM_WIN32(ERROR_FILENAME_EXCED_RANGE));
  }
  if (!folder || !S_ISDIR(folder->st_mode)) {
    return Failure(path, "the folder that it should go into does not exist", HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND));
  }
  if (target ? S_ISDIR(target->st_mode) : path.find_last_of(kPathSeparators) + 1 == path.size()) {
    return Failure(path, "this is a folder; give the name of a file", HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED));
  }
  if (target && S_ISSOCK(target->st_mode)) {
    return Failure(path, "this is neither a file nor a device nor a pipe", HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED));
  }
  if (!target && error == ERROR_FILE_NOT_FOUND) { // Although the folder is there.
    return Failure(path,
                   "it cannot be made: it is a link to a place that does not exist, or the folder takes no new files",
                   HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND));
  }
  if (error == ERROR_ACCESS_DENIED) {
    return Failure(path,
                   target && access(path.c_str(), W_OK) != 0 ? "the file may not be written"
                                                             : "no file may be made in this folder",
                   HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED));
  }
  const HRESULT code = error == ERROR_SUCCESS ? E_FAIL : HRESULT_FROM_WIN32(static_cast<std::int32_t>(error));
  return Failure(path,
                 std::string(CodeWords(code)) + ": " + ReadableSize(written) + " of " + ReadableSize(wanted) +
                     " could be written",
                 code);
}

ScratchFolder::ScratchFolder() : m_path("/zsimage-XXXXXX") {
  std::error_code error;
  m_path.insert(0, std::filesystem::temp_directory_path(error).string());
  if (mkdtemp(m_path.data()) == nullptr) {
    throw Failure(m_path, "no temporary folder can be made; set TMPDIR to a folder that can be written", E_FAIL);
  }
}

ScratchFolder::~ScratchFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(m_path, ignored);
}
