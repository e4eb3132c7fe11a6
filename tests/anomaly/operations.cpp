#include "anomaly/operations.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <tuple>

#include "foundation/module.h"
#include "platform/files.h"
#include "platform/task_memory.h"
#include "support/services.h"

/// The arguments and the results of operations on one image.
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
    sheets->FreeZSCueSheet(made, VARIANT_TRUE);
    CoTaskMemFree(data);
    SysFreeString(name);
    VariantClear(&tracks);
    VariantClear(&more);
  }

  ComPtr<IZSImageFile> images = NewImageFileService();
  ComPtr<IZSCueSheet> sheets = NewCueSheetService();
  ImageRecord record;
  UniqueBstr source;
  UniqueBstr target; ///< A file to write to.
  VARIANT tracks{};  ///< Copies of the record's tracks.
  VARIANT more{};    ///< The same again.
  TestSheet other;
  ImageRecord read;
  ImageRecord copy;
  ZSCUESHEET* made = nullptr;
  BYTE* data = nullptr;
  LONG length = 0;
  BSTR name = nullptr;
  std::string buffer = std::string(200000, '\0'); ///< For the bytes of a stream.
  std::size_t bytesRead = 0;
};

namespace {

/// Results of reading if a file fails, or memory for its name. A disc is read without CD-Text, or a track without
/// indexes, if there is no memory for them.
const std::vector<HRESULT> kReading = {S_OK,       ZSE_CANNOTOPENIMAGE, ZSE_BADIMAGE, ZSE_FILENOTFOUND,
                                       ZSE_FAILED, ZSE_OUTOFRESOURCES,  E_OUTOFMEMORY};
const std::vector<HRESULT> kNoMemory = {E_OUTOFMEMORY};

std::string ToText(const ZSCUESHEET& sheet) { return testing::PrintToString(std::pair(Texts(sheet), Describe(sheet))); }

std::string ToText(const zsimagefileinfo& info) {
  std::string text = Narrow(info.bstrImageBinaryFile) + ' ' + std::to_string(LONG{info.lMask}) + " type " +
                     std::to_string(int{info.ZSTYPEPROJECT}) + ' ' + std::to_string(ULONG{info.dwDiscID}) + '\n';
  for (std::size_t i = 0; i < info.nSessions; ++i) {
    text += ToText(*info.pZSCueSheet[i]);
  }
  return text;
}

std::string ToText(SAFEARRAY* tracks) {
  std::string text;
  const SafeArrayAccess access(tracks);
  for (ULONG i = 0; i < tracks->rgsabound[0].cElements; ++i) {
    text += Describe(access.Elements<ZSTRACK>()[i]) + '\n';
  }
  return text;
}

/// Returns all that an operation delivered. A failure must not deliver anything but the start of a stream, and copies
/// must equal their source.
std::string DeliveredText(Scene& s, HRESULT result) {
  const std::string stream = s.buffer.substr(0, s.bytesRead);
  const bool hasCopy = !IsAllZero(*s.copy);
  if (result != S_OK) {
    EXPECT_TRUE(IsAllZero(*s.read) && !hasCopy && s.made == nullptr && s.data == nullptr && s.name == nullptr);
    return stream;
  }
  EXPECT_TRUE(!hasCopy || Texts(s.copy.Sheet()) == Texts(s.record.Sheet()));
  EXPECT_TRUE(s.made == nullptr || Texts(*s.made) == Texts(s.record.Sheet()));
  std::ifstream file(Narrow(s.target.get()), std::ios::binary);
  return stream + ToText(*s.record) + ToText(*s.read) + ToText(*s.copy) + ToText(*s.other.Get()) +
         (s.made == nullptr ? "" : ToText(*s.made)) + (s.more.parray == nullptr ? "" : ToText(s.more.parray)) +
         Narrow(s.name) + std::string(reinterpret_cast<char*>(s.data), static_cast<std::size_t>(s.length)) +
         std::string(std::istreambuf_iterator<char>(file), {});
}

/// A callback that expects the value it was set with, or the reason why there is none.
LONG ExpectValue(UINT /*kind*/, ZSSTREAMPROGRESS* /*progress*/, ULONG /*userParam*/, VARIANT user) {
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
  return s.sheets->ExtractTrackToStream(s.record->bstrImageBinaryFile, s.source.get(), &*s.record, &track,
                                        track.Mode == ZSMODE_AUDIO ? 0 : 2048, reinterpret_cast<LONG*>(ExpectValue), 0,
                                        ValueOf(s.source), stream);
}

HRESULT ReadTrack(Scene& s) {
  ComPtr<IStream> stream;
  HRESULT result = OpenTrack(s, stream.Receive());
  while (stream && result == S_OK) {
    ULONG count = static_cast<ULONG>(std::min<std::size_t>(s.buffer.size() - s.bytesRead, 30000));
    result = stream->Read(s.buffer.data() + s.bytesRead, count, &count);
    s.bytesRead += count;
  }
  return stream && result == S_FALSE ? S_OK : result;
}

HRESULT Extract(Scene& s) {
  ComPtr<IStream> stream;
  const HRESULT opened = OpenTrack(s, stream.Receive());
  return opened == S_OK ? s.sheets->ExtractStreamToFile(stream.Get(), s.target.get()) : opened;
}

HRESULT WriteDescription(Scene& s, zsimgformat format) {
  s.record->ZSImageFormat = format;
  zsmmccdtext packs{};
  packs.Header[0] = 0x80;
  return s.images->CreateTOCFile(s.target.get(), &*s.record, nullptr, 0, &packs, 18);
}

HRESULT PrepareAgain(Scene& s) {
  for (UINT i = 0; i < s.record.Sheet().nTracks; ++i) { // PrepareTracks does not free a list that is present.
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

HRESULT AllocateAndFree(Scene& s) {
  ZSCUESHEET* sheet = nullptr;
  const HRESULT result = s.sheets->AllocCueSheet(&sheet);
  return sheet == nullptr ? result : s.sheets->FreeZSCueSheet(sheet, VARIANT_TRUE);
}

HRESULT DecodePack(Scene& s) {
  BYTE pack[] = {0x80, 0, 0, 0, 'A', 'L', 'B', 'U', 'M', 0, 'O', 'N', 'E', 0, 0, 0, 0, 0};
  return s.sheets->AnalyzeCDTextFromData(pack, sizeof(pack), &s.record.Sheet());
}

const std::vector<Operation> kOtherOperations = {
    {"Create IZSImageFile",
     {E_OUTOFMEMORY, ZSE_OUTOFRESOURCES},
     [](Scene&) {
       ComPtr<IZSImageFile> object; // It creates a cue sheet service.
       return Create(kProgIdImageFile, IID_IZSImageFile, &object);
     }},
    {"SetCallBack", {}, [](Scene& s) { return s.images->SetCallBack(nullptr, 0, ValueOf(s.source)); }},
    {"CreateTOCFile CUE", {E_OUTOFMEMORY, E_FAIL}, [](Scene& s) { return WriteDescription(s, ZSIMAGEFORMAT_CUE); }},
    {"CreateTOCFile ZSI", kNoMemory, [](Scene& s) { return WriteDescription(s, ZSIMAGEFORMAT_ZSI); }},
    {"FreeImageFileInfo", kNoMemory, [](Scene& s) { return s.images->FreeImageFileInfo(&*s.record); }},
    {"CalculateDiscID", {}, [](Scene& s) { return s.images->CalculateDiscID(&*s.record); }},
    {"IZSImageFile::Clone",
     {S_OK, ZSE_OUTOFRESOURCES, E_OUTOFMEMORY},
     [](Scene& s) { return s.images->Clone(&*s.record, &*s.copy); }},
    {"AnalyzeCueSheet", kReading, [](Scene& s) { return s.sheets->AnalyzeCueSheet(s.source.get(), s.other.Get()); }},
    {"AnalyzeCueSheet of a plain image", kReading,
     [](Scene& s) { return s.sheets->AnalyzeCueSheet(s.record->bstrImageBinaryFile, s.other.Get()); }},
    {"AnalyzeCDText",
     {S_FALSE, E_OUTOFMEMORY},
     [](Scene& s) { return s.sheets->AnalyzeCDText(s.source.get(), &s.record.Sheet()); }},
    {"AnalyzeCDTextFromData", {S_OK}, DecodePack},
    {"GetBinaryFile", kNoMemory, [](Scene& s) { return s.sheets->GetBinaryFile(s.source.get(), &s.name); }},
    {"ExtractStreamToFile", {S_FALSE, E_OUTOFMEMORY}, Extract},
    {"PrepareTracks", kNoMemory, PrepareAgain},
    {"MergeTracks", kNoMemory, Merge},
    {"AllocCueSheet", kNoMemory, AllocateAndFree},
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
  std::vector<Operation> operations = kOtherOperations;
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
  return {result, DeliveredText(scene, result)};
}

namespace {

/// Counts what a run must release: blocks of memory, descriptors, objects.
std::tuple<long, int, LONG> Held() { return {Memory().blocks, OpenDescriptors(), Module().LockCount()}; }

/// Whether an operation may end like this if memory or a file fails.
bool IsAllowed(const Outcome& outcome, const Outcome& undisturbed, const Operation& operation, bool memoryFails) {
  const auto& codes = operation.failures;
  const bool documented = std::find(codes.begin(), codes.end(), outcome.result) != codes.end();
  if (outcome.result == undisturbed.result) {
    // The operation continued. It may ignore a file, such as a companion. It may deliver less without memory if that
    // is documented.
    return documented || !memoryFails || outcome.delivered == undisturbed.delivered;
  }
  // It failed. A stream has delivered the start of its bytes.
  return documented && undisturbed.delivered.starts_with(outcome.delivered);
}

} // namespace

long Sweep(const Operation& operation, FaultPoints* points, Failure failure, const std::function<void()>& before) {
  before();
  const Outcome undisturbed = Perform(operation, points);
  const bool memoryFails = points == &Memory().faults;
  for (long point = 1;; ++point) {
    before();
    const auto held = Held();
    {
      const Outcome outcome = Perform(operation, points, point, failure == Failure::AndAfter);
      const bool disturbed = points->Reached() && failure != Failure::Harmless;
      EXPECT_TRUE(outcome == undisturbed || (disturbed && IsAllowed(outcome, undisturbed, operation, memoryFails)))
          << operation.name << " of " << operation.image << " at " << point << ": " << std::hex << outcome.result;
    }
    if (testing::Test::HasFailure()) { // The message of a failure holds memory.
      return point;
    }
    EXPECT_EQ(held, Held()) << operation.name << " leaks blocks, descriptors or objects at " << point;
    if (!points->Reached()) {
      return point - 1;
    }
  }
}
