#include "support/memory_files.h"

#include <fcntl.h>
#include <strings.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "support/require.h"

namespace fuzz {
namespace {

constexpr std::size_t kMaxName = 255;
constexpr std::size_t kMaxPath = 4095;
constexpr int kFirstDescriptor = 1 << 20; // Lower descriptors belong to the system.

int Fail(int error) noexcept {
  errno = error;
  return -1;
}

std::vector<std::string_view> Components(std::string_view path) {
  std::vector<std::string_view> parts;
  while (!path.empty()) {
    const std::string_view part = path.substr(0, path.find('/'));
    path.remove_prefix(std::min(part.size() + 1, path.size()));
    if (part == "..") {
      if (!parts.empty()) {
        parts.pop_back();
      }
    } else if (!part.empty() && part != ".") {
      parts.push_back(part);
    }
  }
  return parts;
}

bool EqualsWithoutCase(std::string_view left, std::string_view right) noexcept {
  return left.size() == right.size() && ::strncasecmp(left.data(), right.data(), left.size()) == 0;
}

} // namespace

void MemoryFiles::Clear() {
  Require(m_open == 0, "no file is left open");
  m_files.clear();
  m_descriptors.clear();
  PlanReads({});
}

void MemoryFiles::Add(std::string_view name, std::string_view bytes, UHYPER size) {
  Add(name, std::make_shared<MemoryFile>(MemoryFile{std::string(bytes), std::max<UHYPER>(size, bytes.size())}));
}

void MemoryFiles::Add(std::string_view name, std::shared_ptr<MemoryFile> file) {
  m_files.insert_or_assign(std::string(name), std::move(file));
}

std::shared_ptr<MemoryFile> MemoryFiles::Find(std::string_view path) const {
  const std::string_view folder = path.substr(0, kFolder.size());
  for (const auto& [name, file] : m_files) {
    if (EqualsWithoutCase(folder, kFolder) && EqualsWithoutCase(path.substr(kFolder.size()), name)) {
      return file;
    }
  }
  return nullptr;
}

void MemoryFiles::PlanReads(std::string plan) {
  m_plan = std::move(plan);
  m_planned = 0;
  m_readsFailed = false;
}

MemoryFiles::Entry MemoryFiles::LookUp(std::string_view path) const {
  constexpr std::string_view kFolderName = "disc";
  Entry entry;
  const std::vector<std::string_view> parts = Components(path);
  const bool tooLong = path.size() > kMaxPath || std::any_of(parts.begin(), parts.end(), [](std::string_view part) {
                         return part.size() > kMaxName;
                       });
  errno = tooLong ? ENAMETOOLONG : ENOENT;
  if (tooLong || path.empty()) {
    return entry;
  }
  if (parts.empty() || (parts.size() == 1 && parts[0] == kFolderName)) {
    entry.exists = entry.folder = true;
  } else if (parts.size() == 2 && parts[0] == kFolderName) {
    entry.name = parts[1];
    entry.exists = m_files.find(parts[1]) != m_files.end();
  } else if (parts.size() > 2 && parts[0] == kFolderName && m_files.find(parts[1]) != m_files.end()) {
    errno = ENOTDIR;
  }
  return entry;
}

std::shared_ptr<MemoryFiles::OpenFile>& MemoryFiles::Slot(int descriptor) noexcept {
  const auto index = static_cast<std::size_t>(descriptor - kFirstDescriptor);
  const bool open = descriptor >= kFirstDescriptor && index < m_descriptors.size() && m_descriptors[index] != nullptr;
  Require(open, "only open descriptors are used");
  return m_descriptors[index];
}

MemoryFiles::OpenFile* MemoryFiles::Get(int descriptor) noexcept { return Slot(descriptor).get(); }

int MemoryFiles::NewDescriptor(std::shared_ptr<OpenFile> file) {
  m_descriptors.push_back(std::move(file));
  ++m_open;
  return kFirstDescriptor + static_cast<int>(m_descriptors.size()) - 1;
}

int MemoryFiles::Open(const char* path, int flags, mode_t /*mode*/) noexcept {
  const Entry entry = LookUp(path);
  if (entry.folder) {
    return Fail((flags & O_ACCMODE) == O_RDONLY ? EACCES : EISDIR);
  }
  if (!entry.exists && ((flags & O_CREAT) == 0 || entry.name.empty())) {
    return -1;
  }
  if (!entry.exists) {
    Add(entry.name, std::string_view());
  }
  return NewDescriptor(std::make_shared<OpenFile>(OpenFile{m_files.find(entry.name)->second, 0}));
}

int MemoryFiles::Close(int descriptor) noexcept {
  if (descriptor < kFirstDescriptor) {
    return ::close(descriptor);
  }
  Slot(descriptor).reset();
  --m_open;
  return 0;
}

int MemoryFiles::Duplicate(int descriptor) noexcept {
  return NewDescriptor(std::shared_ptr<OpenFile>(Slot(descriptor)));
}

bool MemoryFiles::ApplyPlan(std::size_t* count) noexcept {
  const auto step = m_planned < m_plan.size() ? static_cast<BYTE>(m_plan[m_planned++]) : BYTE{0};
  if (step == 1 || step == 2) {
    m_readsFailed = m_readsFailed || step == 1;
    errno = step == 1 ? EIO : EINTR;
    return false;
  }
  *count = step == 0 ? *count : std::min<std::size_t>(*count, step);
  return true;
}

ssize_t MemoryFiles::Read(int descriptor, void* buffer, std::size_t count) noexcept {
  OpenFile* open = Get(descriptor);
  if (!ApplyPlan(&count)) {
    return -1;
  }
  const auto position = static_cast<UHYPER>(open->position);
  const MemoryFile& file = *open->file;
  count = position < file.size ? static_cast<std::size_t>(std::min<UHYPER>(count, file.size - position)) : 0;
  const std::size_t stored =
      position < file.bytes.size() ? std::min(count, file.bytes.size() - static_cast<std::size_t>(position)) : 0;
  if (stored != 0) {
    std::memcpy(buffer, file.bytes.data() + position, stored);
  }
  std::memset(static_cast<BYTE*>(buffer) + stored, 0, count - stored);
  open->position += static_cast<off_t>(count);
  return static_cast<ssize_t>(count);
}

ssize_t MemoryFiles::Write(int descriptor, const void* buffer, std::size_t count) noexcept {
  OpenFile* open = Get(descriptor);
  const auto position = static_cast<std::size_t>(open->position);
  MemoryFile& file = *open->file;
  if (file.bytes.size() < position + count) {
    file.bytes.resize(position + count);
  }
  std::memcpy(file.bytes.data() + position, buffer, count);
  file.size = std::max<UHYPER>(file.size, file.bytes.size());
  open->position += static_cast<off_t>(count);
  return static_cast<ssize_t>(count);
}

off_t MemoryFiles::Seek(int descriptor, off_t distance, int origin) noexcept {
  OpenFile* open = Get(descriptor);
  const off_t from = origin == SEEK_SET   ? 0
                     : origin == SEEK_CUR ? open->position
                                          : static_cast<off_t>(open->file->size);
  off_t reached = 0;
  if (__builtin_add_overflow(from, distance, &reached)) {
    return Fail(EOVERFLOW);
  }
  if (reached < 0) {
    return Fail(EINVAL);
  }
  open->position = reached;
  return reached;
}

int MemoryFiles::Truncate(int descriptor, off_t size) noexcept {
  MemoryFile& file = *Get(descriptor)->file;
  file.size = static_cast<UHYPER>(size);
  file.bytes.resize(std::min<std::size_t>(file.bytes.size(), static_cast<std::size_t>(size)));
  return 0;
}

int MemoryFiles::Rename(const char* /*from*/, const char* /*to*/) noexcept { return Fail(EROFS); }

int MemoryFiles::Unlink(const char* path) noexcept {
  const Entry entry = LookUp(path);
  return entry.exists && !entry.folder && m_files.erase(entry.name) != 0 ? 0 : -1;
}

int MemoryFiles::MakeFolder(const char* /*path*/, mode_t /*mode*/) noexcept { return Fail(EROFS); }

int MemoryFiles::Status(int descriptor, struct stat* status) noexcept {
  *status = {};
  status->st_mode = S_IFREG;
  status->st_size = static_cast<off_t>(Get(descriptor)->file->size);
  return 0;
}

int MemoryFiles::PathStatus(const char* path, struct stat* status) noexcept {
  const Entry entry = LookUp(path);
  if (!entry.exists) {
    return -1;
  }
  *status = {};
  status->st_mode = entry.folder ? S_IFDIR : S_IFREG;
  status->st_size = entry.folder ? 0 : static_cast<off_t>(m_files.find(entry.name)->second->size);
  return 0;
}

int MemoryFiles::ListFolder(const char* path, std::vector<std::string>* names) noexcept {
  const std::vector<std::string_view> parts = Components(path);
  if (!LookUp(path).folder) {
    return -1;
  }
  if (parts.empty()) {
    names->emplace_back("disc");
    return 0;
  }
  for (const auto& [name, file] : m_files) {
    names->push_back(name);
  }
  return 0;
}

} // namespace fuzz
