/// @file
/// A file system in memory below the platform layer, so that an input costs no system call.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/base_types.h"
#include "platform/environment.h"

namespace fuzz {

/// The one folder, which is not the current one.
inline constexpr std::string_view kFolder = "/disc/";

/// The bytes of a file. Behind `bytes` it has zeros up to `size`, which take no memory.
struct MemoryFile {
  std::string bytes;
  UHYPER size = 0;
};

/// Serves files of the one folder. Everything else is missing. Folders cannot be made, and names not be changed.
class MemoryFiles final : public FileOperations {
public:
  /// Drops all files. None may be open.
  void Clear();
  void Add(std::string_view name, std::string_view bytes, UHYPER size = 0);
  void Add(std::string_view name, std::shared_ptr<MemoryFile> file);
  /// The file of a path, without regard to the case of ASCII letters; null when there is none.
  std::shared_ptr<MemoryFile> Find(std::string_view path) const;
  /// The bytes of all files.
  UHYPER Bytes() const;

  /// Each read takes the next byte of the plan: 1 fails it, 2 interrupts it, a higher one is the most bytes that
  /// come. Reads behind the end of the plan bring all, and so does 0.
  void PlanReads(std::string plan);
  /// Whether some read was made to fail.
  bool ReadsFailed() const noexcept { return m_readsFailed; }
  int OpenDescriptors() const noexcept { return m_open; }

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
  /// What descriptors share that were duplicated from each other.
  struct OpenFile {
    std::shared_ptr<MemoryFile> file;
    off_t position = 0;
  };
  /// What a path leads to. A name may be missing in the folder.
  struct Place {
    bool exists = false;
    bool folder = false;
    std::string name; ///< Empty outside the folder.
  };

  Place Look(std::string_view path) const;
  std::shared_ptr<OpenFile>& Slot(int descriptor) noexcept;
  OpenFile* Get(int descriptor) noexcept;
  int NewDescriptor(std::shared_ptr<OpenFile> file);
  bool FollowPlan(std::size_t* count) noexcept;

  std::map<std::string, std::shared_ptr<MemoryFile>, std::less<>> m_files;
  std::vector<std::shared_ptr<OpenFile>> m_descriptors;
  int m_open = 0;
  std::string m_plan;
  std::size_t m_planned = 0;
  bool m_readsFailed = false;
};

} // namespace fuzz
