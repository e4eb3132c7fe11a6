#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <thread>

#include "builders/sectors.h"
#include "foundation/module.h"
#include "imagefile/server/diagnostics.h"
#include "imagefile/server/exports.h"
#include "imagefile/server/registrar.h"
#include "imagefile/server/registration.h"
#include "platform/registry.h"
#include "support/environment_variable.h"
#include "support/faulty_files.h"
#include "support/services.h"
#include "support/temporary_folder.h"
#include "tools/tool_run.h"

namespace {

constexpr const char* kRegistry = "registry.reg";
constexpr const char* kHeading = "ImageFile Registry 1\n";

class Server : public testing::Test {
protected:
  /// Runs steps in a program that knows the component by the registry alone.
  static std::string Host(const std::vector<std::string>& steps) {
    const ToolResult result = RunProgram(COMPONENT_HOST, steps);
    EXPECT_EQ(0, result.status) << result.err;
    return result.out;
  }

  TemporaryFolder folder;
  EnvironmentVariable path{"IMAGEFILE_REGISTRY", folder.Path(kRegistry)};
  EnvironmentVariable runtime{"XDG_RUNTIME_DIR", folder.Path("")};
};

const std::string kBefore = std::string(kHeading) + R"(
[HKEY_CLASSES_ROOT]

[HKEY_CLASSES_ROOT\CLSID]

[HKEY_CLASSES_ROOT\CLSID\{00000000-0000-0000-0000-000000000001}]
@="Another class"

[HKEY_CLASSES_ROOT\TypeLib]

[HKEY_CURRENT_USER]
"Mine"=dword:00000001
)";

TEST_F(Server, IsFoundByOtherProcessesWhileRegistered) {
  const std::string classId = "{AE7CB71D-5121-409C-AEA7-4A9EACB3C354}";
  const std::vector<std::string> steps = {"create", "ZSImageFile.ZSImageFile",  "create", "zsimagefile.zscuesheet",
                                          "create", "ZSImageFile.ZSCueSheet.1", "class",  classId};
  const std::string unknown = "create 0x800401F3\ncreate 0x800401F3\ncreate 0x800401F3\nclass 0x80040154\n";
  folder.Write(kRegistry, kBefore);
  EXPECT_EQ(unknown, Host(steps));
  EXPECT_EQ("DllRegisterServer 0x00000000\n", Host({"call", COMPONENT_LIBRARY, "DllRegisterServer"}));
  EXPECT_EQ("create 0x00000000\ncreate 0x00000000\ncreate 0x00000000\nclass 0x00000000\n", Host(steps));

  RegistryKey registry;
  ASSERT_EQ(0U, ReadRegistry(&registry));
  struct Entry {
    const char* key;
    const char* value;
    std::string text;
  };
  const Entry entries[] = {
      {"ZSImageFile.ZSImageFile.1", "", "Zentora Scribe ImageFile Class"},
      {"ZSImageFile.ZSImageFile.1\\CLSID", "", classId},
      {"ZSImageFile.ZSImageFile", "", "Zentora Scribe ImageFile Class"},
      {"ZSImageFile.ZSImageFile\\CLSID", "", classId},
      {"ZSImageFile.ZSImageFile\\CurVer", "", "ZSImageFile.ZSImageFile.1"},
      {"ZSImageFile.ZSCueSheet", "", "Zentora Scribe CueSheet Class"},
      {"CLSID\\{AE7CB71D-5121-409C-AEA7-4A9EACB3C354}", "", "Zentora Scribe ImageFile Class"},
      {"CLSID\\{CD37B6EB-D22C-4F42-8C01-89B078739430}", "", "Zentora Scribe CueSheet Class"},
      {"CLSID\\{CD37B6EB-D22C-4F42-8C01-89B078739430}\\ProgID", "", "ZSImageFile.ZSCueSheet.1"},
      {"CLSID\\{CD37B6EB-D22C-4F42-8C01-89B078739430}\\VersionIndependentProgID", "", "ZSImageFile.ZSCueSheet"},
      {"CLSID\\{CD37B6EB-D22C-4F42-8C01-89B078739430}\\Programmable", "", ""},
      {"CLSID\\{CD37B6EB-D22C-4F42-8C01-89B078739430}\\InprocServer32", "", COMPONENT_LIBRARY},
      {"CLSID\\{CD37B6EB-D22C-4F42-8C01-89B078739430}\\InprocServer32", "ThreadingModel", "Apartment"},
      {"CLSID\\{CD37B6EB-D22C-4F42-8C01-89B078739430}\\TypeLib", "", "{473D376B-F22A-4B8D-AD03-C6882F715D4B}"},
      {"TypeLib\\{473D376B-F22A-4B8D-AD03-C6882F715D4B}\\1.0", "", "Zentora ImageFile"},
      {"TypeLib\\{B85DA793-2DE6-49AC-844D-52512C140A0A}\\1.0", "", "zs.tlb"}};
  for (const Entry& entry : entries) {
    const RegistryKey* key = registry.Find(std::string("HKEY_CLASSES_ROOT\\") + entry.key);
    ASSERT_NE(nullptr, key) << entry.key;
    EXPECT_EQ(entry.text, key->Text(entry.value)) << entry.key;
  }

  // Twice each way is as good as once.
  const std::string registered = folder.Read(kRegistry);
  Host({"call", COMPONENT_LIBRARY, "DllRegisterServer"});
  EXPECT_EQ(registered, folder.Read(kRegistry));
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ("DllUnregisterServer 0x00000000\n", Host({"call", COMPONENT_LIBRARY, "DllUnregisterServer"}));
    EXPECT_EQ(kBefore, folder.Read(kRegistry));
  }
  EXPECT_EQ(unknown, Host(steps));
}

TEST_F(Server, ServesARecordThatOutlivesTheLibrary) {
  std::vector<BYTE> image(20 * 2048);
  const std::vector<BYTE> descriptor = VolumeDescriptor("LINUX");
  std::copy(descriptor.begin(), descriptor.end(), image.begin() + 16 * 2048);
  const std::string disc = folder.Write("disc.iso", image);
  EXPECT_EQ("DllRegisterServer 0x00000000\nread 0x00000000\nfree loaded\nfree gone\nagain 0x00000000\n"
            "emptied 0x00000000\n",
            Host({"call", COMPONENT_LIBRARY, "DllRegisterServer", "read", disc}));
}

TEST_F(Server, TellsWhyALibraryCannotServe) {
  const std::string key = std::string(kHeading) +
                          "[HKEY_CLASSES_ROOT\\A]\n[HKEY_CLASSES_ROOT\\A\\CLSID]\n"
                          "@=\"{00000000-0000-0000-0000-000000000001}\"\n"
                          "[HKEY_CLASSES_ROOT\\CLSID\\{00000000-0000-0000-0000-000000000001}\\InprocServer32]\n@=\"";
  struct Case {
    std::string text;
    const char* answer;
  };
  const std::string component = COMPONENT_LIBRARY;
  const Case cases[] = {
      {key + folder.Path("missing.so") + "\"\n", "create 0x800401F8\n"},
      {key + "libm.so.6\"\n", "create 0x800401F8\n"}, // Never searched for.
      {key + folder.Path(kRegistry) + "\"\n", "create 0x800401F8\n"},
      {key + component.substr(0, component.rfind('/')) + "/libImageFilePlatform.so\"\n", "create 0x800401F9\n"},
      {key + component + "\"\n", "create 0x80040111\n"},
      {"?", "create 0x80040150\n"}};
  for (const Case& each : cases) {
    folder.Write(kRegistry, each.text);
    EXPECT_EQ(each.answer, Host({"create", "A"})) << each.text;
  }
}

/// Lets a number of changes of the registry through.
class FailingRename final : public FaultyFiles {
public:
  explicit FailingRename(int good) : m_good(good) {}
  int Rename(const char* from, const char* to) noexcept override {
    errno = EACCES;
    return m_good-- > 0 ? FaultyFiles::Rename(from, to) : -1;
  }

private:
  int m_good;
};

TEST_F(Server, StopsAtTheStepThatFailsAndLeavesWhatWentBefore) {
  const HRESULT denied = HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED);
  const char* keys[] = {"TypeLib\\{B85DA793-2DE6-49AC-844D-52512C140A0A}", "ZSImageFile.ZSImageFile",
                        "ZSImageFile.ZSCueSheet", "TypeLib\\{473D376B-F22A-4B8D-AD03-C6882F715D4B}"};
  for (int good = 0; good <= 4; ++good) {
    folder.Write(kRegistry, "");
    {
      const FailingRename failing(good);
      EXPECT_EQ(good == 4 ? S_OK : denied, RunRegistration(RegistrarMode::Register)) << good;
    }
    RegistryKey registry;
    ASSERT_EQ(0U, ReadRegistry(&registry));
    for (int i = 0; i < 4; ++i) {
      EXPECT_EQ(i < good, registry.Find(std::string("HKEY_CLASSES_ROOT\\") + keys[i]) != nullptr) << good << ' ' << i;
    }
  }
}

TEST_F(Server, RunsScriptsBothWays) {
  const ScriptNames names = {{"MODULE", "/a 'b'%.so"}, {"KEY", "K"}};
  constexpr const char* kScript = "HKCU { NoRemove Kept { val A = s 'it''s' NoRemove val B = s '%MODULE%' }\n"
                                  " %KEY% = s plain { Sub } ForceRemove 'Whole Key' { 'val' = s '100%%' } }";
  const std::string before = std::string(kHeading) + "\n[HKEY_CLASSES_ROOT]\n\n[HKEY_CURRENT_USER]\n\n"
                                                     "[HKEY_CURRENT_USER\\K]\n\n[HKEY_CURRENT_USER\\K\\Other]\n\n"
                                                     "[HKEY_CURRENT_USER\\Whole Key]\n\n"
                                                     "[HKEY_CURRENT_USER\\Whole Key\\Old]\n";
  folder.Write(kRegistry, before);
  EXPECT_EQ(S_OK, RunRegistrationScript(kScript, names, RegistrarMode::Register));
  EXPECT_EQ(std::string(kHeading) + "\n[HKEY_CLASSES_ROOT]\n\n[HKEY_CURRENT_USER]\n\n[HKEY_CURRENT_USER\\K]\n"
                                    "@=\"plain\"\n\n[HKEY_CURRENT_USER\\K\\Other]\n\n[HKEY_CURRENT_USER\\K\\Sub]\n\n"
                                    "[HKEY_CURRENT_USER\\Kept]\n\"A\"=\"it's\"\n\"B\"=\"/a 'b'%.so\"\n\n"
                                    "[HKEY_CURRENT_USER\\Whole Key]\n\n[HKEY_CURRENT_USER\\Whole Key\\val]\n"
                                    "@=\"100%\"\n",
            folder.Read(kRegistry));
  EXPECT_EQ(S_OK, RunRegistrationScript(kScript, names, RegistrarMode::Unregister));
  EXPECT_EQ(std::string(kHeading) + "\n[HKEY_CLASSES_ROOT]\n\n[HKEY_CURRENT_USER]\n\n[HKEY_CURRENT_USER\\K]\n"
                                    "@=\"plain\"\n\n[HKEY_CURRENT_USER\\K\\Other]\n\n"
                                    "[HKEY_CURRENT_USER\\Kept]\n\"B\"=\"/a 'b'%.so\"\n",
            folder.Read(kRegistry));
}

TEST_F(Server, RefusesMalformedScripts) {
  const std::string deep = "HKCR " + [] {
    std::string text;
    for (int i = 0; i < 100; ++i) {
      text += "{ a ";
    }
    return text + std::string(100, '}');
  }();
  const std::string scripts[] = {"HKCR",
                                 "HKCR {",
                                 "HKCR { a = }",
                                 "HKCR { a = s }",
                                 "HKCR { a = d 1 }",
                                 "HKCR { val a }",
                                 "HKCR { 'a }",
                                 "HKCR { %NAME% }",
                                 "HKCR { a% }",
                                 "HKLM { a }",
                                 "HKCR { a { b }",
                                 "HKCR { a } }",
                                 "HKCR { '' }",
                                 "HKCR { a\\b }",
                                 "HKCR { NoRemove }",
                                 deep};
  for (const std::string& script : scripts) {
    EXPECT_EQ(E_INVALIDARG, RunRegistrationScript(script, {}, RegistrarMode::Register)) << script;
  }
  EXPECT_EQ("", folder.Read(kRegistry));
}

TEST_F(Server, ReadsTheLevelOfDiagnostics) {
  const std::string key = std::string(kHeading) + "[HKEY_CURRENT_USER\\Software\\Zentora\\Zentora Scribe\\MMC]\n";
  struct Case {
    std::string text;
    LONG level;
  };
  const Case cases[] = {{"", -1},
                        {key, -1},
                        {key + "\"DebugLevel\"=dword:00000003\n", 3},
                        {key + "\"debuglevel\"=dword:fffffffe\n", -2},
                        {key + "\"DebugLevel\"=\"3\"\n", -1},
                        {"damaged", -1}};
  for (const Case& each : cases) {
    folder.Write(kRegistry, each.text);
    const CZSDiagnostics diagnostics;
    EXPECT_EQ(each.level, diagnostics.Level()) << each.text;
    EXPECT_NE(INVALID_HANDLE_VALUE, diagnostics.Mutex());
  }
  const EnvironmentVariable nowhere("XDG_RUNTIME_DIR", "/proc/none");
  EXPECT_EQ(INVALID_HANDLE_VALUE, CZSDiagnostics().Mutex());
}

/// An object that takes another one in. It lives on the stack.
class Outer final : public IUnknown {
public:
  HRESULT QueryInterface(REFIID iid, void** object) override {
    if (iid == IID_IUnknown) {
      *object = static_cast<IUnknown*>(this);
      AddRef();
      return S_OK;
    }
    return inner->QueryInterface(iid, object);
  }
  ULONG AddRef() override { return ++references; }
  ULONG Release() override { return --references; }

  ULONG references = 1;
  ComPtr<IUnknown> inner;
};

TEST(ServerClasses, MakePlainAndAggregatedObjects) {
  ComPtr<IClassFactory> factory;
  EXPECT_EQ(E_POINTER, DllGetClassObject(CLSID_ZSCueSheet, IID_IClassFactory, nullptr));
  EXPECT_EQ(CLASS_E_CLASSNOTAVAILABLE, DllGetClassObject(IID_IStream, IID_IClassFactory, factory.ReceiveVoid()));
  EXPECT_EQ(E_NOINTERFACE, DllGetClassObject(CLSID_ZSCueSheet, IID_IStream, factory.ReceiveVoid()));
  ASSERT_EQ(S_OK, DllGetClassObject(CLSID_ZSCueSheet, IID_IClassFactory, factory.ReceiveVoid()));
  ComPtr<IUnknown> same;
  ASSERT_EQ(S_OK, DllGetClassObject(CLSID_ZSCueSheet, IID_IUnknown, same.ReceiveVoid()));
  EXPECT_EQ(factory.Get(), same.Get());

  same.Reset();
  EXPECT_EQ(S_FALSE, DllCanUnloadNow()) << "with a factory in use";
  factory->LockServer(1);
  factory->Release();
  EXPECT_EQ(S_FALSE, DllCanUnloadNow()) << "while it is locked";
  factory->LockServer(0);
  EXPECT_EQ(S_OK, DllCanUnloadNow());
  factory->AddRef();

  Outer outer;
  void* object = &outer;
  EXPECT_EQ(CLASS_E_NOAGGREGATION, factory->CreateInstance(&outer, IID_IZSCueSheet, &object));
  EXPECT_EQ(nullptr, object);
  ASSERT_EQ(S_OK, factory->CreateInstance(&outer, IID_IUnknown, outer.inner.ReceiveVoid()));
  factory.Reset();
  EXPECT_EQ(S_FALSE, DllCanUnloadNow());
  {
    ComPtr<IZSCueSheet> sheets; // Its identity and its references are those of the outer object.
    ASSERT_EQ(S_OK, outer.inner->QueryInterface(IID_IZSCueSheet, sheets.ReceiveVoid()));
    EXPECT_EQ(2U, outer.references);
    ComPtr<IUnknown> identity;
    EXPECT_EQ(S_OK, sheets->QueryInterface(IID_IUnknown, identity.ReceiveVoid()));
    EXPECT_EQ(&outer, identity.Get());
    EXPECT_EQ(E_NOINTERFACE, outer.inner->QueryInterface(IID_IMarshal, &object));
  }
  EXPECT_EQ(1U, outer.references);
  outer.inner.Reset();
  EXPECT_EQ(S_OK, DllCanUnloadNow());
}

TEST(Threads, CreateQueryAndReleaseObjectsAtOnce) {
  const LONG before = Module().LockCount();
  std::vector<std::thread> threads;
  std::atomic<int> good{0};
  const ComPtr<IZSImageFile> shared = NewImageFileService();
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < 200; ++round) {
        const ComPtr<IZSImageFile> images = NewImageFileService();
        const ComPtr<IZSCueSheet> sheets = NewCueSheetService();
        ComPtr<IUnknown> identity;
        ComPtr<IUnknown> sharedIdentity;
        good += images->QueryInterface(IID_IUnknown, identity.ReceiveVoid()) == S_OK &&
                        shared->QueryInterface(IID_IUnknown, sharedIdentity.ReceiveVoid()) == S_OK
                    ? 1
                    : 0;
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(8 * 200, good);
  EXPECT_EQ(before + 2, Module().LockCount()); // The shared object and its own cue sheet service.
}

TEST(Threads, CreateObjectsWhileLibrariesAreLoadedAndFreed) {
  const TemporaryFolder folder;
  const EnvironmentVariable path("IMAGEFILE_REGISTRY", folder.Path(kRegistry));
  const ToolResult result = RunProgram(COMPONENT_HOST, {"call", COMPONENT_LIBRARY, "DllRegisterServer", "threads",
                                                        "free", "call", COMPONENT_LIBRARY, "DllCanUnloadNow"});
  EXPECT_EQ(0, result.status) << result.err;
  EXPECT_EQ("DllRegisterServer 0x00000000\nthread 0x00000000\nthread 0x00000000\nthread 0x00000000\n"
            "thread 0x00000000\nfree gone\nDllCanUnloadNow 0x00000000\n",
            result.out);
}

} // namespace
