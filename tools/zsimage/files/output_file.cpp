#include "files/output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <utility>

#include "files/files.h"
#include "output/standard_output.h"
#include "platform/text.h"

namespace {

[[noreturn]] void ThrowExists(const std::string& path) {
  throw Failure(path, "the file exists; --force replaces it", kFileExists);
}

/// Finds the file at a path. False, with `target` in a folder as the platform layer finds it, when there is none.
/// @throws Failure as RequireWritable does.
bool FindTarget(const std::string& path, bool force, std::string* target, struct stat* status) {
  *target = path;
  if (stat(path.c_str(), status) == 0) {
    if (S_ISREG(status->st_mode) && !force) {
      ThrowExists(path);
    }
    if (S_ISDIR(status->st_mode) || access(path.c_str(), W_OK) != 0) {
      throw WriteFailure(path, 0, 0, SystemError(errno));
    }
    *target = S_ISREG(status->st_mode) ? std::filesystem::canonical(path).string() : "";
    return true;
  }
  if ((errno != ENOENT && errno != ENOTDIR) || lstat(path.c_str(), status) == 0) { // A link that leads nowhere.
    throw WriteFailure(path, 0, 0, SystemError(errno));
  }
  *target = OnDisk(Beside(path, "")) + NarrowToUtf8(FileName(path));
  return *target != path && stat(target->c_str(), status) == 0 && FindTarget(*target, force, target, status);
}

} // namespace

bool IsStandardOutput(std::string_view path) {
  return IsStandardStream(path) || path == "/dev/stdout" || path == "/dev/fd/1" || path == "/proc/self/fd/1";
}

void RequireWritable(const std::string& path, bool force) {
  std::string target;
  struct stat status {};
  if (!IsStandardOutput(path)) {
    FindTarget(path, force, &target, &status);
  }
}

OutputFile::OutputFile(const std::string& path, UHYPER size, bool force) : m_path(path), m_size(size), m_force(force) {
  struct stat status {};
  if (IsStandardOutput(path)) {
    return;
  }
  const bool isThere = FindTarget(path, force, &m_target, &status);
  if (m_target.empty()) {
    m_descriptor = open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
  } else {
    m_hidden = (std::filesystem::path(m_target).parent_path() / ".zsimage-XXXXXX").string();
    m_descriptor = mkostemp(m_hidden.data(), O_CLOEXEC);
  }
  if (m_descriptor == -1 && InterruptWatch::Requested()) { // While it waited for a reader of a pipe.
    ThrowCancelled(path);
  }
  if (m_descriptor == -1) {
    throw WriteFailure(path, 0, size, SystemError(errno));
  }
  if (!m_hidden.empty()) {
    const mode_t mask = umask(0);
    umask(mask);
    static_cast<void>(!isThere || chown(m_hidden.c_str(), status.st_uid, status.st_gid) == 0); // As far as allowed.
    chmod(m_hidden.c_str(), isThere ? status.st_mode & 07777U : 0666U & ~mask);
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

void OutputFile::Write(const BYTE* data, std::size_t size) {
  if (m_descriptor == -1) {
    WriteStandardOutput(data, size);
    return;
  }
  DWORD done = 0;
  const bool whole = WriteFile(HANDLE{m_descriptor}, data, static_cast<DWORD>(size), &done);
  m_written += done;
  if (!whole) {
    throw WriteFailure(m_path, m_written, m_size, GetLastError());
  }
}

void OutputFile::Publish() {
  if (InterruptWatch::Requested()) {
    ThrowCancelled(m_path);
  }
  if (m_hidden.empty()) {
    return;
  }
  const bool replaces = access(m_target.c_str(), F_OK) == 0;
  if (replaces && !m_force) {
    ThrowExists(m_path);
  }
  // Content that finds no room may show only now. What replaces a file must be on the disk before its name is.
  bool isGood = !replaces || fsync(m_descriptor) == 0;
  isGood = close(std::exchange(m_descriptor, -1)) == 0 && isGood;
  if (isGood && replaces) {
    m_old = m_hidden + "-old";
    isGood = link(m_target.c_str(), m_old.c_str()) == 0 || rename(m_target.c_str(), m_old.c_str()) == 0;
  }
  if (!isGood || rename(m_hidden.c_str(), m_target.c_str()) != 0) {
    const int error = errno;
    Withdraw();
    throw WriteFailure(m_path, m_written, m_size, SystemError(error));
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
  std::size_t done = 0;
  try {
    for (; done < files.size(); ++done) {
      files[done]->Publish();
    }
    for (const std::string& path : stale) {
      if (unlink(path.c_str()) != 0) {
        throw WriteFailure(path, 0, 0, SystemError(errno));
      }
    }
  } catch (...) {
    while (done > 0) {
      files[--done]->Withdraw();
    }
    throw;
  }
}

void WriteWholeFile(const std::string& path, std::string_view content, bool force) {
  OutputFile file(path, content.size(), force);
  file.Write(content);
  file.Publish();
}

void ThrowCancelled(const std::string& file) {
  throw Failure(IsStandardOutput(file) ? "standard output" : file, "cancelled; nothing has been saved", kCancelled);
}
