// The binary contract. Programs are built against it and libraries replaced under them: a test that fails here shows a
// change that breaks them. Places of fields are asserted where the records stand, in disc/records.h.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <set>

#include "cuesheet/cue_sheet_interface.h"
#include "disc/record_descriptions.h"
#include "imagefile/image_file_interface.h"
#include "imagefile/server/registration.h"

namespace {

/// Place of a virtual operation in its table: the ABI keeps one more than its offset in the pointer.
template <class Operation> std::size_t SlotOf(Operation operation) {
  std::size_t place = 0;
  std::memcpy(&place, &operation, sizeof(place));
  return (place - 1) / sizeof(void*);
}

TEST(Abi, SlotsOfInterfaces) {
  struct Slot {
    const char* name;
    std::size_t expected;
    std::size_t found;
  };
#define SLOT(number, interface, operation)                                                                             \
  { #interface "::" #operation, number, SlotOf(&interface::operation) }
  const Slot slots[] = {SLOT(0, IUnknown, QueryInterface),
                        SLOT(1, IUnknown, AddRef),
                        SLOT(2, IUnknown, Release),
                        SLOT(3, IClassFactory, CreateInstance),
                        SLOT(4, IClassFactory, LockServer),
                        SLOT(3, IStream, Read),
                        SLOT(4, IStream, Write),
                        SLOT(5, IStream, Seek),
                        SLOT(6, IStream, SetSize),
                        SLOT(7, IStream, CopyTo),
                        SLOT(8, IStream, Commit),
                        SLOT(9, IStream, Revert),
                        SLOT(10, IStream, LockRegion),
                        SLOT(11, IStream, UnlockRegion),
                        SLOT(12, IStream, Stat),
                        SLOT(13, IStream, Clone),
                        SLOT(3, IZSImageFile, SetCallBack),
                        SLOT(4, IZSImageFile, GetImageFileInfo),
                        SLOT(5, IZSImageFile, CreateTOCFile),
                        SLOT(6, IZSImageFile, Open),
                        SLOT(7, IZSImageFile, Clone),
                        SLOT(8, IZSImageFile, FreeImageFileInfo),
                        SLOT(9, IZSImageFile, CalculateDiscID),
                        SLOT(10, IZSImageFile, GetPositionFromLBA),
                        SLOT(3, IZSCueSheet, CreateCueFile),
                        SLOT(4, IZSCueSheet, AnalyzeCueSheet),
                        SLOT(5, IZSCueSheet, AnalyzeCDText),
                        SLOT(6, IZSCueSheet, AnalyzeCDTextFromData),
                        SLOT(7, IZSCueSheet, GetBinaryFile),
                        SLOT(8, IZSCueSheet, PrepareTracks),
                        SLOT(9, IZSCueSheet, ExtractTrackToStream),
                        SLOT(10, IZSCueSheet, ExtractStreamToFile),
                        SLOT(11, IZSCueSheet, MergeTracks),
                        SLOT(12, IZSCueSheet, AllocCueSheet),
                        SLOT(13, IZSCueSheet, EncodeCDText),
                        SLOT(14, IZSCueSheet, Clone),
                        SLOT(15, IZSCueSheet, CloneCDText),
                        SLOT(16, IZSCueSheet, CopyCDText),
                        SLOT(17, IZSCueSheet, FreeZSCueSheet),
                        SLOT(18, IZSCueSheet, FreeZSCDText),
                        SLOT(19, IZSCueSheet, Dummy)};
#undef SLOT
  for (const Slot& slot : slots) {
    EXPECT_EQ(slot.expected, slot.found) << slot.name;
  }
}

TEST(Abi, SizesOfRecords) {
  constexpr std::size_t kWider = sizeof(void*) - 4; // Pointers have the machine's width.
  struct Size {
    const char* name;
    std::size_t expected;
    std::size_t found;
  };
  const Size sizes[] = {{"zsimagefileinfo", 448 + 100 * kWider, sizeof(zsimagefileinfo)},
                        {"ZSCUESHEET", 50 + 9 * kWider, sizeof(ZSCUESHEET)},
                        {"ZSTRACK", 97 + 9 * kWider, sizeof(ZSTRACK)},
                        {"ZSCDTEXT", 38 + 8 * kWider, sizeof(ZSCDTEXT)},
                        {"ZSFILESTRUCT", 40 + 2 * kWider, sizeof(ZSFILESTRUCT)},
                        {"ZSXA", 4, sizeof(ZSXA)},
                        {"ZSSTREAMPROGRESS", 52 + 2 * kWider, sizeof(ZSSTREAMPROGRESS)},
                        {"zsmmcreadtoc0", 12, sizeof(zsmmcreadtoc0)},
                        {"zsmmccdtext", 22 + kWider, sizeof(zsmmccdtext)},
                        {"VARIANT", 16, sizeof(VARIANT)},
                        {"GUID", 16, sizeof(GUID)},
                        {"HRESULT", 4, sizeof(HRESULT)},
                        {"ZSTYPEPROJECT", 4, sizeof(ZSTYPEPROJECT)},
                        {"zscdtextlang", 4, sizeof(zscdtextlang)}};
  for (const Size& size : sizes) {
    EXPECT_EQ(size.expected, size.found) << size.name;
  }
}

TEST(Abi, Identifiers) {
  struct Identifier {
    GUID guid;
    const char* text;
  };
  const Identifier identifiers[] = {{CLSID_ZSImageFile, "{AE7CB71D-5121-409C-AEA7-4A9EACB3C354}"},
                                    {CLSID_ZSCueSheet, "{CD37B6EB-D22C-4F42-8C01-89B078739430}"},
                                    {IID_IZSImageFile, "{AECC35E5-5E47-4670-9F6A-C48BC23B25AB}"},
                                    {IID_IZSCueSheet, "{315DBEA3-A2E9-40C5-8930-1C842A2C8835}"},
                                    {kComponentTypeLibrary, "{473D376B-F22A-4B8D-AD03-C6882F715D4B}"},
                                    {kSharedTypeLibrary, "{B85DA793-2DE6-49AC-844D-52512C140A0A}"},
                                    {kRecordCueSheet, "{350D667D-3F16-4510-A827-86E8CE60D721}"},
                                    {kRecordTrack, "{EB3BB8C9-498C-4BC1-9FBA-FC9AC4454FEE}"},
                                    {kRecordCDText, "{A1EB7368-3C55-43F5-A94A-C68D0EE8800B}"},
                                    {kRecordFile, "{55A2E1C8-DA06-4509-8217-ACC8664DD9D4}"},
                                    {kRecordXA, "{55A2E1C9-DA06-4509-8217-ACC8664DD9D4}"},
                                    {IID_IUnknown, "{00000000-0000-0000-C000-000000000046}"},
                                    {IID_IClassFactory, "{00000001-0000-0000-C000-000000000046}"},
                                    {IID_IStream, "{0000000C-0000-0000-C000-000000000046}"}};
  for (const Identifier& identifier : identifiers) {
    EXPECT_EQ(identifier.text, StringFromGUID(identifier.guid));
  }
}

TEST(Abi, ExportedSymbols) {
  FILE* symbols = popen("nm -D --defined-only --format=posix " COMPONENT_LIBRARY, "r");
  ASSERT_NE(nullptr, symbols);
  std::set<std::string> names;
  char line[4096];
  while (std::fgets(line, sizeof(line), symbols) != nullptr) {
    names.insert(std::string(line, std::strcspn(line, " ")));
  }
  ASSERT_EQ(0, pclose(symbols));
  EXPECT_EQ((std::set<std::string>{"DllCanUnloadNow", "DllGetClassObject", "DllRegisterServer", "DllUnregisterServer"}),
            names);
}

} // namespace
