/// @file
/// A file system that lets an operation down at one of its calls.
#pragma once

#include <cerrno>
#include <functional>

#include "support/counting_environment.h"
#include "support/forwarding_files.h"

/// Counts the calls of the file layer as points and has trouble at those that fail.
class FaultyFiles final : public ForwardingFiles {
public:
  /// What happens at a point that fails. With an answer of 0 the call then goes on as ever; else it fails with that
  /// number in `errno`.
  explicit FaultyFiles(std::function<int()> trouble, std::size_t mostBytes = SIZE_MAX)
      : m_trouble(std::move(trouble)), m_mostBytes(mostBytes) {}

  FaultPoints points;

  int Open(const char* path, int flags, mode_t mode) noexcept override {
    return Fails() ? -1 : ForwardingFiles::Open(path, flags, mode);
  }
  // A descriptor is gone whatever its closing answers.
  int Close(int descriptor) noexcept override {
    const bool fails = Fails();
    const int error = errno;
    const int result = ForwardingFiles::Close(descriptor);
    errno = fails ? error : errno;
    return fails ? -1 : result;
  }
  int Duplicate(int descriptor) noexcept override { return Fails() ? -1 : ForwardingFiles::Duplicate(descriptor); }
  ssize_t Read(int descriptor, void* buffer, std::size_t count) noexcept override {
    return Fails() ? -1 : ForwardingFiles::Read(descriptor, buffer, std::min(count, Most()));
  }
  ssize_t Write(int descriptor, const void* buffer, std::size_t count) noexcept override {
    return Fails() ? -1 : ForwardingFiles::Write(descriptor, buffer, std::min(count, Most()));
  }
  off_t Seek(int descriptor, off_t distance, int origin) noexcept override {
    return Fails() ? -1 : ForwardingFiles::Seek(descriptor, distance, origin);
  }
  int Truncate(int descriptor, off_t size) noexcept override {
    return Fails() ? -1 : ForwardingFiles::Truncate(descriptor, size);
  }
  int LockExclusive(int descriptor) noexcept override {
    return Fails() ? -1 : ForwardingFiles::LockExclusive(descriptor);
  }
  int Status(int descriptor, struct stat* status) noexcept override {
    return Fails() ? -1 : ForwardingFiles::Status(descriptor, status);
  }
  int PathStatus(const char* path, struct stat* status) noexcept override {
    return Fails() ? -1 : ForwardingFiles::PathStatus(path, status);
  }
  int ListFolder(const char* path, std::vector<std::string>* names) noexcept override {
    return Fails() ? -1 : ForwardingFiles::ListFolder(path, names);
  }

private:
  bool Fails() noexcept {
    if (!points.Fails()) {
      return false;
    }
    errno = m_trouble();
    return errno != 0;
  }
  std::size_t Most() const noexcept { return points.Running() ? m_mostBytes : SIZE_MAX; }

  std::function<int()> m_trouble;
  std::size_t m_mostBytes;
};
