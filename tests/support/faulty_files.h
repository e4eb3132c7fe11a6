/// @file
/// System calls of the file layer that fail on request.
#pragma once

#include <algorithm>
#include <cerrno>
#include <functional>
#include <string>

#include "support/counting_environment.h"

/// Replaces the system calls while it exists, and forwards them. Each call is a point that can fail. Tests that observe
/// certain calls derive from it.
class FaultyFiles : public FileOperations {
public:
  /// @param onFailure Called at a point that fails. The system call fails with the returned number in `errno`, or
  /// succeeds if that is 0. @param limit Most bytes of a read or write while points are counted.
  explicit FaultyFiles(
      std::function<int()> onFailure = [] { return EIO; }, std::size_t limit = SIZE_MAX)
      : m_onFailure(std::move(onFailure)), m_limit(limit), m_next(ProcessEnvironment().files) {
    ProcessEnvironment().files = this;
  }
  FaultyFiles(const FaultyFiles&) = delete;
  FaultyFiles& operator=(const FaultyFiles&) = delete;
  ~FaultyFiles() override { ProcessEnvironment().files = m_next; }

  FaultPoints points;
  std::string failing = "none"; ///< A call that always fails: "Open", "Lock", "ListFolder" or "Seek".

  int Open(const char* path, int flags, mode_t mode) noexcept override {
    return Fails("Open") ? -1 : m_next->Open(path, flags, mode);
  }
  int Duplicate(int file) noexcept override { return Fails() ? -1 : m_next->Duplicate(file); }
  ssize_t Read(int file, void* buffer, std::size_t count) noexcept override {
    return Fails() ? -1 : m_next->Read(file, buffer, std::min(count, Limit()));
  }
  ssize_t Write(int file, const void* buffer, std::size_t count) noexcept override {
    return Fails() ? -1 : m_next->Write(file, buffer, std::min(count, Limit()));
  }
  off_t Seek(int file, off_t distance, int origin) noexcept override {
    return Fails("Seek") ? -1 : m_next->Seek(file, distance, origin);
  }
  int Truncate(int file, off_t size) noexcept override { return Fails() ? -1 : m_next->Truncate(file, size); }
  int Lock(int file, int operation) noexcept override { return Fails("Lock") ? -1 : m_next->Lock(file, operation); }
  int SetBlocking(int file) noexcept override { return Fails() ? -1 : m_next->SetBlocking(file); }
  int Sync(int file) noexcept override { return Fails() ? -1 : m_next->Sync(file); }
  int Rename(const char* from, const char* to) noexcept override { return Fails() ? -1 : m_next->Rename(from, to); }
  int Unlink(const char* path) noexcept override { return Fails() ? -1 : m_next->Unlink(path); }
  int MakeFolder(const char* path, mode_t mode) noexcept override {
    return Fails() ? -1 : m_next->MakeFolder(path, mode);
  }
  int Status(int file, struct stat* status) noexcept override { return Fails() ? -1 : m_next->Status(file, status); }
  int PathStatus(const char* path, struct stat* status) noexcept override {
    return Fails() ? -1 : m_next->PathStatus(path, status);
  }
  int ListFolder(const char* path, std::vector<std::string>* names) noexcept override {
    return Fails("ListFolder") ? -1 : m_next->ListFolder(path, names);
  }
  // Closes the descriptor even if the call is to fail.
  int Close(int file) noexcept override {
    const int result = m_next->Close(file);
    return Fails() ? -1 : result;
  }

private:
  bool Fails(const char* call = "") noexcept {
    if (!points.Fails() && failing != call) {
      return false;
    }
    errno = m_onFailure();
    return errno != 0;
  }
  std::size_t Limit() const noexcept { return points.Running() ? m_limit : SIZE_MAX; }

  std::function<int()> m_onFailure;
  std::size_t m_limit;
  FileOperations* m_next;
};
