/// @file
/// The system calls of the file layer under a test's control.
#pragma once

#include "platform/environment.h"

/// Stands in for the system's own calls while it lives and passes all of them on. Tests derive from it and
/// override the calls that should count or fail.
class ForwardingFiles : public FileOperations {
public:
  ForwardingFiles() : m_next(ProcessEnvironment().files) { ProcessEnvironment().files = this; }
  ForwardingFiles(const ForwardingFiles&) = delete;
  ForwardingFiles& operator=(const ForwardingFiles&) = delete;
  ~ForwardingFiles() override { ProcessEnvironment().files = m_next; }

  int Open(const char* path, int flags, mode_t mode) noexcept override { return m_next->Open(path, flags, mode); }
  int Close(int descriptor) noexcept override { return m_next->Close(descriptor); }
  int Duplicate(int descriptor) noexcept override { return m_next->Duplicate(descriptor); }
  ssize_t Read(int descriptor, void* buffer, std::size_t count) noexcept override {
    return m_next->Read(descriptor, buffer, count);
  }
  ssize_t ReadScattered(int descriptor, const struct iovec* parts, int count) noexcept override {
    return m_next->ReadScattered(descriptor, parts, count);
  }
  ssize_t Write(int descriptor, const void* buffer, std::size_t count) noexcept override {
    return m_next->Write(descriptor, buffer, count);
  }
  off_t Seek(int descriptor, off_t distance, int origin) noexcept override {
    return m_next->Seek(descriptor, distance, origin);
  }
  int Truncate(int descriptor, off_t size) noexcept override { return m_next->Truncate(descriptor, size); }
  int LockExclusive(int descriptor) noexcept override { return m_next->LockExclusive(descriptor); }
  int LockWaiting(int descriptor) noexcept override { return m_next->LockWaiting(descriptor); }
  int Unlock(int descriptor) noexcept override { return m_next->Unlock(descriptor); }
  int Sync(int descriptor) noexcept override { return m_next->Sync(descriptor); }
  int Rename(const char* from, const char* to) noexcept override { return m_next->Rename(from, to); }
  int Unlink(const char* path) noexcept override { return m_next->Unlink(path); }
  int MakeFolder(const char* path, mode_t mode) noexcept override { return m_next->MakeFolder(path, mode); }
  int Status(int descriptor, struct stat* status) noexcept override { return m_next->Status(descriptor, status); }
  int PathStatus(const char* path, struct stat* status) noexcept override { return m_next->PathStatus(path, status); }
  int ListFolder(const char* path, std::vector<std::string>* names) noexcept override {
    return m_next->ListFolder(path, names);
  }

private:
  FileOperations* m_next;
};
