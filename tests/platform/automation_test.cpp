// Strings, values, arrays and objects as they cross the interfaces.
#include <gtest/gtest.h>

#include "disc/record_descriptions.h"
#include "platform/bstr.h"
#include "platform/class_objects.h"
#include "platform/variant.h"
#include "support/services.h"

namespace {

ComPtr<IRecordInfo> Description(REFGUID record) {
  ComPtr<ITypeLib> library;
  ComPtr<ITypeInfo> type;
  ComPtr<IRecordInfo> info;
  EXPECT_EQ(S_OK, LoadRegTypeLib(kSharedTypeLibrary, 1, 0, 0, library.Receive()));
  EXPECT_EQ(S_OK, library->GetTypeInfoOfGuid(record, type.Receive()));
  EXPECT_EQ(S_OK, GetRecordInfoFromTypeInfo(type.Get(), info.Receive()));
  return info;
}

UniqueSafeArray NewArray(REFGUID record, ULONG count) {
  const SAFEARRAYBOUND bound{count, 0};
  return UniqueSafeArray(SafeArrayCreateEx(VT_RECORD, 1, &bound, Description(record).Get()));
}

TEST(Bstr, CarriesLengthAndEnd) {
  const UniqueBstr text(SysAllocString(u"abc"));
  EXPECT_EQ(3U, SysStringLen(text.get()));
  EXPECT_EQ(6U, SysStringByteLen(text.get()));
  EXPECT_EQ(u'\0', text.get()[3]);
  const UniqueBstr odd(SysAllocStringByteLen("\1\2\3", 3));
  EXPECT_EQ(3U, SysStringByteLen(odd.get()));
  EXPECT_EQ(1U, SysStringLen(odd.get()));
  EXPECT_EQ(nullptr, SysAllocString(nullptr));
  EXPECT_EQ(0U, SysStringLen(nullptr));
  SysFreeString(nullptr);
  EXPECT_EQ(nullptr, SysAllocStringLen(nullptr, 0x80000000U)) << "its bytes do not fit the prefix";
}

TEST(SafeArray, CopiesDeeplyAndFreesWhatItsRecordsOwn) {
  const UniqueSafeArray array = NewArray(kRecordFile, 2);
  ASSERT_TRUE(array);
  {
    const SafeArrayAccess access(array.get());
    auto* pieces = access.Elements<ZSFILESTRUCT>();
    pieces[0].bstrFileName = SysAllocString(u"one");
    pieces[1].bstrLogicalPath = SysAllocString(u"two");
    pieces[1].dwEndLBA = 7;
    EXPECT_EQ(DISP_E_ARRAYISLOCKED, SafeArrayDestroy(array.get()));
    const SAFEARRAYBOUND more{3, 0};
    EXPECT_EQ(DISP_E_ARRAYISLOCKED, SafeArrayRedim(array.get(), &more));
  }
  SAFEARRAY* made = nullptr;
  ASSERT_EQ(S_OK, SafeArrayCopy(array.get(), &made));
  const UniqueSafeArray copy(made);
  const SAFEARRAYBOUND fewer{1, 0};
  EXPECT_EQ(S_OK, SafeArrayRedim(array.get(), &fewer)); // Frees the second piece of the first array alone.
  const SafeArrayAccess access(copy.get());
  const auto* pieces = access.Elements<ZSFILESTRUCT>();
  EXPECT_EQ("one", Narrow(pieces[0].bstrFileName));
  EXPECT_EQ("two", Narrow(pieces[1].bstrLogicalPath));
  EXPECT_EQ(7U, ULONG{pieces[1].dwEndLBA});
}

TEST(SafeArray, GrowsWithClearedElementsUnlessItsSizeIsFixed) {
  const UniqueSafeArray array = NewArray(kRecordTrack, 1);
  const SAFEARRAYBOUND more{3, 0};
  array->fFeatures |= FADF_FIXEDSIZE;
  EXPECT_EQ(E_INVALIDARG, SafeArrayRedim(array.get(), &more));
  array->fFeatures = FADF_RECORD;
  EXPECT_EQ(S_OK, SafeArrayRedim(array.get(), &more));
  const SafeArrayAccess access(array.get());
  EXPECT_TRUE(access.Elements<ZSTRACK>()[2].bstrTitle == nullptr);
  EXPECT_EQ(sizeof(ZSTRACK), array->cbElements);
}

TEST(Variant, CopiesAreIndependentAndUnknownTypesRefused) {
  VARIANT text{};
  text.vt = VT_BSTR;
  text.bstrVal = SysAllocString(u"value");
  VARIANT copy{};
  EXPECT_EQ(S_OK, VariantCopy(&copy, &text));
  EXPECT_TRUE(text.bstrVal != copy.bstrVal);
  EXPECT_EQ("value", Narrow(copy.bstrVal));
  EXPECT_EQ(S_OK, VariantClear(&text));
  EXPECT_EQ(VT_EMPTY, VARTYPE{text.vt});

  VARIANT object{};
  object.vt = VT_UNKNOWN;
  object.punkVal = NewCueSheetService().Detach();
  EXPECT_EQ(S_OK, VariantCopy(&copy, &object)) << "what the target held is freed first";
  EXPECT_EQ(S_OK, VariantClear(&object));
  EXPECT_EQ(S_OK, VariantClear(&copy));

  VARIANT strange{};
  strange.vt = 999;
  EXPECT_EQ(DISP_E_BADVARTYPE, VariantCopy(&copy, &strange));
  EXPECT_EQ(VT_EMPTY, VARTYPE{copy.vt});

  VARIANT reference{};
  reference.vt = VT_BYREF | VT_ARRAY; // The address of somebody else's array, which is no array itself.
  reference.ullVal = 0xFFFFFFF0;
  EXPECT_EQ(S_OK, VariantCopy(&copy, &reference));
  EXPECT_EQ(0xFFFFFFF0U, UHYPER{copy.ullVal});
  EXPECT_EQ(S_OK, VariantClear(&copy));
}

TEST(ClassObjects, AreFoundByNameAndRefuseWhatTheyLack) {
  CLSID clsid{};
  EXPECT_EQ(S_OK, CLSIDFromProgID(u"zsimagefile.ZSCUESHEET", &clsid));
  EXPECT_EQ(CLSID_ZSCueSheet, clsid);
  EXPECT_EQ("{CD37B6EB-D22C-4F42-8C01-89B078739430}", StringFromGUID(clsid));
  EXPECT_EQ(CO_E_CLASSSTRING, CLSIDFromProgID(u"No.Such", &clsid));
  EXPECT_EQ(CLSID{}, clsid);
  ComPtr<IUnknown> object;
  EXPECT_EQ(REGDB_E_CLASSNOTREG, CoCreateInstance(clsid, nullptr, CLSCTX_ALL, IID_IUnknown, object.ReceiveVoid()));
  EXPECT_EQ(E_POINTER, CoCreateInstance(CLSID_ZSCueSheet, nullptr, CLSCTX_ALL, IID_IUnknown, nullptr));
  EXPECT_EQ(E_NOINTERFACE,
            CoCreateInstance(CLSID_ZSCueSheet, nullptr, CLSCTX_ALL, IID_IZSImageFile, object.ReceiveVoid()));
  const ComPtr<IZSImageFile> image = NewImageFileService();
  EXPECT_EQ(E_NOINTERFACE, image->QueryInterface(IID_IMarshal, object.ReceiveVoid()));
  EXPECT_EQ(CLASS_E_NOAGGREGATION,
            CoCreateInstance(CLSID_ZSImageFile, image.Get(), CLSCTX_ALL, IID_IZSImageFile, object.ReceiveVoid()));
  GUID parsed{};
  EXPECT_TRUE(GUIDFromString("{cd37b6eb-D22C-4F42-8C01-89B078739430}", &parsed));
  EXPECT_EQ(CLSID_ZSCueSheet, parsed);
  EXPECT_FALSE(GUIDFromString("{CD37B6EB-D22C-4F42-8C01-89B07873943}", &parsed));
}

} // namespace
