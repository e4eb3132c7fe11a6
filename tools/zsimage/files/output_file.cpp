#include "files/output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <utility>

#include "files/paths.h"
#include "files/write_failure.h"
#include "output/standard_output.h"
#include "platform/files.h"
#include "platform/text.h"

namespace {

[[noreturn]] void ThrowExists(const std::string& path) {
  throw Failure(path, "the file exists; --force replaces it", kFileExists);
}

/// What a path leads to.
struct Target {
  std::string path; ///< Of the file that is created or replaced; empty for a device or a pipe.
  bool exists = false;
  struct stat status {};
};

/// @throws Failure as RequireWritable does.
Target FindTarget(const std::string& path, bool force) {
  Target target;
  if (stat(path.c_str(), &target.status) == 0) {
    const bool isFile = S_ISREG(target.status.st_mode);
    if (isFile && !force) {
      ThrowExists(path);
    }
    if (S_ISDIR(target.status.st_mode) || access(path.c_str(), W_OK) != 0) {
      throw WriteFailure(path, SystemError(errno));
    }
    target.path = isFile ? std::filesystem::canonical(path).string() : "";
    target.exists = true;
    return target;
  }
  if ((errno != ENOENT && errno != ENOTDIR) || lstat(path.c_str(), &target.status) == 0) { // A broken link exists.
    throw WriteFailure(path, SystemError(errno));
  }
  target.path = SpelledOnDisk(Beside(path, "")) + NarrowToUtf8(FileName(path));
  return target.path != path && std::filesystem::exists(target.path) ? FindTarget(target.path, force) : target;
}

/// Gives a new file the owner and permissions of the file that it will replace, as far as the user may set them, or the
/// permissions of new files.
void CopyPermissions(const Target& target, const std::string& hidden) {
  const mode_t mask = umask(0);
  umask(mask);
  const struct stat& old = target.status;
  [[maybe_unused]] const bool isOwned = target.exists && chown(hidden.c_str(), old.st_uid, old.st_gid) == 0;
  chmod(hidden.c_str(), target.exists ? old.st_mode & 07777U : 0666U & ~mask);
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
    ThrowIfCancelled(); // While the pipe had no reader.
    throw WriteFailure(path, SystemError(errno), 0, size);
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
    throw Failure(IsStandardOutput(m_path) ? kStandardOutput : m_path, "cancelled; nothing has been saved", kCancelled);
  }
}

void OutputFile::Write(const BYTE* data, std::size_t size) {
  ThrowIfCancelled();
  if (m_descriptor == -1) {
    WriteStandardOutput(data, size);
    return;
  }
  DWORD written = 0;
  const bool isComplete = WriteFile(HANDLE{m_descriptor}, data, static_cast<DWORD>(size), &written);
  m_written += written;
  if (!isComplete) {
    throw WriteFailure(m_path, GetLastError(), m_written, m_size);
  }
}

void OutputFile::WriteAt(UHYPER offset, const BYTE* data, std::size_t size) {
  if (m_descriptor == -1 || lseek(m_descriptor, static_cast<off_t>(offset), SEEK_SET) == -1) {
    throw Failure(IsStandardOutput(m_path) ? kStandardOutput : m_path,
                  "this kind of file cannot be written into a pipe; give the name of a file", E_INVALIDARG);
  }
  Write(data, size);
}

void OutputFile::Publish() {
  ThrowIfCancelled();
  if (m_hidden.empty()) {
    return;
  }
  const bool replaces = access(m_target.c_str(), F_OK) == 0;
  if (replaces && !m_force) {
    ThrowExists(m_path);
  }
  // The system may report only now that the disk is full. Content that replaces a file must be on the disk first.
  bool isGood = !replaces || fsync(m_descriptor) == 0;
  isGood = close(std::exchange(m_descriptor, -1)) == 0 && isGood;
  if (isGood && replaces) {
    m_old = m_hidden + "-old";
    isGood = link(m_target.c_str(), m_old.c_str()) == 0 || rename(m_target.c_str(), m_old.c_str()) == 0;
  }
  if (!isGood || rename(m_hidden.c_str(), m_target.c_str()) != 0) {
    const int error = errno;
    Withdraw();
    throw WriteFailure(m_path, SystemError(error), m_written, m_size);
  }
  m_hidden.clear();
}

void OutputFile::Withdraw() noexcept {
  if (!m_old.empty()) {
    rename(m_old.c_str(), m_target.c_str());
  } else if (m_hidden.empty()) {
    unlink(m_target.c_str());
  }
}

void PublishAll(const std::vector<std::unique_ptr<OutputFile>>& files, const std::vector<std::string>& stale) {
  std::size_t published = 0;
  try {
    for (; published < files.size(); ++published) {
      files[published]->Publish();
    }
    for (const std::string& path : stale) {
      if (unlink(path.c_str()) != 0) {
        throw WriteFailure(path, SystemError(errno));
      }
    }
  } catch (...) {
    while (published > 0) {
      files[--published]->Withdraw();
    }
    throw;
  }
}

void WriteContent(const std::string& path, std::string_view content, bool force) {
  OutputFile file(path, content.size(), force);
  file.Write(content);
  file.Publish();
}
