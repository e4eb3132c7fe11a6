#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
#include <set>
#include <tuple>

#include "foundation/module.h"
#include "imagefile/server/diagnostics.h"
#include "imagefile/server/exports.h"
#include "imagefile/server/registration.h"
#include "platform/registry.h"
#include "support/environment_variable.h"
#include "support/faulty_files.h"
#include "support/services.h"
#include "tools/tool_run.h"

namespace {

/// Runs steps in a program that knows the component by the registry alone. The component is $LIBRARY.
std::string Host(const TemporaryFolder& folder, const std::string& steps) {
  const ToolResult result = RunShell("LIBRARY='" COMPONENT_LIBRARY "' && cd '" + folder.Path("") + "' && exec " +
                                     ZSIMAGE_EMULATOR " '" COMPONENT_HOST "' " + steps);
  EXPECT_EQ(0, result.status) << result.err;
  return result.out;
}

class Server : public testing::Test {
protected:
  void WriteRegistry(const std::string& keys) const { folder.Write("registry.reg", "ImageFile Registry 1\n" + keys); }

  /// The registry on one line.
  std::string Registry() const { return std::regex_replace(folder.Read("registry.reg"), std::regex("\n+"), " "); }

  const TemporaryFolder folder;
  const EnvironmentVariable path{"IMAGEFILE_REGISTRY", folder.Path("registry.reg")};
  const EnvironmentVariable runtime{"XDG_RUNTIME_DIR", folder.Path("")};
};

TEST_F(Server, IsFoundByOtherProcessesWhileRegistered) {
  const std::string steps = "create ZSImageFile.ZSImageFile create zsimagefile.zscuesheet "
                            "create ZSImageFile.ZSCueSheet.1 create {AE7CB71D-5121-409C-AEA7-4A9EACB3C354}";
  const std::string unknown = "create 0x800401F3\ncreate 0x800401F3\ncreate 0x800401F3\ncreate 0x80040154\n";
  WriteRegistry("[HKEY_CLASSES_ROOT]\n[HKEY_CLASSES_ROOT\\CLSID]\n"
                "[HKEY_CLASSES_ROOT\\CLSID\\{00000000-0000-0000-0000-000000000001}]\n@=\"Another class\"\n"
                "[HKEY_CLASSES_ROOT\\TypeLib]\n[HKEY_CURRENT_USER]\n\"Mine\"=dword:00000001\n");
  const std::string before = Registry();
  EXPECT_EQ(unknown, Host(folder, steps));
  EXPECT_EQ("DllRegisterServer 0x00000000\n", Host(folder, "call $LIBRARY DllRegisterServer"));
  EXPECT_EQ("create 0x00000000\ncreate 0x00000000\ncreate 0x00000000\ncreate 0x00000000\n", Host(folder, steps));

  const std::string registered = Registry();
  const auto expect = [&](const std::string& key, const std::string& text, const std::string& more = "") {
    const std::string entry = "[HKEY_CLASSES_ROOT\\" + key + "] " + (text.empty() ? "[" : "@=\"" + text + "\" " + more);
    EXPECT_NE(std::string::npos, registered.find(entry)) << entry << registered;
  };
  const std::tuple<std::string, std::string, std::string> kClasses[] = {
      {"ZSImageFile.ZSImageFile", "{AE7CB71D-5121-409C-AEA7-4A9EACB3C354}", "Zentora Scribe ImageFile Class"},
      {"ZSImageFile.ZSCueSheet", "{CD37B6EB-D22C-4F42-8C01-89B078739430}", "Zentora Scribe CueSheet Class"}};
  for (const auto& [name, id, text] : kClasses) {
    for (const std::string& key : {name, name + ".1", "CLSID\\" + id}) {
      expect(key, text);
    }
    expect(name + "\\CLSID", id);
    expect(name + ".1\\CLSID", id);
    expect(name + "\\CurVer", name + ".1");
    expect("CLSID\\" + id + "\\ProgID", name + ".1");
    expect("CLSID\\" + id + "\\VersionIndependentProgID", name);
    expect("CLSID\\" + id + "\\Programmable", "");
    expect("CLSID\\" + id + "\\InprocServer32", COMPONENT_LIBRARY, "\"ThreadingModel\"=\"Apartment\"");
    expect("CLSID\\" + id + "\\TypeLib", "{473D376B-F22A-4B8D-AD03-C6882F715D4B}");
  }
  expect("TypeLib\\{473D376B-F22A-4B8D-AD03-C6882F715D4B}\\1.0", "Zentora ImageFile");
  expect("TypeLib\\{B85DA793-2DE6-49AC-844D-52512C140A0A}\\1.0", "zs.tlb");

  // Twice each way is as good as once, and it does not matter how the library was named to be loaded.
  std::filesystem::create_directory_symlink(std::filesystem::path(COMPONENT_LIBRARY).parent_path(), folder.Path("lib"));
  EXPECT_EQ("DllRegisterServer 0x00000000\n", Host(folder, "call ./lib/${LIBRARY##*/} DllRegisterServer"));
  EXPECT_EQ(registered, Registry());
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ("DllUnregisterServer 0x00000000\n", Host(folder, "call $LIBRARY DllUnregisterServer"));
    EXPECT_EQ(before, Registry());
  }
  EXPECT_EQ(unknown, Host(folder, steps));
}

TEST_F(Server, ServesARecordThatOutlivesTheLibrary) {
  folder.WriteSparse("disc.iso", 20 * 2048);
  EXPECT_EQ("DllRegisterServer 0x00000000\nread 0x00000000\nprepare 0x00000000\nfree loaded\nfree gone\n"
            "again 0x00000000\nempty 0x00000000\n",
            Host(folder, "call $LIBRARY DllRegisterServer read disc.iso"));
  ComPtr<ITypeLib> own;
  EXPECT_EQ(S_OK, LoadRegTypeLib(kComponentTypeLibrary, 1, 0, 0, own.Receive())) << "known without the registry";
  EXPECT_EQ(TYPE_E_LIBNOTREGISTERED, LoadRegTypeLib(kComponentTypeLibrary, 1, 1, 0, own.Receive()));
}

TEST_F(Server, TellsWhyALibraryCannotServe) {
  const std::string component = COMPONENT_LIBRARY;
  const std::string libraries = component.substr(0, component.rfind('/'));
  const std::tuple<std::string, const char*> kCases[] = {
      {folder.Path("missing.so"), "create 0x800401F8\n"},
      {"libm.so.6", "create 0x800401F8\n"}, // Never searched for.
      {folder.Path("registry.reg"), "create 0x800401F8\n"},
      {libraries + "/libImageFilePlatform.so", "create 0x800401F9\n"},
      {component, "create 0x80040111\n"},
      {"\" damaged", "create 0x80040150\n"}};
  for (const auto& [library, answer] : kCases) {
    WriteRegistry("[HKEY_CLASSES_ROOT\\A\\CLSID]\n@=\"{00000000-0000-0000-0000-000000000001}\"\n"
                  "[HKEY_CLASSES_ROOT\\CLSID\\{00000000-0000-0000-0000-000000000001}\\InprocServer32]\n@=\"" +
                  library + "\"\n");
    EXPECT_EQ(answer, Host(folder, "create A")) << library;
  }
}

TEST_F(Server, StopsAtTheStepThatFailsAndLeavesWhatWentBefore) {
  const char* kSteps[] = {"TypeLib\\{B85DA793-2DE6-49AC-844D-52512C140A0A}", "ZSImageFile.ZSImageFile",
                          "ZSImageFile.ZSCueSheet", "TypeLib\\{473D376B-F22A-4B8D-AD03-C6882F715D4B}"};
  std::set<std::string> seen; // Which steps had left their keys.
  for (long point = 0; seen.count("++++") == 0 && point < 1000; ++point) {
    WriteRegistry("");
    FaultyFiles files([] { return EACCES; });
    files.points.Start(std::max(1L, point), point != 0);
    const HRESULT result = DllRegisterServer();
    files.points.Stop();
    // Where the first call alone fails, that costs the shared type library, which nobody looks at.
    EXPECT_EQ(point == 0 ? S_OK : HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED), result) << point;
    std::string keys;
    for (const char* key : kSteps) {
      keys += Registry().find(std::string("[HKEY_CLASSES_ROOT\\") + key + "] ") == std::string::npos ? '-' : '+';
    }
    seen.insert(keys);
  }
  EXPECT_EQ((std::set<std::string>{"-+++", "----", "+---", "++--", "+++-", "++++"}), seen);
}

TEST_F(Server, UnregisteringKeepsKeysOfOthers) {
  const std::string root = "[HKEY_CLASSES_ROOT\\";
  const std::string kept = root + "ZSImageFile.ZSCueSheet\\CurVer\\Other]\n" + root +
                           "ZSImageFile.ZSImageFile\\Other]\n" + root +
                           "TypeLib\\{473D376B-F22A-4B8D-AD03-C6882F715D4B}\\2.0]\n";
  WriteRegistry(kept + root + "CLSID\\{CD37B6EB-D22C-4F42-8C01-89B078739430}\\Old]\n");
  EXPECT_EQ(S_OK, DllRegisterServer());
  EXPECT_EQ(std::string::npos, Registry().find("\\Old]")) << "a class's own key begins empty";
  EXPECT_EQ(S_OK, DllUnregisterServer());
  EXPECT_EQ("ImageFile Registry 1 [HKEY_CLASSES_ROOT] [HKEY_CLASSES_ROOT\\CLSID] [HKEY_CLASSES_ROOT\\TypeLib] "
            "[HKEY_CLASSES_ROOT\\TypeLib\\{473D376B-F22A-4B8D-AD03-C6882F715D4B}] "
            "[HKEY_CLASSES_ROOT\\TypeLib\\{473D376B-F22A-4B8D-AD03-C6882F715D4B}\\2.0] "
            "[HKEY_CLASSES_ROOT\\ZSImageFile.ZSCueSheet] @=\"Zentora Scribe CueSheet Class\" "
            "[HKEY_CLASSES_ROOT\\ZSImageFile.ZSCueSheet\\CurVer] @=\"ZSImageFile.ZSCueSheet.1\" "
            "[HKEY_CLASSES_ROOT\\ZSImageFile.ZSCueSheet\\CurVer\\Other] "
            "[HKEY_CLASSES_ROOT\\ZSImageFile.ZSImageFile] @=\"Zentora Scribe ImageFile Class\" "
            "[HKEY_CLASSES_ROOT\\ZSImageFile.ZSImageFile\\Other] [HKEY_CURRENT_USER] ",
            Registry());
}

TEST_F(Server, ReadsTheLevelOfDiagnostics) {
  const std::tuple<std::string, LONG> kCases[] = {{"", -1},
                                                  {"\"DebugLevel\"=dword:00000003\n", 3},
                                                  {"\"debuglevel\"=dword:fffffffe\n", -2},
                                                  {"\"DebugLevel\"=\"3\"\n", -1},
                                                  {"damaged", -1}};
  for (const auto& [values, level] : kCases) {
    WriteRegistry("[HKEY_CURRENT_USER\\Software\\Zentora\\Zentora Scribe\\MMC]\n" + values);
    const Diagnostics diagnostics;
    EXPECT_EQ(level, diagnostics.level) << values;
    EXPECT_NE(INVALID_HANDLE_VALUE, diagnostics.mutex.Get());
  }
  Memory().faults.Start(1, true);
  const Diagnostics withoutMemory;
  Memory().faults.Stop();
  const EnvironmentVariable nowhere("XDG_RUNTIME_DIR", "/proc/none");
  const Diagnostics withoutFolder;
  EXPECT_EQ(INVALID_HANDLE_VALUE, withoutMemory.mutex.Get());
  EXPECT_EQ(INVALID_HANDLE_VALUE, withoutFolder.mutex.Get());
}

TEST(ServerClasses, MakePlainAndAggregatedObjects) {
  ComPtr<IClassFactory> factory;
  EXPECT_EQ(E_POINTER, DllGetClassObject(CLSID_ZSCueSheet, IID_IClassFactory, nullptr));
  EXPECT_EQ(CLASS_E_CLASSNOTAVAILABLE, DllGetClassObject(GUID{}, IID_IClassFactory, factory.ReceiveVoid()));
  EXPECT_EQ(E_NOINTERFACE, DllGetClassObject(CLSID_ZSCueSheet, IID_IStream, factory.ReceiveVoid()));
  ASSERT_EQ(S_OK, DllGetClassObject(CLSID_ZSCueSheet, IID_IClassFactory, factory.ReceiveVoid()));
  EXPECT_EQ(E_POINTER, factory->QueryInterface(IID_IUnknown, nullptr));
  EXPECT_EQ(E_POINTER, factory->CreateInstance(nullptr, IID_IUnknown, nullptr));
  ComPtr<IUnknown> same;
  ASSERT_EQ(S_OK, DllGetClassObject(CLSID_ZSCueSheet, IID_IUnknown, same.ReceiveVoid()));
  EXPECT_EQ(factory.Get(), same.Get());

  same.Reset();
  EXPECT_EQ(S_FALSE, DllCanUnloadNow()) << "with a factory in use";
  factory->LockServer(1);
  EXPECT_EQ(2, Module().LockCount());
  factory->Release();
  EXPECT_EQ(S_FALSE, DllCanUnloadNow()) << "while it is locked";
  factory->LockServer(0);
  EXPECT_EQ(S_OK, DllCanUnloadNow());
  factory->AddRef();

  ComPtr<IUnknown> outer; // An object that takes another one in.
  ComPtr<IUnknown> inner;
  ASSERT_EQ(S_OK, factory->CreateInstance(nullptr, IID_IUnknown, outer.ReceiveVoid()));
  void* object = &outer;
  EXPECT_EQ(CLASS_E_NOAGGREGATION, factory->CreateInstance(outer.Get(), IID_IZSCueSheet, &object));
  EXPECT_EQ(nullptr, object);
  ASSERT_EQ(S_OK, factory->CreateInstance(outer.Get(), IID_IUnknown, inner.ReceiveVoid()));
  factory.Reset();
  {
    ComPtr<IZSCueSheet> sheets; // Its identity and its references are those of the outer object.
    ASSERT_EQ(S_OK, inner->QueryInterface(IID_IZSCueSheet, sheets.ReceiveVoid()));
    EXPECT_EQ(3U, outer->AddRef());
    EXPECT_EQ(2U, outer->Release());
    EXPECT_EQ(S_OK, sheets->QueryInterface(IID_IUnknown, same.ReceiveVoid()));
    EXPECT_EQ(outer.Get(), same.Get());
    EXPECT_EQ(E_NOINTERFACE, inner->QueryInterface(IID_IMarshal, &object));
    same.Reset();
  }
  EXPECT_EQ(2, Module().LockCount());
  inner.Reset();
  EXPECT_EQ(0U, outer.Detach()->Release()) << "nothing else holds it";
  EXPECT_EQ(S_OK, DllCanUnloadNow());
}

TEST(Threads, CreateObjectsWhileLibrariesAreLoadedAndFreed) {
  const TemporaryFolder folder;
  const EnvironmentVariable path("IMAGEFILE_REGISTRY", folder.Path("registry.reg"));
  EXPECT_EQ("DllRegisterServer 0x00000000\nthreads done\nfree gone\nDllCanUnloadNow 0x00000000\n",
            Host(folder, "call $LIBRARY DllRegisterServer threads free call $LIBRARY DllCanUnloadNow"));
}

} // namespace
