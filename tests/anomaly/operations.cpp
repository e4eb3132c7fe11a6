#include "anomaly/operations.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>

#include "foundation/module.h"
#include "platform/files.h"
#include "platform/task_memory.h"
#include "support/services.h"

/// What operations on one image work with, and what they deliver.
struct Scene {
  explicit Scene(const std::string& path) : record(path), source(Wide(path)), target(Wide(path + ".made")) {
    if (record.Result() == S_OK) {
      tracks = TracksOf(record.Sheet());
      more = TracksOf(record.Sheet());
      sheets->PrepareTracks(source.get(), &record.Sheet());
    }
  }
  Scene(const Scene&) = delete;
  Scene& operator=(const Scene&) = delete;
  ~Scene() {
    images->FreeImageFileInfo(&copy);
    sheets->FreeZSCueSheet(made, VARIANT_TRUE);
    CoTaskMemFree(data);
    SysFreeString(name);
    VariantClear(&tracks);
    VariantClear(&more);
  }

  ComPtr<IZSImageFile> images = NewImageFileService();
  ComPtr<IZSCueSheet> sheets = NewCueSheetService();
  ImageRecord record;
  ImageRecord read;
  UniqueBstr source;
  UniqueBstr target; ///< A file to write to.
  VARIANT tracks{};  ///< The tracks of the record, in arrays.
  VARIANT more{};
  TestSheet other;
  zsimagefileinfo copy{};
  ZSCUESHEET* made = nullptr;
  BYTE* data = nullptr;
  LONG length = 0;
  BSTR name = nullptr;
  std::string bytes = std::string(200000, '\0'); ///< Room for those of a stream.
  std::size_t came = 0;
};

namespace {

/// What may be wrong with the files of an operation, or with the memory for their names, and what is told then. A disc
/// is read without CD-Text, or a track without indexes, when there is no memory for them.
const std::vector<HRESULT> kReading = {S_OK,       ZSE_CANNOTOPENIMAGE, ZSE_BADIMAGE, ZSE_FILENOTFOUND,
                                       ZSE_FAILED, ZSE_OUTOFRESOURCES,  E_OUTOFMEMORY};
const std::vector<HRESULT> kNoMemory = {E_OUTOFMEMORY};

std::string Tell(const ZSCUESHEET& sheet) {
  std::string text;
  for (const auto& lines : {Texts(sheet), Describe(sheet)}) {
    for (const std::string& line : lines) {
      text += line + '\n';
    }
  }
  return text;
}

std::string Tell(const zsimagefileinfo& info) {
  std::string text = Narrow(info.bstrImageBinaryFile) + ' ' + std::to_string(LONG{info.lMask}) + " type " +
                     std::to_string(int{info.ZSTYPEPROJECT}) + ' ' + std::to_string(ULONG{info.dwDiscID}) + '\n';
  for (std::size_t i = 0; i < info.nSessions; ++i) {
    text += Tell(*info.pZSCueSheet[i]);
  }
  return text;
}

std::string Tell(const VARIANT& tracks) {
  std::string text;
  if (tracks.parray != nullptr) {
    const SafeArrayAccess access(tracks.parray);
    for (ULONG i = 0; i < tracks.parray->rgsabound[0].cElements; ++i) {
      text += Describe(access.Elements<ZSTRACK>()[i]) + '\n';
    }
  }
  return text;
}

/// All that there is after a success; on a failure nothing may have been delivered but the start of a stream.
std::string Tell(Scene& s, HRESULT result) {
  const std::string stream = s.bytes.substr(0, s.came);
  if (result != S_OK) {
    EXPECT_TRUE(IsAllZero(*s.read) && IsAllZero(s.copy) && s.made == nullptr && s.data == nullptr && s.name == nullptr);
    return stream;
  }
  EXPECT_TRUE(IsAllZero(s.copy) || Texts(*s.copy.pZSCueSheet[0]) == Texts(s.record.Sheet()));
  EXPECT_TRUE(s.made == nullptr || Texts(*s.made) == Texts(s.record.Sheet()));
  std::ifstream file(Narrow(s.target.get()), std::ios::binary);
  return stream + Tell(*s.record) + Tell(*s.read) + Tell(s.copy) + Tell(*s.other.Get()) +
         (s.made == nullptr ? "" : Tell(*s.made)) + Tell(s.more) + Narrow(s.name) +
         std::string(reinterpret_cast<char*>(s.data), static_cast<std::size_t>(s.length)) +
         std::string(std::istreambuf_iterator<char>(file), {});
}

LONG TakesItsValueOrTheReason(UINT /*kind*/, ZSSTREAMPROGRESS* /*progress*/, ULONG /*userParam*/, VARIANT user) {
  EXPECT_TRUE(user.vt == VT_BSTR || (user.vt == VT_ERROR && user.scode == E_OUTOFMEMORY));
  return 0;
}

VARIANT ValueOf(const UniqueBstr& text) {
  VARIANT value{};
  value.vt = VT_BSTR;
  value.bstrVal = text.get();
  return value;
}

HRESULT OpenTrack(Scene& s, IStream** stream) {
  ZSTRACK& track = s.record.Track(0);
  return s.sheets->ExtractTrackToStream(
      s.record->bstrImageBinaryFile, s.source.get(), &*s.record, &track, track.Mode == ZSMODE_AUDIO ? 0 : 2048,
      reinterpret_cast<LONG*>(TakesItsValueOrTheReason), 0, ValueOf(s.source), stream);
}

HRESULT ReadTrack(Scene& s) {
  ComPtr<IStream> stream;
  HRESULT result = OpenTrack(s, stream.Receive());
  if (result != S_OK) {
    return result;
  }
  while (result == S_OK) {
    ULONG came = 0;
    result = stream->Read(s.bytes.data() + s.came,
                          static_cast<ULONG>(std::min<std::size_t>(s.bytes.size() - s.came, 30000)), &came);
    s.came += came;
  }
  return result == S_FALSE ? S_OK : result;
}

HRESULT Extract(Scene& s) {
  ComPtr<IStream> stream;
  const HRESULT opened = OpenTrack(s, stream.Receive());
  return opened == S_OK ? s.sheets->ExtractStreamToFile(stream.Get(), s.target.get()) : opened;
}

HRESULT Write(Scene& s, zsimgformat format) {
  s.record->ZSImageFormat = format;
  zsmmccdtext packs{};
  packs.Header[0] = 0x80;
  return s.images->CreateTOCFile(s.target.get(), &*s.record, nullptr, 0, &packs, 18);
}

HRESULT Prepare(Scene& s) {
  for (UINT i = 0; i < s.record.Sheet().nTracks; ++i) { // It does not free what is there.
    VARIANT before = s.record.Track(i).varFiles;
    s.record.Track(i).varFiles = VARIANT{};
    VariantClear(&before);
  }
  return s.sheets->PrepareTracks(s.source.get(), &s.record.Sheet());
}

HRESULT Merge(Scene& s) {
  const HRESULT result = s.sheets->MergeTracks(&s.tracks, &s.more);
  EXPECT_EQ(result == S_OK, s.tracks.parray == nullptr);
  EXPECT_EQ(result == S_OK ? 4U : 2U, s.more.parray->rgsabound[0].cElements);
  return result;
}

HRESULT Allocate(Scene& s) {
  ZSCUESHEET* sheet = nullptr;
  const HRESULT result = s.sheets->AllocCueSheet(&sheet);
  return sheet == nullptr ? result : s.sheets->FreeZSCueSheet(sheet, VARIANT_TRUE);
}

HRESULT DecodePack(Scene& s) {
  BYTE pack[] = {0x80, 0, 0, 0, 'A', 'L', 'B', 'U', 'M', 0, 'O', 'N', 'E', 0, 0, 0, 0, 0};
  return s.sheets->AnalyzeCDTextFromData(pack, sizeof(pack), &s.record.Sheet());
}

/// On an album of two tracks with CD-Text.
const Operation kOthers[] = {
    {"Create IZSImageFile",
     {E_OUTOFMEMORY, ZSE_OUTOFRESOURCES},
     [](Scene&) {
       ComPtr<IZSImageFile> object; // Which makes a cue sheet service for itself.
       return Create(kProgIdImageFile, IID_IZSImageFile, &object);
     }},
    {"SetCallBack", {}, [](Scene& s) { return s.images->SetCallBack(nullptr, 0, ValueOf(s.source)); }},
    {"CreateTOCFile CUE", {E_OUTOFMEMORY, E_FAIL}, [](Scene& s) { return Write(s, ZSIMAGEFORMAT_CUE); }},
    {"CreateTOCFile ZSI", kNoMemory, [](Scene& s) { return Write(s, ZSIMAGEFORMAT_ZSI); }},
    {"FreeImageFileInfo", kNoMemory, [](Scene& s) { return s.images->FreeImageFileInfo(&*s.record); }},
    {"CalculateDiscID", {}, [](Scene& s) { return s.images->CalculateDiscID(&*s.record); }},
    {"IZSImageFile::Clone",
     {S_OK, ZSE_OUTOFRESOURCES, E_OUTOFMEMORY},
     [](Scene& s) { return s.images->Clone(&*s.record, &s.copy); }},
    {"AnalyzeCueSheet", kReading, [](Scene& s) { return s.sheets->AnalyzeCueSheet(s.source.get(), s.other.Get()); }},
    {"AnalyzeCueSheet of sectors", kReading,
     [](Scene& s) { return s.sheets->AnalyzeCueSheet(s.record->bstrImageBinaryFile, s.other.Get()); }},
    {"AnalyzeCDText",
     {S_FALSE, E_OUTOFMEMORY},
     [](Scene& s) { return s.sheets->AnalyzeCDText(s.source.get(), &s.record.Sheet()); }},
    {"AnalyzeCDTextFromData", {S_OK}, DecodePack},
    {"GetBinaryFile", kNoMemory, [](Scene& s) { return s.sheets->GetBinaryFile(s.source.get(), &s.name); }},
    {"ExtractStreamToFile", {S_FALSE, E_OUTOFMEMORY}, Extract},
    {"PrepareTracks", kNoMemory, Prepare},
    {"MergeTracks", kNoMemory, Merge},
    {"AllocCueSheet", kNoMemory, Allocate},
    {"EncodeCDText", kNoMemory,
     [](Scene& s) { return s.sheets->EncodeCDText(&s.record.Sheet(), VARIANT_TRUE, &s.data, &s.length); }},
    {"IZSCueSheet::Clone", {S_OK, E_OUTOFMEMORY}, [](Scene& s) { return s.sheets->Clone(&s.record.Sheet(), &s.made); }},
    {"CloneCDText", kNoMemory,
     [](Scene& s) { return s.sheets->CloneCDText(&s.record.Sheet().ZSCDTEXT, &s.other->ZSCDTEXT); }},
    {"CopyCDText", kNoMemory, [](Scene& s) { return s.sheets->CopyCDText(&s.record.Sheet(), s.other.Get()); }},
};

} // namespace

const std::vector<std::string> kSampleImages = {"plain.iso",    "mixed.cue",  "album.cue",  "bridge.cue",
                                                "cdplus.nrg",   "tao.nrg",    "inline.mds", "dvd.mds",
                                                "sessions.ccd", "native.zsi", "refused.bwt"};

Operation ReadingImage(const std::string& path) {
  return {"GetImageFileInfo", kReading, [](Scene& s) { return s.images->GetImageFileInfo(s.source.get(), &*s.read); },
          path};
}

Operation ReadingTrack(const std::string& path) {
  const HRESULT deviceError = HRESULT_FROM_WIN32(ERROR_IO_DEVICE);
  const HRESULT fileNotFound = HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
  return {"ExtractTrackToStream", {S_FALSE, E_OUTOFMEMORY, deviceError, fileNotFound}, ReadTrack, path};
}

std::vector<Operation> OtherOperations(const std::string& path) {
  std::vector<Operation> operations(std::begin(kOthers), std::end(kOthers));
  for (Operation& operation : operations) {
    operation.image = path;
  }
  return operations;
}

Outcome Perform(const Operation& operation, FaultPoints* points, long failAt, bool andAfter) {
  Scene scene(operation.image);
  points->Start(failAt, andAfter);
  const HRESULT result = operation.call(scene);
  points->Stop();
  return {result, Tell(scene, result)};
}

long Sweep(const Operation& operation, FaultPoints* points, Failure failure, const std::function<void()>& before) {
  before();
  const Outcome good = Perform(operation, points);
  for (long point = 1;; ++point) {
    before();
    const long blocks = Memory().blocks;
    const int descriptors = OpenDescriptors();
    const LONG objects = Module().LockCount();
    {
      const Outcome outcome = Perform(operation, points, point, failure == Failure::AndAfter);
      const auto& codes = operation.failures;
      const bool documented = std::find(codes.begin(), codes.end(), outcome.result) != codes.end();
      const bool harmless = failure == Failure::Harmless || !points->Reached();
      const bool mayLack = !harmless && (documented || points != &Memory().faults);
      EXPECT_TRUE(outcome.result == good.result ? mayLack || outcome.told == good.told
                                                : mayLack && documented && good.told.starts_with(outcome.told))
          << operation.name << " of " << operation.image << " at " << point << ": " << std::hex << outcome.result;
    }
    if (testing::Test::HasFailure()) { // Whose message takes memory.
      return point;
    }
    EXPECT_EQ(blocks, Memory().blocks) << operation.name << " leaks memory at " << point;
    EXPECT_EQ(descriptors, OpenDescriptors()) << operation.name << " leaks files at " << point;
    EXPECT_EQ(objects, Module().LockCount()) << operation.name << " leaks objects at " << point;
    if (!points->Reached()) {
      return point - 1;
    }
  }
}
