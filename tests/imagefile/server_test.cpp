#include <regex>

#include "foundation/module.h"
#include "imagefile/server/diagnostics.h"
#include "imagefile/server/exports.h"
#include "imagefile/server/registration.h"
#include "platform/registry.h"
#include "tools/tool_run.h"

namespace {

/// Runs steps in component_host. In the steps, $LIBRARY is the path of the component.
std::string RunHost(const TemporaryFolder& folder, const std::string& steps) {
  const ToolResult result =
      RunShellIn(folder, "LIBRARY='" COMPONENT_LIBRARY "' && exec " ZSIMAGE_EMULATOR " '" COMPONENT_HOST "' " + steps);
  EXPECT_EQ(0, result.status) << result.err;
  return result.out;
}

class Server : public testing::Test {
protected:
  void WriteRegistry(const std::string& keys) const { folder.Write("registry.reg", "ImageFile Registry 1\n" + keys); }

  /// Returns the registry with one line for each key. Names below HKEY_CLASSES_ROOT lack that root.
  std::string Registry() const {
    const std::string text = std::regex_replace(folder.Read("registry.reg"), std::regex(R"(HKEY_CLASSES_ROOT\\)"), "");
    return std::regex_replace(std::regex_replace(text, std::regex("\n(?![\n[])"), " "), std::regex("\n+"), "\n");
  }

  const TemporaryFolder folder;
  const EnvironmentVariable path{"IMAGEFILE_REGISTRY", folder.Path("registry.reg")};
  const EnvironmentVariable runtime{"XDG_RUNTIME_DIR", folder.Path("")};
};

/// The keys of a class. In these texts, NAME and GUID are those of the class, and LIBRARY and FOLDER of the component.
constexpr const char* kClass = R"([CLSID\GUID] @="Zentora Scribe NAME Class"
[CLSID\GUID\InprocServer32] @="LIBRARY" "ThreadingModel"="Apartment"
[CLSID\GUID\ProgID] @="ZSImageFile.ZSNAME.1"
[CLSID\GUID\Programmable]
[CLSID\GUID\TypeLib] @="{473D376B-F22A-4B8D-AD03-C6882F715D4B}"
[CLSID\GUID\VersionIndependentProgID] @="ZSImageFile.ZSNAME"
)";
/// The keys of a type library of the component.
constexpr const char* kLibrary = R"([TypeLib\GUID]
[TypeLib\GUID\1.0] @="NAME"
[TypeLib\GUID\1.0\0]
[TypeLib\GUID\1.0\0\PLATFORM] @="LIBRARY\\NUMBER"
[TypeLib\GUID\1.0\FLAGS] @="0"
[TypeLib\GUID\1.0\HELPDIR] @="FOLDER"
)";
/// The keys of the names of a class.
constexpr const char* kNames = R"([ZSImageFile.ZSNAME] @="Zentora Scribe NAME Class"
[ZSImageFile.ZSNAME\CLSID] @="GUID"
[ZSImageFile.ZSNAME\CurVer] @="ZSImageFile.ZSNAME.1"
[ZSImageFile.ZSNAME.1] @="Zentora Scribe NAME Class"
[ZSImageFile.ZSNAME.1\CLSID] @="GUID"
)";

std::string Keys(const char* keys, const char* name, const char* guid, const char* number = "") {
  const std::filesystem::path library = COMPONENT_LIBRARY;
  std::string text = keys;
  for (const auto& [word, value] : {std::pair("NAME", std::string(name)),
                                    {"GUID", guid},
                                    {"NUMBER", number},
                                    {"LIBRARY", library.string()},
                                    {"FOLDER", library.parent_path().string()},
                                    {"PLATFORM", sizeof(void*) == 8 ? "posix64" : "posix32"}}) {
    text = std::regex_replace(text, std::regex(word), value);
  }
  return text;
}

/// Returns the registry of the test below with the component registered.
std::string Registered() {
  constexpr const char* kImageFile = "{AE7CB71D-5121-409C-AEA7-4A9EACB3C354}";
  constexpr const char* kCueSheet = "{CD37B6EB-D22C-4F42-8C01-89B078739430}";
  return "ImageFile Registry 1\n[HKEY_CLASSES_ROOT]\n[CLSID]\n"
         "[CLSID\\{00000000-0000-0000-0000-000000000001}] @=\"Another class\"\n" +
         Keys(kClass, "ImageFile", kImageFile) + Keys(kClass, "CueSheet", kCueSheet) + "[TypeLib]\n" +
         Keys(kLibrary, "Zentora ImageFile", "{473D376B-F22A-4B8D-AD03-C6882F715D4B}", "1") +
         Keys(kLibrary, "zs.tlb", "{B85DA793-2DE6-49AC-844D-52512C140A0A}", "2") + Keys(kNames, "CueSheet", kCueSheet) +
         Keys(kNames, "ImageFile", kImageFile) + "[HKEY_CURRENT_USER] \"Mine\"=dword:00000001 ";
}

TEST_F(Server, OtherProcessesFindItWhileRegistered) {
  const std::string steps = "create ZSImageFile.ZSImageFile create zsimagefile.zscuesheet "
                            "create ZSImageFile.ZSCueSheet.1 create {AE7CB71D-5121-409C-AEA7-4A9EACB3C354}";
  const std::string unknown = "create 0x800401F3\ncreate 0x800401F3\ncreate 0x800401F3\ncreate 0x80040154\n";
  WriteRegistry("[HKEY_CLASSES_ROOT]\n[HKEY_CLASSES_ROOT\\CLSID]\n"
                "[HKEY_CLASSES_ROOT\\CLSID\\{00000000-0000-0000-0000-000000000001}]\n@=\"Another class\"\n"
                "[HKEY_CLASSES_ROOT\\TypeLib]\n[HKEY_CURRENT_USER]\n\"Mine\"=dword:00000001\n");
  const std::string before = Registry();
  EXPECT_EQ(unknown, RunHost(folder, steps));
  EXPECT_EQ("DllRegisterServer 0x00000000\n", RunHost(folder, "call $LIBRARY DllRegisterServer"));
  EXPECT_EQ("create 0x00000000\ncreate 0x00000000\ncreate 0x00000000\ncreate 0x00000000\n", RunHost(folder, steps));

  EXPECT_EQ(Registered(), Registry());
  // A second call changes nothing, also if the library was loaded by a relative path.
  std::filesystem::create_directory_symlink(std::filesystem::path(COMPONENT_LIBRARY).parent_path(), folder.Path("lib"));
  EXPECT_EQ("DllRegisterServer 0x00000000\n", RunHost(folder, "call ./lib/${LIBRARY##*/} DllRegisterServer"));
  EXPECT_EQ(Registered(), Registry());
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ("DllUnregisterServer 0x00000000\n", RunHost(folder, "call $LIBRARY DllUnregisterServer"));
    EXPECT_EQ(before, Registry());
  }
  EXPECT_EQ(unknown, RunHost(folder, steps));
}

TEST_F(Server, RecordsOutliveTheLibrary) {
  folder.WriteSparse("disc.iso", 20 * 2048);
  EXPECT_EQ("DllRegisterServer 0x00000000\nread 0x00000000\nprepare 0x00000000\nfree loaded\nfree gone\n"
            "again 0x00000000\nempty 0x00000000\n",
            RunHost(folder, "call $LIBRARY DllRegisterServer read disc.iso"));
  ComPtr<ITypeLib> own;
  EXPECT_EQ(S_OK, LoadRegTypeLib(kComponentTypeLibrary, 1, 0, 0, own.Receive())) << "known without the registry";
  EXPECT_EQ(TYPE_E_LIBNOTREGISTERED, LoadRegTypeLib(kComponentTypeLibrary, 1, 1, 0, own.Receive()));
}

TEST_F(Server, CreationReportsWhyTheLibraryFails) {
  const std::string component = COMPONENT_LIBRARY;
  const std::string libraries = component.substr(0, component.rfind('/'));
  const std::tuple<std::string, const char*> kCases[] = {
      {folder.Path("missing.so"), "create 0x800401F8\n"},
      {"libm.so.6", "create 0x800401F8\n"}, // Not searched for in the folders of the system.
      {folder.Path("registry.reg"), "create 0x800401F8\n"},
      {libraries + "/libImageFilePlatform.so", "create 0x800401F9\n"},
      {component, "create 0x80040111\n"},
      {"\" damaged", "create 0x80040150\n"}};
  for (const auto& [library, answer] : kCases) {
    WriteRegistry("[HKEY_CLASSES_ROOT\\A\\CLSID]\n@=\"{00000000-0000-0000-0000-000000000001}\"\n"
                  "[HKEY_CLASSES_ROOT\\CLSID\\{00000000-0000-0000-0000-000000000001}\\InprocServer32]\n@=\"" +
                  library + "\"\n");
    EXPECT_EQ(answer, RunHost(folder, "create A")) << library;
  }
}

TEST_F(Server, RegistrationStopsAtTheStepThatFails) {
  const char* kSteps[] = {"TypeLib\\{B85DA793-2DE6-49AC-844D-52512C140A0A}", "ZSImageFile.ZSImageFile",
                          "ZSImageFile.ZSCueSheet", "TypeLib\\{473D376B-F22A-4B8D-AD03-C6882F715D4B}"};
  std::set<std::string> seen; // For each step whether its keys are there.
  for (long point = 0; seen.count("++++") == 0 && point < 1000; ++point) {
    WriteRegistry("");
    FaultyFiles files([] { return EACCES; });
    files.points.Start(std::max(1L, point), point != 0);
    const HRESULT result = DllRegisterServer();
    files.points.Stop();
    // If only the first call fails, so does the shared type library, whose failure is ignored.
    EXPECT_EQ(point == 0 ? S_OK : HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED), result) << point;
    std::string keys;
    for (const char* key : kSteps) {
      keys += Registry().find('[' + std::string(key) + ']') == std::string::npos ? '-' : '+';
    }
    seen.insert(keys);
  }
  EXPECT_EQ((std::set<std::string>{"-+++", "----", "+---", "++--", "+++-", "++++"}), seen);
}

TEST_F(Server, UnregistrationKeepsKeysOfOthers) {
  WriteRegistry("[HKEY_CLASSES_ROOT\\ZSImageFile.ZSCueSheet\\CurVer\\Other]\n"
                "[HKEY_CLASSES_ROOT\\ZSImageFile.ZSImageFile\\Other]\n"
                "[HKEY_CLASSES_ROOT\\TypeLib\\{473D376B-F22A-4B8D-AD03-C6882F715D4B}\\2.0]\n"
                "[HKEY_CLASSES_ROOT\\CLSID\\{CD37B6EB-D22C-4F42-8C01-89B078739430}\\Old]\n");
  EXPECT_EQ(S_OK, DllRegisterServer());
  EXPECT_EQ(std::string::npos, Registry().find("\\Old]")) << "registration empties the key of a class";
  EXPECT_EQ(S_OK, DllUnregisterServer());
  EXPECT_EQ(R"(ImageFile Registry 1
[HKEY_CLASSES_ROOT]
[CLSID]
[TypeLib]
[TypeLib\{473D376B-F22A-4B8D-AD03-C6882F715D4B}]
[TypeLib\{473D376B-F22A-4B8D-AD03-C6882F715D4B}\2.0]
[ZSImageFile.ZSCueSheet] @="Zentora Scribe CueSheet Class"
[ZSImageFile.ZSCueSheet\CurVer] @="ZSImageFile.ZSCueSheet.1"
[ZSImageFile.ZSCueSheet\CurVer\Other]
[ZSImageFile.ZSImageFile] @="Zentora Scribe ImageFile Class"
[ZSImageFile.ZSImageFile\Other]
[HKEY_CURRENT_USER] )",
            Registry());
}

TEST_F(Server, DiagnosticsReadsLevelAndCreatesMutex) {
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

TEST(ClassFactory, CreatesPlainAndAggregatedObjects) {
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
  EXPECT_EQ(S_FALSE, DllCanUnloadNow()) << "while a factory is in use";
  factory->LockServer(1);
  EXPECT_EQ(2, Module().LockCount());
  factory->Release();
  EXPECT_EQ(S_FALSE, DllCanUnloadNow()) << "while locked";
  factory->LockServer(0);
  EXPECT_EQ(S_OK, DllCanUnloadNow());
  factory->AddRef();

  ComPtr<IUnknown> outer; // Aggregates `inner`.
  ComPtr<IUnknown> inner;
  ASSERT_EQ(S_OK, factory->CreateInstance(nullptr, IID_IUnknown, outer.ReceiveVoid()));
  void* object = &outer;
  EXPECT_EQ(CLASS_E_NOAGGREGATION, factory->CreateInstance(outer.Get(), IID_IZSCueSheet, &object));
  EXPECT_EQ(nullptr, object);
  ASSERT_EQ(S_OK, factory->CreateInstance(outer.Get(), IID_IUnknown, inner.ReceiveVoid()));
  factory.Reset();
  {
    ComPtr<IZSCueSheet> sheets; // Has the identity and the references of the outer object.
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
  EXPECT_EQ(0U, outer.Detach()->Release()) << "no other references";
  EXPECT_EQ(S_OK, DllCanUnloadNow());
}

TEST(Threads, ObjectsAreCreatedWhileLibrariesAreFreed) {
  const TemporaryFolder folder;
  const EnvironmentVariable path("IMAGEFILE_REGISTRY", folder.Path("registry.reg"));
  EXPECT_EQ("DllRegisterServer 0x00000000\nthreads done\nfree gone\nDllCanUnloadNow 0x00000000\n",
            RunHost(folder, "call $LIBRARY DllRegisterServer threads free call $LIBRARY DllCanUnloadNow"));
}

} // namespace
