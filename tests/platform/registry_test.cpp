#include "platform/registry.h"

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

#include "platform/named_mutex.h"
#include "support/environment_variable.h"
#include "support/faulty_files.h"
#include "support/temporary_folder.h"

namespace {

constexpr const char* kName = "store/registry.reg";
constexpr const char* kText = R"(ImageFile Registry 1

[HKEY_CLASSES_ROOT]

[HKEY_CLASSES_ROOT\CLSID]
@="a \"text\" of C:\\\nlines"

[HKEY_CURRENT_USER]

[HKEY_CURRENT_USER\Software]

[HKEY_CURRENT_USER\Software\Blank Name]
"Level"=dword:0000002a
"Empty"=""
)";

class Registry : public testing::Test {
protected:
  DWORD Set(const std::string& key, const std::string& text) {
    return ChangeRegistry([&](RegistryKey* registry) -> DWORD {
      RegistryKey* made = registry->Create(key);
      if (made == nullptr) {
        return ERROR_INVALID_NAME;
      }
      made->SetText("", text);
      return ERROR_SUCCESS;
    });
  }

  TemporaryFolder folder;
  EnvironmentVariable path{"IMAGEFILE_REGISTRY", folder.Path(kName)};
};

TEST_F(Registry, WritesWhatItReads) {
  // In the order of names, whatever the order of the changes.
  EXPECT_EQ(0U, ChangeRegistry([](RegistryKey* registry) -> DWORD {
              RegistryKey* key = registry->Create("HKEY_CURRENT_USER\\Software\\Blank Name");
              key->SetText("Empty", "");
              key->SetNumber("Level", 7);
              key->SetNumber("LEVEL", 42);
              registry->Create("HKEY_CLASSES_ROOT\\Gone\\Below");
              registry->Find("hkey_classes_root")->Remove("gone");
              return 0;
            }));
  EXPECT_EQ(0U, Set("HKEY_CLASSES_ROOT\\CLSID", "a \"text\" of C:\\\nlines"));
  std::string text = folder.Read(kName);
  const std::size_t level = text.find("\"LEVEL\""); // The last spelling stays.
  ASSERT_NE(std::string::npos, level) << text;
  EXPECT_GT(level, text.find("\"Empty\""));
  // A file that a person wrote is left alone when a change changes nothing, and so is one whose change failed.
  text = std::string(kText) + "; mine\r\n";
  folder.Write(kName, text);
  EXPECT_EQ(0U, Set("HKEY_CLASSES_ROOT\\clsid", "a \"text\" of C:\\\nlines"));
  EXPECT_EQ(ERROR_INVALID_NAME, Set("HKEY_CLASSES_ROOT\\\\A", ""));
  EXPECT_EQ(5U, ChangeRegistry([](RegistryKey* registry) -> DWORD {
              registry->Remove("HKEY_CURRENT_USER");
              return 5;
            }));
  EXPECT_EQ(text, folder.Read(kName));
}

TEST_F(Registry, AnswersQueries) {
  HKEY key{};
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegOpenKeyExA(HKEY_CURRENT_USER, "Software", 0, KEY_READ, &key));
  folder.Write(kName, kText);
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegOpenKeyExA(HKEY_CLASSES_ROOT, "Software", 0, KEY_READ, &key));
  ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExA(HKEY_CURRENT_USER, "software", 0, KEY_READ, &key));
  HKEY inner{};
  ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExA(key, "BLANK name", 0, KEY_READ, &inner));
  EXPECT_EQ(ERROR_SUCCESS, RegCloseKey(key));
  DWORD type = 0;
  DWORD number = 0;
  DWORD size = 3;
  EXPECT_EQ(ERROR_MORE_DATA, RegQueryValueExA(inner, "level", nullptr, &type, reinterpret_cast<BYTE*>(&number), &size));
  EXPECT_EQ(4U, size);
  EXPECT_EQ(ERROR_SUCCESS, RegQueryValueExA(inner, "level", nullptr, &type, reinterpret_cast<BYTE*>(&number), &size));
  EXPECT_EQ(42U, number);
  EXPECT_EQ(REG_DWORD, type);
  EXPECT_EQ(ERROR_SUCCESS, RegQueryValueExA(inner, "Empty", nullptr, &type, nullptr, &size));
  EXPECT_EQ(1U, size); // The zero behind.
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegQueryValueExA(inner, nullptr, nullptr, nullptr, nullptr, nullptr));
  EXPECT_EQ(ERROR_SUCCESS, RegCloseKey(inner));
}

TEST_F(Registry, RefusesDamagedFilesAndLeavesThem) {
  const std::string heading = "ImageFile Registry 1\n";
  const std::string key = heading + "[HKEY_CURRENT_USER]\n";
  std::string deep = heading + "[HKEY_CURRENT_USER";
  for (int i = 0; i < 600; ++i) {
    deep += "\\a";
  }
  const std::string damaged[] = {"\n",
                                 "ImageFile Registry 2\n",
                                 heading + "\"a\"=\"b\"\n",
                                 heading + "[HKEY_CURRENT_USER",
                                 heading + "[]\n",
                                 heading + "[HKEY_USERS\\a]\n",
                                 heading + "[HKEY_CURRENT_USER\\\\a]\n",
                                 heading + "[HKEY_CURRENT_USER\\" + std::string(256, 'a') + "]\n",
                                 deep + "]\n",
                                 key + "@\n",
                                 key + "@=\"a\n",
                                 key + "@=\"a\\",
                                 key + "@=\"a\\t\"\n",
                                 key + "@=\"a\"b\n",
                                 key + "@=dword:1\n",
                                 key + "@=dword:123456789\n",
                                 key + "@=dword:0000000g\n",
                                 key + "a=\"b\"\n",
                                 key + "@=\"" + std::string(1, '\0') + "\"\n"};
  for (const std::string& text : damaged) {
    folder.Write(kName, text);
    HKEY opened{};
    EXPECT_EQ(ERROR_BADDB, RegOpenKeyExA(HKEY_CURRENT_USER, "", 0, KEY_READ, &opened)) << text;
    EXPECT_EQ(ERROR_BADDB, Set("HKEY_CURRENT_USER\\a", "b")) << text;
    EXPECT_EQ(text, folder.Read(kName));
  }
  folder.WriteSparse(kName, UHYPER{1} << 40);
  EXPECT_EQ(ERROR_BADDB, Set("HKEY_CURRENT_USER\\a", "b"));
}

TEST_F(Registry, HoldsTheOldOrTheNewStateWhateverFails) {
  folder.Write(kName, kText);
  ASSERT_EQ(0U, Set("HKEY_CLASSES_ROOT\\New", "value"));
  const std::string changed = folder.Read(kName);
  ASSERT_NE(kText, changed);
  for (const bool andAfter : {false, true}) {
    int states[2] = {};
    bool reached = true;
    for (int failAt = 1; reached; ++failAt) {
      folder.Write(kName, kText);
      DWORD error = 0;
      {
        FaultyFiles failing([] { return EIO; }, 64); // As if the process died, when all calls behind it fail as well.
        failing.points.Start(failAt, andAfter);
        error = Set("HKEY_CLASSES_ROOT\\New", "value");
        reached = failing.points.Reached();
      }
      EXPECT_TRUE(reached || error == 0) << failAt;
      const std::string text = folder.Read(kName);
      EXPECT_TRUE(text == changed || (text == kText && error != 0)) << failAt << '\n' << text;
      ++states[text == changed ? 1 : 0];
      EXPECT_EQ(0U, Set("HKEY_CLASSES_ROOT\\New", "value")) << failAt; // What was left behind stops nobody.
      EXPECT_EQ(changed, folder.Read(kName));
    }
    EXPECT_GE(states[0], 10); // Each call up to the rename,
    EXPECT_GE(states[1], 3);  // and those behind it.
  }
}

TEST_F(Registry, LosesNothingWhenProcessesWriteAtOnce) {
  constexpr int kProcesses = 4;
  constexpr int kKeys = 15;
  std::vector<pid_t> processes;
  for (int i = 0; i < kProcesses; ++i) {
    processes.push_back(fork());
    if (processes.back() == 0) {
      bool good = true;
      for (int k = 0; k < kKeys; ++k) {
        good = good && Set("HKEY_CLASSES_ROOT\\" + std::to_string(i) + '\\' + std::to_string(k), "x") == 0;
      }
      _exit(good ? 0 : 1);
    }
  }
  for (const pid_t process : processes) {
    int status = -1;
    waitpid(process, &status, 0);
    EXPECT_EQ(0, status);
  }
  RegistryKey registry;
  ASSERT_EQ(0U, ReadRegistry(&registry));
  for (int i = 0; i < kProcesses; ++i) {
    const RegistryKey* key = registry.Find("HKEY_CLASSES_ROOT\\" + std::to_string(i));
    ASSERT_NE(nullptr, key);
    EXPECT_EQ(std::size_t{kKeys}, key->keys.size());
  }
}

TEST(NamedMutex, KeepsOthersOutUntilItsOwnerGivesItBackOrDies) {
  const TemporaryFolder folder;
  const EnvironmentVariable runtime("XDG_RUNTIME_DIR", folder.Path(""));
  EXPECT_EQ(INVALID_HANDLE_VALUE, OpenMutexA("M"));
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, GetLastError());
  for (const char* name : {"", "a/b", "a\\b"}) {
    EXPECT_EQ(INVALID_HANDLE_VALUE, CreateMutexA(name)) << name;
    EXPECT_EQ(ERROR_INVALID_NAME, GetLastError());
  }
  const UniqueHandle mutex(CreateMutexA("M"));
  EXPECT_EQ(ERROR_SUCCESS, GetLastError());
  int ready[2] = {};
  ASSERT_EQ(0, pipe(ready));
  const pid_t owner = fork();
  if (owner == 0) {
    const HANDLE own = CreateMutexA("M");
    const bool good = GetLastError() == ERROR_ALREADY_EXISTS && WaitForSingleObject(own, 0) == WAIT_OBJECT_0;
    static_cast<void>(write(ready[1], good ? "1" : "0", 1));
    pause();
    _exit(1);
  }
  char good = '0';
  EXPECT_EQ(1, read(ready[0], &good, 1));
  EXPECT_EQ('1', good);
  EXPECT_EQ(WAIT_TIMEOUT, WaitForSingleObject(mutex.Get(), 0));
  kill(owner, SIGKILL);
  EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(mutex.Get(), INFINITE));
  waitpid(owner, nullptr, 0);
  close(ready[0]);
  close(ready[1]);
  const UniqueHandle second(OpenMutexA("M"));
  EXPECT_EQ(WAIT_TIMEOUT, WaitForSingleObject(second.Get(), 0));
  EXPECT_TRUE(ReleaseMutex(mutex.Get()));
  EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(second.Get(), 0));
}

} // namespace
