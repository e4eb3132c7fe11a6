#include "platform/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "foundation/file.h"
#include "platform/paths.h"
#include "support/test.h"

namespace {

HANDLE OpenToRead(const std::string& path) {
  return CreateFileA(path, GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL);
}

HANDLE Create(const std::string& path) {
  return CreateFileA(path, GENERIC_WRITE, FILE_SHARE_NONE, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL);
}

/// Returns the bytes of a file; "none" if there is none.
std::string Content(const std::string& path) {
  std::string content;
  return ReadWholeFile(path, 99, &content) ? content : "none";
}

TEST(FileLookup, PrefersUtf8ThenBytesThenAnyCase) {
  const TemporaryFolder folder;
  for (const char* name :
       {"Sub/Track.bin", "sub/TRACK.BIN", "sub/track.bin", "Only/FILE.bin", "only\\back",
        "caf\xC3\xA9/\xE9\x9F\xB3.iso", "\xC3\xA9.iso", "\xE9.iso", "byte/\xE9.iso", "lat\xEDn/\xC3\xA9.iso"}) {
    folder.Write(name, name);
  }
  const std::pair<std::string, const char*> kCases[] = {
      {"Sub/Track.bin", "Sub/Track.bin"},
      {"Sub\\TRACK.bin", "Sub/Track.bin"},
      {"sub/tRACK.bin", "sub/TRACK.BIN"}, // Before track.bin in byte order.
      {"SUB/TRACK.BIN", "Sub/Track.bin"}, // Sub is before sub.
      {"ONLY\\file.BIN", "Only/FILE.bin"},
      {"only\\back", "only\\back"}, // A backslash in a name.
      {"caf\xE9/\xE9\x9F\xB3.ISO", "caf\xC3\xA9/\xE9\x9F\xB3.iso"},
      {"\xE9.iso", "\xC3\xA9.iso"},
      {"byte/\xE9.iso", "byte/\xE9.iso"},
      {"lat\xEDn/\xE9.iso", "lat\xEDn/\xC3\xA9.iso"},
      {"sub/nothing", "none"},
      {"sub/track.bin/more", "none"},
      {"sub/track.bin/", "none"},
  };
  for (const auto& [path, name] : kCases) {
    EXPECT_EQ(name, Content(folder.Path(path))) << path;
  }
  EXPECT_EQ("none", Content(""));
  FaultyFiles files([] { return EACCES; });
  files.failing = "ListFolder"; // As in a folder without read permission.
  EXPECT_EQ("caf\xC3\xA9/\xE9\x9F\xB3.iso", Content(folder.Path("caf\xE9/\xE9\x9F\xB3.iso")));
  EXPECT_EQ("lat\xEDn/\xC3\xA9.iso", Content(folder.Path("lat\xEDn/\xE9.iso")));
  EXPECT_EQ("none", Content(folder.Path("SUB/track.bin")));
}

TEST(FileLookup, FindsPatternsAndSizes) {
  const TemporaryFolder folder;
  for (const char* name : {"b.sub", "a.sub", "what?.sub", "[x].cdt", "x.cdt"}) {
    folder.Write(name, name);
  }
  folder.WriteSparse("big", (UHYPER{5} << 32) + 7);
  const std::tuple<std::string, std::string, UHYPER> kCases[] = {
      {"*.sub", "a.sub", 5},
      {"what?.sub", "what?.sub", 9}, // A file of that very name.
      {"[x].c?t", "[x].cdt", 7},     // A bracket matches itself only.
      {"BIG", "big", (UHYPER{5} << 32) + 7},
      {"*.img", "", 0},
  };
  for (const auto& [pattern, name, size] : kCases) {
    FoundFile found;
    EXPECT_EQ(!name.empty(), FindFirstFileA(folder.Path(pattern), &found)) << pattern;
    EXPECT_EQ(name, found.name);
    EXPECT_EQ(size, found.size);
    CZSFindFile find;
    find.FindFile(folder.Path(pattern));
    EXPECT_EQ(name.empty() ? "" : folder.Path(pattern == "BIG" ? "big" : pattern), find.Path());
  }
  FoundFile found;
  EXPECT_TRUE(FindFirstFileA(folder.Path(""), &found));
  EXPECT_EQ(0U, found.size) << "a folder";
}

TEST(Files, NewNamesAreUtf8InTheFolderOnDisk) {
  const TemporaryFolder folder;
  for (const char* name : {"Sub/old", "lat\xEDn/old", "\xF6.old", "caf\xC3\xA9/old"}) {
    folder.Write(name, "x");
  }
  const std::pair<const char*, const char*> kCases[] = {
      {"\xF6.cue", "\xC3\xB6.cue"},
      {"lat\xC3\xADn/\xF6.cue", "lat\xEDn/\xC3\xB6.cue"}, // The name of a folder does not change.
      {"caf\xE9/\xF6", "caf\xC3\xA9/\xC3\xB6"},
      {"SUB\\new.cue", "Sub/new.cue"},
      {"\xF6.old", "\xF6.old"}, // Exists.
      {"nowhere/new.cue", nullptr},
  };
  for (const auto& [path, onDisk] : kCases) {
    EXPECT_EQ(onDisk != nullptr, static_cast<bool>(UniqueHandle(Create(folder.Path(path))))) << path;
    EXPECT_TRUE(onDisk == nullptr || std::filesystem::is_empty(folder.Path(onDisk))) << path;
  }
}

TEST(Files, OpenOnlyAllowedKindsAndModes) {
  const TemporaryFolder folder;
  const std::string file = folder.Write("file", "x");
  const std::tuple<std::string, DWORD, DWORD, DWORD> kCases[] = {
      {"/dev/null", GENERIC_READ, OPEN_EXISTING, ERROR_ACCESS_DENIED},
      {"/dev/null", GENERIC_WRITE, CREATE_ALWAYS, ERROR_SUCCESS},
      {folder.Path("new"), GENERIC_WRITE, OPEN_EXISTING, ERROR_FILE_NOT_FOUND},
      {file, GENERIC_READ, CREATE_ALWAYS, ERROR_INVALID_PARAMETER},
      {file, GENERIC_WRITE, 1, ERROR_INVALID_PARAMETER},
      {file, 0, OPEN_EXISTING, ERROR_INVALID_PARAMETER},
  };
  for (const auto& [path, access, disposition, error] : kCases) {
    const UniqueHandle opened(CreateFileA(path, access, FILE_SHARE_NONE, disposition, 0));
    EXPECT_EQ(error, opened ? ERROR_SUCCESS : GetLastError()) << path;
  }
}

TEST(Files, WritersWithoutSharingExcludeOthers) {
  const TemporaryFolder folder;
  const std::string path = folder.Write("file", "before");
  {
    const UniqueHandle reader(OpenToRead(path));
    EXPECT_TRUE(UniqueHandle(OpenToRead(path)));
    EXPECT_TRUE(UniqueHandle(CreateFileA(path, GENERIC_WRITE, FILE_SHARE_READ, OPEN_EXISTING, 0)));
    EXPECT_FALSE(UniqueHandle(Create(path)));
    EXPECT_EQ(ERROR_SHARING_VIOLATION, GetLastError());
    EXPECT_EQ("before", folder.Read("file")) << "a writer that fails does not empty the file";
  }
  const UniqueHandle first(Create(path));
  const UniqueHandle twin(DuplicateHandle(first.Get()));
  DWORD done = 0;
  EXPECT_TRUE(WriteFile(first.Get(), "0123456789", 10, &done));
  for (const auto open : {OpenToRead, Create}) {
    EXPECT_FALSE(UniqueHandle(open(path)));
    EXPECT_EQ(ERROR_SHARING_VIOLATION, GetLastError());
  }
  EXPECT_EQ("0123456789", folder.Read("file"));
  for (const int error : {ENOLCK, EOPNOTSUPP, EIO}) { // The first two are those of systems without locks.
    FaultyFiles files([=] { return error; });
    files.failing = "Lock";
    EXPECT_EQ(error != EIO, static_cast<bool>(UniqueHandle(OpenToRead(path)))) << error;
    EXPECT_EQ(error != EIO, static_cast<bool>(UniqueHandle(Create(path)))) << error;
  }
}

TEST(Files, AreNotInheritedAndDevicesWait) {
  const TemporaryFolder folder;
  const UniqueHandle writer(Create(folder.Path("new")));
  const UniqueHandle reader(OpenToRead(folder.Write("file", "x")));
  const UniqueHandle twin(DuplicateHandle(reader.Get()));
  const UniqueHandle device(Create("/dev/null"));
  for (const UniqueHandle* file : {&writer, &reader, &twin, &device}) {
    EXPECT_EQ(FD_CLOEXEC, ::fcntl(static_cast<int>(file->Get()), F_GETFD));
  }
  EXPECT_EQ(0, ::fcntl(static_cast<int>(device.Get()), F_GETFL) & O_NONBLOCK) << "a write to a full terminal waits";
}

/// Regular files that look like block devices, which have no size of their own.
class BlockDevices final : public FaultyFiles {
public:
  int Status(int file, struct stat* status) noexcept override {
    return Disguise(FaultyFiles::Status(file, status), status);
  }
  int PathStatus(const char* path, struct stat* status) noexcept override {
    return Disguise(FaultyFiles::PathStatus(path, status), status);
  }

private:
  static int Disguise(int result, struct stat* status) noexcept {
    if (result == 0 && S_ISREG(status->st_mode)) {
      status->st_mode = (status->st_mode & ~static_cast<mode_t>(S_IFMT)) | S_IFBLK;
      status->st_size = 0;
    }
    return result;
  }
};

TEST(Files, SizeOfABlockDeviceIsItsEnd) {
  const TemporaryFolder folder;
  const std::string path = folder.Write("device", "0123456789");
  const BlockDevices devices;
  const UniqueHandle file(OpenToRead(path));
  EXPECT_TRUE(SetFilePointerEx(file.Get(), 7, nullptr, FILE_BEGIN));
  UHYPER size = 0;
  EXPECT_TRUE(GetFileSize(file.Get(), &size));
  EXPECT_EQ(10U, size);
  std::string rest;
  EXPECT_TRUE(ReadToEnd(file.Get(), 3, &rest));
  EXPECT_EQ("789", rest) << "the position is unchanged";
  FoundFile found;
  EXPECT_TRUE(FindFirstFileA(path, &found));
  EXPECT_EQ(10U, found.size);
}

TEST(Files, AreReadWholeUpToALimit) {
  const TemporaryFolder folder;
  const std::string path = folder.Write("file", "0123456789");
  std::string bytes;
  EXPECT_TRUE(ReadWholeFile(path, 10, &bytes));
  EXPECT_EQ("0123456789", bytes);
  EXPECT_FALSE(ReadWholeFile(path, 9, &bytes));
  EXPECT_EQ(ERROR_FILE_TOO_LARGE, GetLastError());
  EXPECT_EQ("", bytes);
  EXPECT_FALSE(ReadWholeFile(folder.WriteSparse("large", UHYPER{1} << 33), ~UHYPER{0}, &bytes)) << "above 4 GiB";
  const UniqueHandle file(OpenToRead(folder.WriteSparse("sparse", 99)));
  Memory().faults.Start(1);
  const bool read = ReadToEnd(file.Get(), 99, &bytes);
  Memory().faults.Stop();
  EXPECT_FALSE(read);
  EXPECT_EQ(ERROR_NOT_ENOUGH_MEMORY, GetLastError());
}

TEST(Files, DuplicatesShareOnePosition) {
  const TemporaryFolder folder;
  const UniqueHandle file(OpenToRead(folder.Write("file", "0123456789")));
  const UniqueHandle twin(DuplicateHandle(file.Get()));
  UHYPER position = 0;
  EXPECT_TRUE(SetFilePointerEx(file.Get(), 9, &position, FILE_BEGIN));
  EXPECT_TRUE(SetFilePointerEx(file.Get(), -2, &position, FILE_CURRENT));
  EXPECT_EQ(7U, position);
  char bytes[4] = {};
  DWORD done = 0;
  EXPECT_TRUE(ReadFile(twin.Get(), bytes, 4, &done));
  EXPECT_EQ("789", std::string(bytes, done)) << "the end of the file is no failure";
  EXPECT_FALSE(SetFilePointerEx(file.Get(), 0, nullptr, FILE_END + 1));
  EXPECT_FALSE(SetFilePointerEx(file.Get(), -1, nullptr, FILE_BEGIN));
  EXPECT_EQ(ERROR_NEGATIVE_SEEK, GetLastError());
}

TEST(Files, ReportSystemErrors) {
  const UniqueHandle file(Create("/dev/null"));
  const std::pair<int, DWORD> kErrors[] = {
      {ENOTDIR, 3},  {EMFILE, 4},   {EPERM, 5},    {EBADF, 6},          {ENOMEM, 8},  {EROFS, 19}, {EXDEV, 31},
      {ETXTBSY, 32}, {ENOSPC, 112}, {EDQUOT, 112}, {ENAMETOOLONG, 206}, {EFBIG, 223}, {EIO, 1117}, {ELOOP, 1921}};
  for (const auto& [number, error] : kErrors) {
    FaultyFiles failing([system = number] { return system; });
    failing.points.Start(1);
    EXPECT_EQ(INVALID_HANDLE_VALUE, DuplicateHandle(file.Get()));
    EXPECT_EQ(error, GetLastError()) << number;
  }
  const std::string path = "a name that does not fit into a string itself";
  FoundFile found;
  for (const bool open : {true, false}) {
    Memory().faults.Start(1, true);
    const bool done = open ? static_cast<bool>(UniqueHandle(OpenToRead(path))) : FindFirstFileA(path, &found);
    Memory().faults.Stop();
    EXPECT_FALSE(done);
    EXPECT_EQ(ERROR_NOT_ENOUGH_MEMORY, GetLastError());
  }
  EXPECT_FALSE(CloseHandle(INVALID_HANDLE_VALUE));
  EXPECT_EQ(ERROR_INVALID_HANDLE, GetLastError());
}

TEST(Paths, HaveBothSeparators) {
  const std::array<std::string, 6> kCases[] = {
      {"c:\\x\\disc.cue", ".cue", "disc.cue", "c:\\x", "c:\\x\\disc.SUB", "c:\\x/NEW"},
      {"/a.b/disc", "", "disc", "/a.b", "/a.b/disc.SUB", "/a.b/NEW"},
      {"/disc.tar.gz", ".gz", "disc.tar.gz", "/", "/disc.tar.SUB", "/NEW"},
      {"disc.", ".", "disc.", "", "disc.SUB", "NEW"},
      {"a.b c", "", "a.b c", "", "a.b c.SUB", "NEW"},
      {"a/b\\", "", "b\\", "a/b", "a/b\\.SUB", "a/b/NEW"},
      {".cue", ".cue", ".cue", "", ".SUB", "NEW"},
      {"", "", "", "", ".SUB", "NEW"},
  };
  for (const auto& [path, extension, name, folder, renamed, joined] : kCases) {
    EXPECT_EQ(extension, path.substr(PathFindExtensionA(path))) << path;
    EXPECT_EQ(name, path.substr(PathFindFileNameA(path))) << path;
    std::string changed = path;
    PathRenameExtensionA(&changed, ".SUB");
    EXPECT_EQ(renamed, changed);
    changed = path;
    PathRemoveFileSpecA(&changed);
    EXPECT_EQ(folder, changed);
    PathAppendA(&changed, "/NEW");
    EXPECT_EQ(joined, changed);
  }
}

TEST(Paths, HaveAnyLength) {
  const TemporaryFolder folder;
  std::string path = folder.Path("");
  for (int i = 0; i < 10; ++i) {
    path += std::string(200, 'd') + "/";
  }
  folder.Write(path + "disc.iso", "x");
  EXPECT_EQ("x", Content(path + "DISC.ISO"));
  std::replace(path.end() - 700, path.end(), '/', '\\');
  EXPECT_EQ("x", Content(path + "disc.iso")) << "longer than any one name can be";
}

} // namespace
