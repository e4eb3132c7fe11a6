// The binary contract. Programs are built against it and libraries replaced under them, so a change of the listings
// beside this test breaks them: contract-64.txt and contract-32.txt, by the width of pointers.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>

#include "cuesheet/cue_sheet_interface.h"
#include "disc/record_descriptions.h"
#include "imagefile/image_file_interface.h"
#include "imagefile/server/registration.h"

namespace {

// EACH(STEP, owner, a, b, ...) is STEP(owner, a) STEP(owner, b) and so on, for at most 27 names.
#define AGAIN(...) AGAIN2(AGAIN2(AGAIN2(__VA_ARGS__)))
#define AGAIN2(...) AGAIN1(AGAIN1(AGAIN1(__VA_ARGS__)))
#define AGAIN1(...) LAST(LAST(LAST(__VA_ARGS__)))
#define LAST(...) __VA_ARGS__
#define PARENTHESES ()
#define EACH_NAME() EACH_STEP
#define EACH_STEP(STEP, owner, name, ...) STEP(owner, name) __VA_OPT__(EACH_NAME PARENTHESES(STEP, owner, __VA_ARGS__))
#define EACH(STEP, owner, ...) AGAIN(EACH_STEP(STEP, owner, __VA_ARGS__))

#define ADD_SLOT(owner, name) Add("slot " #owner "::" #name, SlotOf(&owner::name));
#define ADD_FIELD(owner, name) Add("place " #owner "." #name, offsetof(owner, name));
#define ADD_VALUE(owner, name) AddValue(#name, static_cast<std::uint32_t>(name));
#define ADD_GUID(owner, name) m_text += #owner " " #name " " + StringFromGUID(name) + "\n";
#define SLOTS(owner, ...) EACH(ADD_SLOT, owner, __VA_ARGS__)
#define FIELDS(owner, ...)                                                                                             \
  Add("size " #owner, sizeof(owner));                                                                                  \
  EACH(ADD_FIELD, owner, __VA_ARGS__)
#define VALUES(...) EACH(ADD_VALUE, value, __VA_ARGS__)
#define GUIDS(...) EACH(ADD_GUID, guid, __VA_ARGS__)

/// Place of a virtual operation in its table: the ABI keeps one more than its offset in the pointer.
template <class Operation> std::size_t SlotOf(Operation operation) {
  std::size_t place = 0;
  std::memcpy(&place, &operation, sizeof(place));
  return (place - 1) / sizeof(void*);
}

class Contract {
public:
  void AddInterfaces() {
    SLOTS(IUnknown, QueryInterface, AddRef, Release)
    SLOTS(IClassFactory, CreateInstance, LockServer)
    SLOTS(IStream, Read, Write, Seek, SetSize, CopyTo, Commit, Revert, LockRegion, UnlockRegion, Stat, Clone)
    SLOTS(IRecordInfo, RecordInit, RecordClear, RecordCopy, GetGuid, GetName, GetSize)
    SLOTS(IZSImageFile, SetCallBack, GetImageFileInfo, CreateTOCFile, Open, Clone, FreeImageFileInfo, CalculateDiscID,
          GetPositionFromLBA)
    SLOTS(IZSCueSheet, CreateCueFile, AnalyzeCueSheet, AnalyzeCDText, AnalyzeCDTextFromData, GetBinaryFile,
          PrepareTracks, ExtractTrackToStream, ExtractStreamToFile, MergeTracks, AllocCueSheet, EncodeCDText, Clone,
          CloneCDText, CopyCDText, FreeZSCueSheet, FreeZSCDText, Dummy)
    GUIDS(CLSID_ZSImageFile, CLSID_ZSCueSheet, IID_IZSImageFile, IID_IZSCueSheet, kComponentTypeLibrary,
          kSharedTypeLibrary, kRecordCueSheet, kRecordTrack, kRecordCDText, kRecordFile, kRecordXA, IID_IUnknown,
          IID_IClassFactory, IID_IMarshal, IID_ISequentialStream, IID_IStream)
  }

  void AddRecords() {
    FIELDS(zsimagefileinfo, lMask, bstrImageBinaryFile, ZSImageFormat, ZSTYPEPROJECT, ZSBlockSize, pZSCueSheet,
           nSessions, dwSeekBegin64, dwSeekEnd64, nSubCount, dwDiscID, dwDiscID2, lReserved)
    FIELDS(ZSCUESHEET, nTracks, pZSTracks, ZSCDTEXT, ZSSESSIONFORMAT)
    FIELDS(ZSTRACK, TNO, pdwIndex, nCountIndex, Pregap, dwLBA, dwEndLBA, Postgap, Mode, BlockSize, ImageBlockSize,
           Flags, varFiles, bstrTitle, bstrComposer, bstrPerformer, bstrSongwriter, bstrArranger, bstrGenre,
           bstrMessage, bstrISRC, dwReserved64)
    FIELDS(ZSCDTEXT, CDTextPresent, bstrMCN, bstrTitle, bstrComposer, bstrPerformer, bstrSongwriter, bstrArranger,
           bstrGenre, bstrMessage, Language)
    FIELDS(ZSFILESTRUCT, dwFlags, dwLBA, dwEndLBA, ZSBlockSize, bstrFileName, bstrLogicalPath, ZSMode, XA, dwFromSeek64)
    FIELDS(ZSXA, FileNumber, ChannelNumber, SubMode, CodeInformation)
    FIELDS(ZSSTREAMPROGRESS, nMessage, pszName, qwTotal, qwDone, pBuffer, nSize, vtUser, fCancel)
    FIELDS(zsmmcreadtoc0, FirstTrackNumber, Toc)
    FIELDS(zsmmccdtext, TextData, CRC, pData)
    FIELDS(VARIANT, vt, wReserved1, llVal)
    FIELDS(SAFEARRAY, cDims, fFeatures, cbElements, cLocks, pvData, rgsabound)
    FIELDS(GUID, Data1, Data2, Data3, Data4)
  }

  void AddValues() {
    VALUES(ZSE_FAILED, ZSE_FILENOTFOUND, ZSE_OUTOFRESOURCES, ZSE_CANNOTOPENIMAGE, ZSE_BADIMAGE, ZSE_TOCVERSION)
    VALUES(E_NOTIMPL, E_NOINTERFACE, E_POINTER, E_FAIL, E_OUTOFMEMORY, E_INVALIDARG, CLASS_E_NOAGGREGATION,
           CLASS_E_CLASSNOTAVAILABLE, REGDB_E_CLASSNOTREG, CO_E_CLASSSTRING)
    VALUES(ZSIMAGEFORMAT_ISO, ZSIMAGEFORMAT_CUE, ZSIMAGEFORMAT_BIN, ZSIMAGEFORMAT_NRG, ZSIMAGEFORMAT_CCD,
           ZSIMAGEFORMAT_ZSI, ZSIMAGEFORMAT_MDS)
    VALUES(ZSTYPEPROJECT_DATA, ZSTYPEPROJECT_CDAUDIO, ZSTYPEPROJECT_MIXED, ZSTYPEPROJECT_CDPLUS, ZSTYPEPROJECT_VIDEO,
           ZSTYPEPROJECT_DATAMULTISESSION, ZSTYPEPROJECT_OTHER)
    VALUES(ZSMODE_AUDIO, ZSMODE_1, ZSMODE_2, ZSMODE_2_FORM1, ZSMODE_2_FORM2, ZSMODE_2_MIXED, ZSMODE_UNKNOWN)
    VALUES(ZSSESSIONFORMAT_CDDA_CDROM, ZSSESSIONFORMAT_CDI, ZSSESSIONFORMAT_CDROMXA)
    VALUES(ZSIMAGEMASK_CDTEXT, ZSIMAGEMASK_CDG, ZSIMAGEMASK_SUBCHANNEL, ZSIMAGEMASK_SUBINLINE, ZSIMAGEMASK_TRACKATONCE)
    VALUES(ZSTRACKFLAG_DCP, ZSTRACKFLAG_PRE, ZSTRACKFLAG_4CH)
    VALUES(ZSSTREAM_BEGIN, ZSSTREAM_BEFOREREAD, ZSSTREAM_AFTERREAD, ZSSTREAM_END)
    VALUES(VT_I4, VT_BSTR, VT_BOOL, VT_UI4, VT_RECORD, VT_ARRAY, VT_BYREF)
  }

  /// Functions that a library exports with C linkage.
  void AddExports(const char* name, const std::string& library) {
    FILE* symbols =
        popen(("nm -D --defined-only --format=posix " + library + " | grep ' T ' | grep '^[A-Z]' | sort").c_str(), "r");
    char line[4096];
    while (symbols != nullptr && std::fgets(line, sizeof(line), symbols) != nullptr) {
      m_text += std::string("export ") + name + " " + std::string(line, std::strcspn(line, " ")) + "\n";
    }
    EXPECT_EQ(0, pclose(symbols));
  }

  const std::string& Text() const { return m_text; }

private:
  void AddValue(const char* name, std::uint32_t value) {
    char text[64];
    std::snprintf(text, sizeof(text), "value %s 0x%08X\n", name, value);
    m_text += text;
  }
  void Add(const std::string& name, std::size_t number) { m_text += name + " " + std::to_string(number) + "\n"; }

  std::string m_text;
};

TEST(Abi, IsTheContractThatHostsAreBuiltOn) {
  Contract contract;
  contract.AddInterfaces();
  contract.AddRecords();
  contract.AddValues();
  contract.AddExports("ImageFile", COMPONENT_LIBRARY);
  contract.AddExports("ImageFilePlatform", PLATFORM_LIBRARY);
  std::ifstream file(CONTRACT_FOLDER "/contract-" + std::to_string(8 * sizeof(void*)) + ".txt");
  const std::string expected{std::istreambuf_iterator<char>(file), {}};
  if (expected != contract.Text()) {
    const std::string here = testing::TempDir() + "contract.txt";
    std::ofstream(here) << contract.Text();
    ADD_FAILURE() << "the contract has changed; that of this build is in " << here;
  }
}

TEST(Abi, TheComponentExportsNothingElse) {
  FILE* symbols = popen("nm -D --defined-only " COMPONENT_LIBRARY " | wc -l", "r");
  int count = 0;
  EXPECT_EQ(1, std::fscanf(symbols, "%d", &count));
  EXPECT_EQ(0, pclose(symbols));
  EXPECT_EQ(4, count);
}

} // namespace
