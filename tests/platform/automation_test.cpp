#include "disc/record_descriptions.h"
#include "platform/bstr.h"
#include "platform/class_objects.h"
#include "platform/guard.h"
#include "platform/variant.h"
#include "support/test.h"

namespace {

TEST(Bstr, StoresLengthAndFinalZero) {
  const std::tuple<UniqueBstr, UINT, std::u16string_view> kCases[] = {
      {UniqueBstr(SysAllocString(u"abc")), 6, u"abc"},
      {UniqueBstr(SysAllocStringLen(nullptr, 2)), 4, std::u16string_view(u"\0\0", 2)},
      {UniqueBstr(SysAllocStringByteLen("\1\0\3", 3)), 3, u"\1"}};
  for (const auto& [text, bytes, units] : kCases) {
    EXPECT_EQ(bytes, SysStringByteLen(text.get()));
    EXPECT_EQ(units, BstrView(text.get()));
    EXPECT_EQ(0, std::memcmp(reinterpret_cast<const BYTE*>(text.get()) + bytes, "\0", 2));
  }
  EXPECT_EQ(0U, SysStringLen(nullptr));
  EXPECT_EQ(nullptr, SysAllocString(nullptr));
  EXPECT_EQ(nullptr, SysAllocStringLen(nullptr, 0x80000000U)) << "the length in bytes has more than 32 bits";
  SysFreeString(nullptr);
}

TEST(SafeArray, CopiesDeeplyAndFreesElements) {
  const SAFEARRAYBOUND bounds[] = {{0, 0}, {1, 0}, {2, 0}, {3, 0}};
  const UniqueSafeArray array(SafeArrayCreateEx(VT_RECORD, 1, &bounds[2], Description(kRecordFile).Get()));
  {
    const SafeArrayAccess access(array.get());
    auto* pieces = access.Elements<ZSFILESTRUCT>();
    pieces[0].bstrFileName = SysAllocString(u"one");
    pieces[1].bstrFileName = SysAllocString(u"");
    pieces[1].bstrLogicalPath = SysAllocString(u"two");
    pieces[1].dwEndLBA = 7;
    EXPECT_EQ(DISP_E_ARRAYISLOCKED, SafeArrayDestroy(array.get()));
    EXPECT_EQ(DISP_E_ARRAYISLOCKED, SafeArrayRedim(array.get(), &bounds[3]));
    VARIANT value{};
    value.vt = VT_ARRAY | VT_RECORD;
    value.parray = array.get();
    const VARIANT empty{};
    EXPECT_EQ(DISP_E_ARRAYISLOCKED, VariantCopy(&value, &empty));
  }
  EXPECT_EQ(E_UNEXPECTED, SafeArrayUnaccessData(array.get()));
  SAFEARRAY* copied = nullptr;
  ASSERT_EQ(S_OK, SafeArrayCopy(array.get(), &copied));
  const UniqueSafeArray copy(copied);
  EXPECT_EQ(S_OK, SafeArrayRedim(array.get(), &bounds[1])); // Frees the second element of the original.
  EXPECT_EQ(S_OK, SafeArrayRedim(copy.get(), &bounds[3]));
  copy->fFeatures |= FADF_FIXEDSIZE;
  EXPECT_EQ(E_INVALIDARG, SafeArrayRedim(copy.get(), &bounds[0]));
  const SafeArrayAccess access(copy.get());
  const auto* pieces = access.Elements<ZSFILESTRUCT>();
  EXPECT_EQ("one", Narrow(pieces[0].bstrFileName));
  EXPECT_EQ("two", Narrow(pieces[1].bstrLogicalPath));
  EXPECT_EQ(7U, ULONG{pieces[1].dwEndLBA});
  EXPECT_TRUE(pieces[2].bstrFileName == nullptr && pieces[2].dwEndLBA == 0) << "new elements are cleared";
}

TEST(SafeArray, ReturnsTheDescriptionOfItsRecords) {
  const SAFEARRAYBOUND bound{0, 0};
  const UniqueSafeArray array(SafeArrayCreateEx(VT_RECORD, 1, &bound, Description(kRecordTrack).Get()));
  ComPtr<IRecordInfo> info;
  ASSERT_EQ(S_OK, SafeArrayGetRecordInfo(array.get(), info.Receive()));
  GUID guid{};
  BSTR name = nullptr;
  ULONG size = 0;
  EXPECT_TRUE(info->GetGuid(&guid) == S_OK && info->GetName(&name) == S_OK && info->GetSize(&size) == S_OK);
  EXPECT_EQ(kRecordTrack, guid);
  EXPECT_EQ("ZSTRACK", Narrow(UniqueBstr(name).get()));
  EXPECT_EQ(sizeof(ZSTRACK), size);
  EXPECT_EQ(size, array->cbElements);
  ZSTRACK source{};
  ZSTRACK copy{};
  source.nCountIndex = 7;
  EXPECT_EQ(S_OK, info->RecordCopy(&source, &copy));
  EXPECT_EQ(0, copy.nCountIndex) << "the count of a table that is null";
  ComPtr<IUnknown> object;
  EXPECT_EQ(S_OK, info->QueryInterface(IID_IRecordInfo, object.ReceiveVoid()));
  EXPECT_EQ(info.Get(), object.Get());
  EXPECT_EQ(E_NOINTERFACE, info->QueryInterface(IID_ITypeInfo, object.ReceiveVoid()));
  EXPECT_EQ(nullptr, SafeArrayCreateEx(VT_I4, 1, &bound, info.Get()));
  EXPECT_EQ(nullptr, SafeArrayCreateEx(VT_RECORD, 2, &bound, info.Get()));
}

TEST(TypeLibraries, FindTypesAndReportOutOfMemory) {
  ComPtr<ITypeLib> library;
  ComPtr<ITypeInfo> type;
  ComPtr<IRecordInfo> info;
  EXPECT_EQ(TYPE_E_LIBNOTREGISTERED, LoadRegTypeLib(kSharedTypeLibrary, 1, 1, 0, library.Receive()));
  ASSERT_EQ(S_OK, LoadRegTypeLib(kSharedTypeLibrary, 1, 0, 0, library.Receive()));
  EXPECT_EQ(TYPE_E_ELEMENTNOTFOUND, library->GetTypeInfoOfGuid(IID_IUnknown, type.Receive()));
  ASSERT_EQ(S_OK, library->GetTypeInfoOfGuid(kRecordTrack, type.Receive()));
  ASSERT_EQ(S_OK, GetRecordInfoFromTypeInfo(type.Get(), info.Receive()));
  BSTR name = nullptr;
  CLSID clsid{};
  Memory().faults.Start(1, true);
  const HRESULT results[] = {info->GetName(&name), GetRecordInfoFromTypeInfo(type.Get(), info.Receive()),
                             library->GetTypeInfoOfGuid(kRecordTrack, type.Receive()),
                             LoadRegTypeLib(kSharedTypeLibrary, 1, 0, 0, library.Receive()),
                             CLSIDFromProgID(u"A name that is longer than a string holds in itself", &clsid)};
  Memory().faults.Stop();
  for (const HRESULT& result : results) {
    EXPECT_EQ(E_OUTOFMEMORY, result) << "number " << &result - results;
  }
}

TEST(Variant, CopiesAreIndependentAndUnknownTypesFail) {
  VARIANT value{};
  value.vt = VT_BSTR;
  value.bstrVal = SysAllocString(u"value");
  VARIANT copy{};
  EXPECT_EQ(S_OK, VariantCopy(&copy, &value));
  EXPECT_EQ(S_OK, VariantCopy(&copy, &copy));
  EXPECT_EQ(S_OK, VariantClear(&value));
  EXPECT_EQ(VT_EMPTY, VARTYPE{value.vt});
  EXPECT_EQ("value", Narrow(copy.bstrVal));
  value.vt = VT_UNKNOWN;
  value.punkVal = NewCueSheetService().Detach();
  EXPECT_EQ(S_OK, VariantCopy(&copy, &value)) << "frees the string";
  EXPECT_EQ(S_OK, VariantClear(&value));
  for (const VARTYPE type : std::initializer_list<VARTYPE>{9, 12, 14, 15, 24, 36, 999}) {
    value.vt = type;
    EXPECT_EQ(DISP_E_BADVARTYPE, VariantClear(&value)) << type;
    EXPECT_EQ(DISP_E_BADVARTYPE, VariantCopy(&copy, &value)) << type;
    EXPECT_EQ(VT_EMPTY, VARTYPE{copy.vt});
  }
  for (const VARTYPE type : std::initializer_list<VARTYPE>{0, 1, 2, 3, 4, 5, 6, 7, 10, 11, 16, 17, 18, 19, 20, 21, 22,
                                                           23, VT_BYREF | VT_ARRAY}) {
    value.vt = type;
    value.ullVal = 0x123456789ABCDEF0; // Not owned, also if it is a pointer.
    EXPECT_EQ(S_OK, VariantCopy(&copy, &value)) << type;
    EXPECT_EQ(0x123456789ABCDEF0U, UHYPER{copy.ullVal});
  }
  EXPECT_EQ(S_OK, VariantClear(&copy));
}

TEST(TaskMemory, AllocatesAndFreesBlocksOfAnySize) {
  void* block = CoTaskMemRealloc(nullptr, 0);
  EXPECT_NE(nullptr, block);
  EXPECT_EQ(nullptr, CoTaskMemRealloc(block, 0)) << "frees the block";
  EXPECT_EQ(nullptr, AllocateClearedBytes(SIZE_MAX / 8 + 2, 8)) << "a product that wraps";
}

TEST(ClassObjects, NamesMatchInAnyCase) {
  const std::pair<const char16_t*, CLSID> kCases[] = {{u"zsimagefile.ZSCUESHEET", CLSID_ZSCueSheet},
                                                      {u"ZSImageFile.ZSCueSheet.1", CLSID_ZSCueSheet},
                                                      {u"ZSImageFile.ZSImageFile.1", CLSID_ZSImageFile},
                                                      {u"ZSImageFile.ZSCueSheez", CLSID{}},
                                                      {u"ZSImageFile.ZSCueSheet.2", CLSID{}},
                                                      {u"", CLSID{}},
                                                      {u"a\\b", CLSID{}}};
  CLSID clsid{};
  for (const auto& [name, expected] : kCases) {
    EXPECT_EQ(expected == CLSID{} ? CO_E_CLASSSTRING : S_OK, CLSIDFromProgID(name, &clsid));
    EXPECT_EQ(expected, clsid);
  }
  ComPtr<IUnknown> object;
  EXPECT_EQ(REGDB_E_CLASSNOTREG,
            CoCreateInstance(CLSID_ZSCueSheet, nullptr, CLSCTX_ALL - 1, IID_IUnknown, object.ReceiveVoid()));
  EXPECT_FALSE(object) << "in another process";
}

TEST(Interfaces, FailForNullArgumentsAndExceptions) {
  const ComPtr<IRecordInfo> info = Description(kRecordFile);
  EXPECT_EQ(E_POINTER, info->QueryInterface(IID_IUnknown, nullptr));
  EXPECT_EQ(E_POINTER, NewImageFileService()->QueryInterface(IID_IUnknown, nullptr));
  EXPECT_EQ(E_POINTER, CoCreateInstance(CLSID_ZSCueSheet, nullptr, CLSCTX_ALL, IID_IUnknown, nullptr));
  EXPECT_EQ(E_FAIL, Guarded([]() -> HRESULT { throw "unknown"; }));
  SAFEARRAY* array = nullptr;
  CLSID clsid{};
  ZSFILESTRUCT file{};
  ExpectAll(E_INVALIDARG, SafeArrayRedim(nullptr, nullptr), SafeArrayCopy(nullptr, &array),
            SafeArrayCopy(array, nullptr), SafeArrayAccess(nullptr).Result(), SafeArrayUnaccessData(nullptr),
            SafeArrayGetRecordInfo(nullptr, nullptr), info->RecordInit(nullptr), info->RecordClear(nullptr),
            info->RecordCopy(nullptr, &file), info->RecordCopy(&file, nullptr), info->GetGuid(nullptr),
            info->GetName(nullptr), info->GetSize(nullptr), LoadRegTypeLib(kSharedTypeLibrary, 1, 0, 0, nullptr),
            GetRecordInfoFromTypeInfo(nullptr, nullptr), CLSIDFromProgID(nullptr, &clsid),
            CLSIDFromProgID(u"A", nullptr));
}

TEST(Guid, ParsesAndFormatsText) {
  GUID parsed{};
  EXPECT_TRUE(GUIDFromString("{cd37b6eb-D22C-4F42-8C01-89B078739430}", &parsed));
  EXPECT_EQ("{CD37B6EB-D22C-4F42-8C01-89B078739430}", StringFromGUID(parsed));
  EXPECT_EQ(CLSID_ZSCueSheet, parsed);
  for (const char* text : {"{CD37B6EB-D22C-4F42-8C01-89B07873943}", "(CD37B6EB-D22C-4F42-8C01-89B078739430}",
                           "{CD37B6EBxD22C-4F42-8C01-89B078739430}", "{CD37B6EB-D22C-4F42-8C01-89B07873943g}"}) {
    EXPECT_FALSE(GUIDFromString(text, &parsed)) << text;
  }
}

} // namespace
