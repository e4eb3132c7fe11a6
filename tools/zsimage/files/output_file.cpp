#include "files/output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <utility>

#include <fmt/format.h>

#include "files/input_file.h"
#include "files/paths.h"
#include "output/failure.h"
#include "output/standard_output.h"
#include "output/terminal_text.h"
#include "platform/files.h"
#include "platform/text.h"

namespace {

/// Returns the folder of a path; "." if it names none.
std::string FolderOf(const std::string& path) {
  const std::string folder = platform::FolderOf(path);
  return folder.empty() ? "." : folder;
}

/// Explains why a file could not be created or filled, by what is at the path: missing folder, no permission, full
/// disk.
/// @param written Bytes that are in the file. @param size Bytes that it should have.
Failure WriteFailure(const std::string& path, DWORD error, UHYPER written = 0, UHYPER size = 0) {
  const auto target = StatusOf(path);
  if (error == ERROR_FILENAME_EXCED_RANGE) { // Every call on this path fails, so this is the first test.
    return {path, "the name is too long; give a shorter one", error};
  }
  if (!std::filesystem::is_directory(StatusOf(FolderOf(path)))) {
    return {path, "its folder does not exist", ERROR_PATH_NOT_FOUND};
  }
  if (std::filesystem::is_directory(target) || path.find_last_of(kPathSeparators) + 1 == path.size()) {
    return {path, "this is a folder; give the name of a file", ERROR_ACCESS_DENIED};
  }
  if (std::filesystem::is_socket(target)) {
    return {path, "this is not a file, device or pipe", ERROR_ACCESS_DENIED};
  }
  if (!std::filesystem::exists(target) && error == ERROR_FILE_NOT_FOUND) {
    return {path, "it cannot be created: it is a link to a missing file, or the folder allows no new files",
            ERROR_PATH_NOT_FOUND};
  }
  if (error == ERROR_ACCESS_DENIED) {
    const bool isProtected = std::filesystem::exists(target) && access(path.c_str(), W_OK) != 0;
    return {path, isProtected ? "the file is write-protected" : "the folder is write-protected", error};
  }
  const HRESULT code = error == ERROR_SUCCESS ? E_FAIL : HRESULT_FROM_WIN32(static_cast<std::int32_t>(error));
  const std::string extent =
      size == 0 ? "" : fmt::format(": {} of {} were written", ReadableSize(written), ReadableSize(size));
  return {path, MeaningOf(code).words + extent, code};
}

[[noreturn]] void ThrowExists(const std::string& path) {
  throw Failure(path, "the file exists; --force replaces it", kFileExists);
}

struct Target {
  std::string path; ///< File to create or replace; empty for a device or a pipe.
  bool exists = false;
  struct stat status {};
};

/// Returns whether a user may not replace a file that others may write: in a folder such as /tmp, only the owner of a
/// file may replace it (sticky bit, chmod(1)).
bool IsReplacedByOwnerAlone(const std::string& file, const struct stat& status) {
  struct stat folder {};
  const uid_t user = geteuid();
  return user != 0 && user != status.st_uid && stat(FolderOf(file).c_str(), &folder) == 0 &&
         (folder.st_mode & S_ISVTX) != 0 && user != folder.st_uid;
}

/// @throws Failure as RequireWritable does.
Target FindTarget(const std::string& path, bool force) {
  Target target;
  if (stat(path.c_str(), &target.status) == 0) {
    const bool isFile = S_ISREG(target.status.st_mode);
    if (isFile && !force) {
      ThrowExists(path);
    }
    if (S_ISDIR(target.status.st_mode) || access(path.c_str(), W_OK) != 0) {
      throw WriteFailure(path, platform::SystemError(errno));
    }
    target.path = isFile ? std::filesystem::canonical(path).string() : "";
    FailIf(isFile && IsReplacedByOwnerAlone(target.path, target.status), path, ERROR_ACCESS_DENIED,
           "the file belongs to another user, in a folder where only its owner may replace it; give another name");
    target.exists = true;
    return target;
  }
  if ((errno != ENOENT && errno != ENOTDIR) || lstat(path.c_str(), &target.status) == 0) { // Or a broken link.
    throw WriteFailure(path, platform::SystemError(errno));
  }
  target.path = SpelledOnDisk(platform::FolderOf(path)) + NarrowToUtf8(FileName(path));
  return target.path != path && std::filesystem::exists(target.path) ? FindTarget(target.path, force) : target;
}

/// Sets the owner and permissions of a new file: those of the file that it will replace, if the user may set them, or
/// the defaults.
void CopyPermissions(const Target& target, const std::string& hidden) {
  const mode_t mask = umask(0);
  umask(mask);
  const struct stat& old = target.status;
  [[maybe_unused]] const bool isOwned = target.exists && chown(hidden.c_str(), old.st_uid, old.st_gid) == 0;
  chmod(hidden.c_str(), target.exists ? old.st_mode & 07777U : 0666U & ~mask);
}

/// Moves a file as rename() does. Fails with EEXIST if a file has appeared at `to`.
int MoveToFreeName(const std::string& from, const std::string& to) {
  if (link(from.c_str(), to.c_str()) == 0) {
    return unlink(from.c_str());
  }
  if (errno != EEXIST && access(to.c_str(), F_OK) != 0) { // The file system has no hard links.
    return rename(from.c_str(), to.c_str());
  }
  errno = EEXIST;
  return -1;
}

} // namespace

void RequireWritable(const std::string& path, bool force) {
  if (!IsStandardOutput(path)) {
    FindTarget(path, force);
  }
}

OutputFile::OutputFile(const std::string& path, UHYPER size, bool force) : m_path(path), m_size(size), m_force(force) {
  if (IsStandardOutput(path)) {
    return;
  }
  const Target target = FindTarget(path, force);
  m_target = target.path;
  if (m_target.empty()) {
    m_descriptor = open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
  } else {
    m_hidden = (std::filesystem::path(m_target).parent_path() / ".zsimage-XXXXXX").string();
    m_descriptor = mkostemp(m_hidden.data(), O_CLOEXEC);
  }
  if (m_descriptor == -1) {
    ThrowIfCancelled(); // A signal interrupts open while a pipe has no reader.
    throw WriteFailure(path, platform::SystemError(errno), 0, size);
  }
  if (!m_hidden.empty()) {
    CopyPermissions(target, m_hidden);
  }
}

OutputFile::~OutputFile() {
  if (m_descriptor != -1) {
    close(m_descriptor);
  }
  for (const std::string& rest : {m_hidden, m_old}) {
    if (!rest.empty()) {
      unlink(rest.c_str());
    }
  }
}

void OutputFile::ThrowIfCancelled() const {
  if (InterruptWatch::Requested()) {
    const bool isDirect = m_hidden.empty() && m_written != 0;
    throw Failure(
        IsStandardOutput(m_path) ? kStandardOutput : m_path,
        isDirect ? fmt::format("cancelled; only {} of {} were written", ReadableSize(m_written), ReadableSize(m_size))
                 : "cancelled; nothing has been saved",
        kCancelled);
  }
}

void OutputFile::Write(const BYTE* data, std::size_t size) {
  ThrowIfCancelled();
  if (m_descriptor == -1) {
    WriteStandardOutput(data, size);
    m_written += size;
    return;
  }
  DWORD written = 0;
  const bool isComplete = WriteFile(HANDLE{m_descriptor}, data, static_cast<DWORD>(size), &written);
  m_written += written;
  if (!isComplete) {
    throw WriteFailure(m_path, GetLastError(), m_written, m_size);
  }
}

int OutputFile::Descriptor() const {
  FailIf(m_hidden.empty(), IsStandardOutput(m_path) ? kStandardOutput : m_path, E_INVALIDARG,
         "this kind of file cannot be written into a pipe or a device; give the name of a file");
  return m_descriptor;
}

void OutputFile::Publish() {
  ThrowIfCancelled();
  if (m_hidden.empty()) {
    return;
  }
  const bool replaces = m_force && access(m_target.c_str(), F_OK) == 0;
  // These calls may be the first to report a full disk. Content that replaces a file must be on the disk first.
  bool isGood = !replaces || fsync(m_descriptor) == 0;
  isGood = close(std::exchange(m_descriptor, -1)) == 0 && isGood;
  if (isGood && replaces) {
    m_old = m_hidden + "-old";
    isGood = link(m_target.c_str(), m_old.c_str()) == 0 || rename(m_target.c_str(), m_old.c_str()) == 0;
  }
  if (!isGood || (m_force ? rename(m_hidden.c_str(), m_target.c_str()) : MoveToFreeName(m_hidden, m_target)) != 0) {
    const int error = errno;
    UndoPublish();
    if (error == EEXIST) {
      ThrowExists(m_path);
    }
    throw WriteFailure(m_path, platform::SystemError(error), m_written, m_size);
  }
  m_hidden.clear();
}

void OutputFile::UndoPublish() noexcept {
  if (!m_old.empty()) {
    rename(m_old.c_str(), m_target.c_str());
  } else if (m_hidden.empty()) {
    unlink(m_target.c_str());
  }
}

void PublishAll(const std::vector<std::unique_ptr<OutputFile>>& files, const std::vector<std::string>& stale,
                const std::function<void()>& verify) {
  std::size_t published = 0;
  try {
    for (; published < files.size(); ++published) {
      files[published]->Publish();
    }
    for (const std::string& path : stale) {
      if (unlink(path.c_str()) != 0) {
        throw WriteFailure(path, platform::SystemError(errno));
      }
    }
    verify();
  } catch (...) {
    while (published > 0) {
      files[--published]->UndoPublish();
    }
    throw;
  }
}

void WriteContent(const std::string& path, std::string_view content, bool force) {
  OutputFile file(path, content.size(), force);
  file.Write(content);
  file.Publish();
}
