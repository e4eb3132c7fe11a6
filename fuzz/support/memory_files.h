/// @file
/// A file system in memory below the platform layer, so that an input needs no system calls.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/base_types.h"
#include "platform/environment.h"

namespace fuzz {

/// Path of the only folder. It is not the current folder.
inline constexpr std::string_view kFolder = "/disc/";

/// Content of a file: `bytes`, then zeros up to `size`, which need no memory.
struct MemoryFile {
  std::string bytes;
  UHYPER size = 0;
};

/// File operations on the files of one folder. No other file exists. Folders cannot be created, and files cannot be
/// renamed.
class MemoryFiles final : public FileOperations {
public:
  /// Removes all files. None may be open.
  void Clear();
  void Add(std::string_view name, std::string_view bytes, UHYPER size = 0);
  void Add(std::string_view name, std::shared_ptr<MemoryFile> file);
  /// Returns the file of a path, ignoring the case of ASCII letters; null if there is none.
  std::shared_ptr<MemoryFile> Find(std::string_view path) const;

  /// Plans the results of reads, one byte for each: 0 is a full read, 1 a failure, 2 an interruption, a larger value
  /// the maximum of bytes to read. Reads after the end of the plan are full.
  void PlanReads(std::string plan);
  /// Returns whether a read has failed as planned.
  bool ReadsFailed() const noexcept { return m_readsFailed; }

  int Open(const char* path, int flags, mode_t mode) noexcept override;
  int Close(int descriptor) noexcept override;
  int Duplicate(int descriptor) noexcept override;
  ssize_t Read(int descriptor, void* buffer, std::size_t count) noexcept override;
  ssize_t Write(int descriptor, const void* buffer, std::size_t count) noexcept override;
  off_t Seek(int descriptor, off_t distance, int origin) noexcept override;
  int Truncate(int descriptor, off_t size) noexcept override;
  int Lock(int /*descriptor*/, int /*operation*/) noexcept override { return 0; }
  int SetBlocking(int /*descriptor*/) noexcept override { return 0; }
  int Sync(int /*descriptor*/) noexcept override { return 0; }
  int Rename(const char* from, const char* to) noexcept override;
  int Unlink(const char* path) noexcept override;
  int MakeFolder(const char* path, mode_t mode) noexcept override;
  int Status(int descriptor, struct stat* status) noexcept override;
  int PathStatus(const char* path, struct stat* status) noexcept override;
  int ListFolder(const char* path, std::vector<std::string>* names) noexcept override;

private:
  /// State that duplicated descriptors share.
  struct OpenFile {
    std::shared_ptr<MemoryFile> file;
    off_t position = 0;
  };
  /// Result of a lookup. The name is set even if the file does not exist.
  struct Entry {
    bool exists = false;
    bool folder = false;
    std::string name; ///< Empty outside the folder.
  };

  Entry LookUp(std::string_view path) const;
  std::shared_ptr<OpenFile>& Slot(int descriptor) noexcept;
  OpenFile* Get(int descriptor) noexcept;
  int NewDescriptor(std::shared_ptr<OpenFile> file);
  bool ApplyPlan(std::size_t* count) noexcept;

  std::map<std::string, std::shared_ptr<MemoryFile>, std::less<>> m_files;
  std::vector<std::shared_ptr<OpenFile>> m_descriptors;
  int m_open = 0;
  std::string m_plan;
  std::size_t m_planned = 0;
  bool m_readsFailed = false;
};

} // namespace fuzz
