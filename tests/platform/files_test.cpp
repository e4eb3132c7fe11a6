#include "platform/files.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <fstream>

#include "platform/environment.h"
#include "platform/paths.h"
#include "platform/text.h"
#include "support/temporary_folder.h"

namespace {

HANDLE OpenToRead(const std::string& path) {
  return CreateFileA(path, GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL);
}

HANDLE Create(const std::string& path, DWORD sharing = FILE_SHARE_NONE) {
  return CreateFileA(path, GENERIC_WRITE, sharing, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL);
}

std::string FirstByte(const std::string& path) {
  const UniqueHandle file(OpenToRead(path));
  char byte = '?';
  DWORD came = 0;
  return file && ReadFile(file.Get(), &byte, 1, &came) && came == 1 ? std::string(1, byte) : "cannot open";
}

TEST(FileLookup, PrefersTheExactNameThenTheFirstOfAnyCase) {
  const TemporaryFolder folder;
  folder.Write("Sub/Track.bin", "T");
  folder.Write("sub/TRACK.BIN", "U");
  folder.Write("sub/track.bin", "l");
  folder.Write("Only/FILE.bin", "F");
  folder.Write("only\\back", "b"); // A name that holds the other separator.
  folder.Write("caf\xC3\xA9/\xE9\x9F\xB3.iso", "J");
  const struct {
    const char* path;
    const char* content;
  } kCases[] = {
      {"Sub/Track.bin", "T"},
      {"Sub\\TRACK.bin", "T"},
      {"sub/tRACK.bin", "U"}, // TRACK.BIN comes before track.bin in byte order.
      {"SUB/TRACK.BIN", "T"}, // Sub comes before sub.
      {"ONLY\\file.BIN", "F"},
      {"only\\back", "b"},
      {"caf\xE9/\xE9\x9F\xB3.ISO", "J"}, // The same characters in the other encoding.
      {"sub/nothing", "cannot open"},
      {"sub/track.bin/more", "cannot open"},
      {"", "cannot open"},
  };
  for (const auto& test : kCases) {
    EXPECT_EQ(test.content, FirstByte(test.path[0] == '\0' ? "" : folder.Path(test.path))) << test.path;
  }
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, GetLastError());
  std::string resolved;
  EXPECT_TRUE(ResolveFilePath(folder.Path("ONLY\\file.BIN"), &resolved));
  EXPECT_EQ(folder.Path("Only/FILE.bin"), resolved);
}

TEST(FileLookup, FindsPatternsAndSizes) {
  const TemporaryFolder folder;
  folder.Write("b.sub", "12345");
  folder.Write("a.sub", "12");
  folder.Write("what?.sub", "1");
  folder.WriteSparse("big", (UHYPER{5} << 32) + 7);
  WIN32_FIND_DATAA data{};
  ASSERT_NE(INVALID_HANDLE_VALUE, FindFirstFileA(folder.Path("*.sub"), &data));
  EXPECT_EQ("a.sub", data.cFileName);
  EXPECT_EQ(2U, data.nFileSizeLow);
  ASSERT_NE(INVALID_HANDLE_VALUE, FindFirstFileA(folder.Path("what?.sub"), &data));
  EXPECT_EQ(1U, data.nFileSizeLow) << "a name that looks like a pattern stands for itself";
  ASSERT_NE(INVALID_HANDLE_VALUE, FindFirstFileA(folder.Path("BIG"), &data));
  EXPECT_EQ(5U, data.nFileSizeHigh);
  EXPECT_EQ(7U, data.nFileSizeLow);
  EXPECT_EQ(INVALID_HANDLE_VALUE, FindFirstFileA(folder.Path("*.img"), &data));
}

TEST(Files, AreMadeInTheFolderOnDiskUnderNamesInUtf8) {
  const TemporaryFolder folder;
  folder.Write("Sub/old", "x");
  folder.Write("lat\xEDn/old", "x");
  folder.Write("\xF6.old", "x");
  const struct {
    const char* path;
    const char* onDisk;
  } kCases[] = {
      {"\xF6.cue", "\xC3\xB6.cue"},                       // A name that is one byte in narrow text.
      {"lat\xC3\xADn/\xF6.cue", "lat\xEDn/\xC3\xB6.cue"}, // The folder keeps the name that it has.
      {"SUB\\new.cue", "Sub/new.cue"},
      {"\xF6.old", "\xF6.old"}, // There already.
      {"nowhere/new.cue", nullptr},
  };
  for (const auto& test : kCases) {
    const UniqueHandle file(Create(folder.Path(test.path)));
    EXPECT_EQ(test.onDisk != nullptr, static_cast<bool>(file)) << test.path;
    EXPECT_TRUE(test.onDisk == nullptr || std::filesystem::exists(folder.Path(test.onDisk))) << test.path;
  }
}

TEST(Files, OpenOnlyWhatCanBeReadAtAnyPosition) {
  const TemporaryFolder folder;
  folder.Write("folder.iso/file", "x");
  ASSERT_EQ(0, ::mkfifo(folder.Path("fifo.iso").c_str(), 0600));
  for (const char* name : {"folder.iso", "fifo.iso"}) {
    EXPECT_EQ(INVALID_HANDLE_VALUE, OpenToRead(folder.Path(name))) << name;
    EXPECT_EQ(ERROR_ACCESS_DENIED, GetLastError()) << name;
  }
  EXPECT_EQ(INVALID_HANDLE_VALUE, OpenToRead("/dev/null"));
  const UniqueHandle sink(Create("/dev/null"));
  EXPECT_TRUE(sink) << "data may go to a device";
}

TEST(Files, WriterWithoutSharingKeepsOthersOut) {
  const TemporaryFolder folder;
  const std::string path = folder.Write("file", "before");
  {
    const UniqueHandle first(Create(path));
    ASSERT_TRUE(first);
    DWORD done = 0;
    EXPECT_TRUE(WriteFile(first.Get(), "now", 3, &done));
    const UniqueHandle second(Create(path));
    EXPECT_FALSE(second);
    EXPECT_EQ(ERROR_SHARING_VIOLATION, GetLastError());
  }
  EXPECT_EQ("now", folder.Read("file")) << "the second writer must not empty the file";
  EXPECT_EQ(INVALID_HANDLE_VALUE, Create(folder.Path("missing/file")));
}

TEST(Files, MovePositionAndShareItWithDuplicates) {
  const TemporaryFolder folder;
  const UniqueHandle file(OpenToRead(folder.Write("file", "0123456789")));
  const UniqueHandle twin(DuplicateHandle(file.Get()));
  UHYPER position = 0;
  EXPECT_TRUE(SetFilePointerEx(file.Get(), 4, &position, FILE_BEGIN));
  EXPECT_TRUE(SetFilePointerEx(file.Get(), -2, &position, FILE_CURRENT));
  EXPECT_EQ(2U, position);
  char bytes[4] = {};
  DWORD came = 0;
  EXPECT_TRUE(ReadFile(twin.Get(), bytes, 4, &came));
  EXPECT_EQ("2345", std::string(bytes, came));
  EXPECT_FALSE(SetFilePointerEx(file.Get(), -1, nullptr, FILE_BEGIN));
  EXPECT_EQ(ERROR_NEGATIVE_SEEK, GetLastError());
  EXPECT_EQ(8U, SetFilePointer(file.Get(), -2, FILE_END));
  EXPECT_TRUE(ReadFile(file.Get(), bytes, 4, &came));
  EXPECT_EQ(2U, came) << "the end of the file is no failure";
  EXPECT_FALSE(CloseHandle(INVALID_HANDLE_VALUE));
  EXPECT_EQ(ERROR_INVALID_HANDLE, GetLastError());
}

TEST(PathStrings, TakeBothSeparators) {
  const struct {
    const char* path;
    const char* extension;
    const char* name;
    const char* folder;
    const char* renamed;
    const char* joined;
  } kCases[] = {
      {"c:\\x\\disc.cue", ".cue", "disc.cue", "c:\\x", "c:\\x\\disc.SUB", "c:\\x/NEW"},
      {"/a.b/disc", "", "disc", "/a.b", "/a.b/disc.SUB", "/a.b/NEW"},
      {"/disc.tar.gz", ".gz", "disc.tar.gz", "/", "/disc.tar.SUB", "/NEW"},
      {"disc.", ".", "disc.", "", "disc.SUB", "NEW"},
      {"a.b c", "", "a.b c", "", "a.b c.SUB", "NEW"},
      {"a/b\\", "", "b\\", "a/b", "a/b\\.SUB", "a/b/NEW"},
      {".cue", ".cue", ".cue", "", ".SUB", "NEW"},
      {"", "", "", "", ".SUB", "NEW"},
  };
  for (const auto& test : kCases) {
    const std::string path = test.path;
    EXPECT_EQ(test.extension, path.substr(PathFindExtensionA(path))) << path;
    EXPECT_EQ(test.name, path.substr(PathFindFileNameA(path))) << path;
    std::string changed = path;
    PathRenameExtensionA(&changed, ".SUB");
    EXPECT_EQ(test.renamed, changed);
    changed = path;
    PathRemoveFileSpecA(&changed);
    EXPECT_EQ(test.folder, changed);
    PathAppendA(&changed, "/NEW");
    EXPECT_EQ(test.joined, changed);
  }
}

TEST(PathStrings, HaveNoLimit) {
  const TemporaryFolder folder;
  std::string path = folder.Path("");
  while (path.size() < 2000) {
    path += std::string(200, 'd') + "/";
  }
  std::filesystem::create_directories(path);
  path += "disc.iso";
  std::ofstream(path) << "x";
  EXPECT_EQ("x", FirstByte(path));
  EXPECT_EQ("x", FirstByte(path.substr(0, path.size() - 8) + "DISC.ISO"));
  std::string end = path.substr(path.size() - 700);
  std::replace(end.begin(), end.end(), '/', '\\');
  EXPECT_EQ("x", FirstByte(path.substr(0, path.size() - 700) + end)) << "longer than any one name may be";
}

} // namespace
