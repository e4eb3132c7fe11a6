#include "platform/registry.h"

#include <sys/stat.h>
#include <thread>

#include "platform/named_mutex.h"
#include "support/test.h"

namespace {

constexpr const char* kName = "store/registry.reg";
const std::string kHeading = "ImageFile Registry 1\n";
const std::string kText = kHeading + R"(
[HKEY_CLASSES_ROOT]

[HKEY_CLASSES_ROOT\CLSID]
@="a \"text\" of C:\\\r\nlines"

[HKEY_CURRENT_USER]

[HKEY_CURRENT_USER\Software]

[HKEY_CURRENT_USER\Software\Blank Name]
"Empty"=""
"LEVEL"=dword:0000002a
)";

class Registry : public testing::Test {
protected:
  DWORD Set(const std::string& key, const std::string& text) {
    return ChangeRegistry([&](RegistryKey* registry) -> DWORD {
      RegistryKey* created = registry->Create(key);
      return created == nullptr ? ERROR_INVALID_NAME : (created->SetText("", text), ERROR_SUCCESS);
    });
  }

  TemporaryFolder folder;
  EnvironmentVariable path{"IMAGEFILE_REGISTRY", folder.Path(kName)};
};

TEST_F(Registry, ReadsAndWritesKeysAndValues) {
  HKEY key{};
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegOpenKeyExA(HKEY_CURRENT_USER, "Software", 0, 0x20019, &key));
  EXPECT_EQ(ERROR_INVALID_HANDLE, RegOpenKeyExA(HKEY{}, "", 0, KEY_READ, &key));
  // Keys are written in the order of names; values have the last spelling.
  EXPECT_EQ(0U, ChangeRegistry([](RegistryKey* registry) -> DWORD {
              RegistryKey* created = registry->Create("HKEY_CURRENT_USER\\Software\\Blank Name");
              created->SetNumber("Level", 7);
              created->SetText("Empty", std::string_view("\0no more", 8));
              created->SetNumber("LEVEL", 42);
              registry->Create("HKEY_CLASSES_ROOT\\Gone\\Below");
              registry->Find("hkey_classes_root")->Remove("gone");
              return 0;
            }));
  EXPECT_EQ(0U, Set("HKEY_CLASSES_ROOT\\CLSID", "a \"text\" of C:\\\r\nlines"));
  EXPECT_EQ(kText, folder.Read(kName));
  // The file is not written if a change changes nothing or fails.
  const std::string edited = kText + "; mine\r\n";
  folder.Write(kName, edited);
  EXPECT_EQ(0U, Set("HKEY_CLASSES_ROOT\\clsid", "a \"text\" of C:\\\r\nlines"));
  for (const char* name : {"HKEY_CLASSES_ROOT\\\\A", "HKEY_CLASSES_ROOT\\", "HKEY_CLASSES_ROOT\\\x1F"}) {
    EXPECT_EQ(ERROR_INVALID_NAME, Set(name, "")) << name;
  }
  EXPECT_EQ(5U, ChangeRegistry([](RegistryKey* registry) -> DWORD {
              registry->Remove("HKEY_CURRENT_USER");
              return 5;
            }));
  EXPECT_EQ(edited, folder.Read(kName));

  ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExA(HKEY_CURRENT_USER, "software\\BLANK name", 0, KEY_READ, &key));
  BYTE data[4] = {};
  DWORD type = 0;
  DWORD size = 3;
  EXPECT_EQ(ERROR_MORE_DATA, RegQueryValueExA(key, "level", nullptr, &type, data, &size));
  EXPECT_EQ(4U, size);
  EXPECT_EQ(ERROR_SUCCESS, RegQueryValueExA(key, "level", nullptr, &type, data, &size));
  EXPECT_EQ(42, data[0]);
  EXPECT_EQ(REG_DWORD, type);
  EXPECT_EQ(ERROR_SUCCESS, RegQueryValueExA(key, "Empty", nullptr, &type, data, &size));
  EXPECT_EQ(1U, size) << "its final zero";
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegQueryValueExA(key, "", nullptr, &type, data, &size));
  EXPECT_EQ(ERROR_SUCCESS, RegCloseKey(key));
}

TEST_F(Registry, DamagedFilesFailAndRemain) {
  const std::string key = kHeading + "[HKEY_CURRENT_USER";
  std::vector<std::string> damaged = {"\n",
                                      "ImageFile Registry 2\n",
                                      key,
                                      key + "\\" + std::string(256, 'a') + "]\n",
                                      kHeading + "\"a\"=\"b\"",
                                      kHeading + "[]",
                                      kHeading + "[HKEY_USERS\\a]",
                                      key + "\\\\a]",
                                      kHeading + std::string(1 << 20, ';'),
                                      key + "]\n@=\"" + '\0' + "\"\n"};
  for (const char* value : {"@", "@=\"a", "@=\"a\\", "@=\"a\\t\"", "@=\"a\"b", "@=dword:1", "@=dword:123456789",
                            "@=dword:0000000g", "a=\"b\""}) {
    damaged.push_back(key + "]\n" + value + "\n");
  }
  damaged.push_back(key + Times(600, "\\a") + "]\n");
  for (const std::string& text : damaged) {
    folder.Write(kName, text);
    HKEY opened{};
    EXPECT_EQ(ERROR_BADDB, RegOpenKeyExA(HKEY_CURRENT_USER, "", 0, KEY_READ, &opened)) << text;
    EXPECT_EQ(ERROR_BADDB, Set("HKEY_CURRENT_USER\\a", "b")) << text;
    EXPECT_TRUE(text == folder.Read(kName)) << text;
  }
}

TEST_F(Registry, FileIsOldOrNewWhateverFails) {
  folder.Write(kName, kText);
  ASSERT_EQ(0U, Set("HKEY_CLASSES_ROOT\\New", "value"));
  const std::string changed = folder.Read(kName);
  ASSERT_NE(kText, changed);
  FaultyFiles failing([] { return EIO; }, 64);
  for (const bool andAfter : {false, true}) { // All later calls fail as well if the process dies.
    int states[2] = {};
    for (int failAt = 1; failAt == 1 || failing.points.Reached(); ++failAt) {
      folder.Write(kName, kText);
      failing.points.Start(failAt, andAfter);
      const DWORD error = Set("HKEY_CLASSES_ROOT\\New", "value");
      failing.points.Stop();
      EXPECT_TRUE(failing.points.Reached() || error == 0) << failAt;
      const std::string text = folder.Read(kName);
      EXPECT_TRUE(text == changed || (text == kText && error != 0)) << failAt << '\n' << text;
      ++states[text == changed ? 1 : 0];
      EXPECT_TRUE(andAfter || !std::filesystem::exists(folder.Path(kName) + ".new")) << failAt;
      EXPECT_EQ(0U, Set("HKEY_CLASSES_ROOT\\New", "value")) << failAt; // Files that remain have no effect.
      EXPECT_EQ(changed, folder.Read(kName));
    }
    EXPECT_GE(states[0], 10); // Calls up to the rename.
    EXPECT_GE(states[1], 3);  // Calls after it.
  }
}

TEST_F(Registry, IsChangedOnFileSystemsWithoutLocks) {
  for (const int error : {ENOLCK, EOPNOTSUPP, EIO}) {
    FaultyFiles files([=] { return error; });
    files.failing = "Lock";
    EXPECT_EQ(error != EIO, Set("HKEY_CLASSES_ROOT\\New", "value") == 0) << error;
  }
}

TEST_F(Registry, ConcurrentChangesAreAllKept) {
  std::vector<std::jthread> writers;
  for (const std::string key : {"0", "1", "2", "3"}) {
    writers.emplace_back([&, key] {
      for (int i = 0; i < 15; ++i) {
        EXPECT_EQ(0U, Set("HKEY_CLASSES_ROOT\\" + key + '\\' + std::to_string(i), "x"));
      }
    });
  }
  writers.clear();
  RegistryKey registry;
  ASSERT_EQ(0U, ReadRegistry(&registry));
  for (const char* key : {"0", "1", "2", "3"}) {
    EXPECT_EQ(15U, registry.Find("HKEY_CLASSES_ROOT")->Create(key)->keys.size()) << key;
  }
}

TEST(NamedMutex, IsAFileInAFolderOfTheUserAlone) {
  const TemporaryFolder folder;
  const EnvironmentVariable runtime("XDG_RUNTIME_DIR", folder.Path(""));
  EXPECT_TRUE(UniqueHandle(CreateMutexA("M"))) << "a new one";
  EXPECT_TRUE(UniqueHandle(CreateMutexA("M"))) << "the one that exists";
  EXPECT_TRUE(std::filesystem::exists(folder.Path("ImageFile/M.mutex")));
  ASSERT_EQ(0, chmod(folder.Path("ImageFile").c_str(), 0750));
  EXPECT_FALSE(UniqueHandle(CreateMutexA("M"))) << "a folder that others can read";
}

} // namespace
