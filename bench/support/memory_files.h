/// @file
/// Files in memory, so that what a parser does itself can be timed apart from what the system does.
#pragma once

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "platform/environment.h"

/// Serves a few named files for reading, one folder of them, and fails all other calls.
class MemoryFiles final : public FileOperations {
public:
  explicit MemoryFiles(std::map<std::string, std::string> files) : m_files(std::move(files)) {}

  int Open(const char* path, int /*flags*/, mode_t /*mode*/) noexcept override {
    const auto file = m_files.find(path);
    if (file == m_files.end()) {
      return Missing();
    }
    const auto place =
        std::find_if(m_open.begin(), m_open.end(), [](const Opened& one) { return one.bytes == nullptr; });
    if (place == m_open.end()) {
      return Missing();
    }
    *place = {&file->second, 0};
    return static_cast<int>(place - m_open.begin());
  }
  int Close(int descriptor) noexcept override {
    At(descriptor) = {};
    return 0;
  }
  ssize_t Read(int descriptor, void* buffer, std::size_t count) noexcept override {
    Opened& file = At(descriptor);
    count = std::min(count, file.bytes->size() - std::min(file.position, file.bytes->size()));
    std::memcpy(buffer, file.bytes->data() + file.position, count);
    file.position += count;
    return static_cast<ssize_t>(count);
  }
  off_t Seek(int descriptor, off_t distance, int /*from the start*/) noexcept override {
    At(descriptor).position = static_cast<std::size_t>(distance);
    return distance;
  }
  int Status(int descriptor, struct stat* status) noexcept override { return Describe(*At(descriptor).bytes, status); }
  int PathStatus(const char* path, struct stat* status) noexcept override {
    const auto file = m_files.find(path);
    return file == m_files.end() ? Missing() : Describe(file->second, status);
  }
  int ListFolder(const char* /*path*/, std::vector<std::string>* names) noexcept override {
    for (const auto& [name, bytes] : m_files) {
      names->push_back(name);
    }
    return 0;
  }

  int Duplicate(int /*descriptor*/) noexcept override { return Missing(); }
  ssize_t Write(int /*descriptor*/, const void* /*buffer*/, std::size_t /*count*/) noexcept override {
    return Missing();
  }
  int Truncate(int /*descriptor*/, off_t /*size*/) noexcept override { return Missing(); }
  int LockExclusive(int /*descriptor*/) noexcept override { return Missing(); }
  int LockWaiting(int /*descriptor*/) noexcept override { return Missing(); }
  int Unlock(int /*descriptor*/) noexcept override { return Missing(); }
  int Sync(int /*descriptor*/) noexcept override { return Missing(); }
  int Rename(const char* /*from*/, const char* /*to*/) noexcept override { return Missing(); }
  int Unlink(const char* /*path*/) noexcept override { return Missing(); }
  int MakeFolder(const char* /*path*/, mode_t /*mode*/) noexcept override { return Missing(); }

private:
  struct Opened {
    const std::string* bytes = nullptr;
    std::size_t position = 0;
  };

  static int Missing() noexcept {
    errno = ENOENT;
    return -1;
  }
  static int Describe(const std::string& bytes, struct stat* status) noexcept {
    *status = {};
    status->st_mode = S_IFREG;
    status->st_size = static_cast<off_t>(bytes.size());
    return 0;
  }
  Opened& At(int descriptor) noexcept { return m_open.at(static_cast<std::size_t>(descriptor)); }

  std::map<std::string, std::string> m_files;
  std::vector<Opened> m_open = std::vector<Opened>(8);
};
