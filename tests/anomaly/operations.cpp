#include "anomaly/operations.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>

#include "disc/record_text.h"
#include "foundation/module.h"
#include "imagefile/image_file_interface.h"
#include "platform/class_objects.h"
#include "platform/task_memory.h"
#include "support/services.h"

namespace {

constexpr HRESULT kDeviceError = MakeResult(0x8007045D);  // System error 1117.
constexpr HRESULT kFileNotFound = MakeResult(0x80070002); // System error 2.

/// What may be wrong with the files of an operation, or with the memory for their names, and what is told then.
const std::vector<HRESULT> kReading = {ZSE_CANNOTOPENIMAGE, ZSE_BADIMAGE,       ZSE_FILENOTFOUND,
                                       ZSE_FAILED,          ZSE_OUTOFRESOURCES, E_OUTOFMEMORY};
const std::vector<HRESULT> kNoMemory = {E_OUTOFMEMORY};

template <class Record> std::string TextsOf(const Record& record) {
  std::string texts;
  for (const TextField field : kTextFields) {
    texts += ' ' + Narrow(TextOf(record, field));
  }
  return texts + '\n';
}

std::string TextsOf(const ZSCUESHEET& sheet) {
  std::string texts = Narrow(sheet.ZSCDTEXT.bstrMCN) + TextsOf(sheet.ZSCDTEXT);
  for (UINT i = 0; i < sheet.nTracks; ++i) {
    texts += Narrow(sheet.pZSTracks[i].bstrISRC) + TextsOf(sheet.pZSTracks[i]);
  }
  return texts;
}

std::string TextOf(const ZSCUESHEET& sheet) {
  std::string text = TextsOf(sheet);
  for (const std::string& line : Describe(sheet)) {
    text += line + '\n';
  }
  return text;
}

std::string TextOf(const zsimagefileinfo& info) {
  std::string text = Narrow(info.bstrImageBinaryFile) + ' ' + std::to_string(LONG{info.lMask}) + ' ' +
                     std::to_string(int{info.ZSTYPEPROJECT}) + ' ' + std::to_string(ULONG{info.dwDiscID}) + '\n';
  for (std::size_t i = 0; i < info.nSessions; ++i) {
    text += TextOf(*info.pZSCueSheet[i]);
  }
  return text;
}

/// What operations on one image work with, and what they deliver.
struct Scene {
  explicit Scene(const std::string& path)
      : record(path), source(Wide(path)), target(Wide(path + ".made")), tracks(TracksOf(record.Sheet())),
        more(TracksOf(record.Sheet())) {
    sheets->PrepareTracks(source.get(), &record.Sheet());
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
  /// All that there is after a success; on a failure nothing may have been delivered.
  std::string Told(HRESULT result) {
    if (FAILED(result)) {
      EXPECT_TRUE(IsAllZero(copy) && made == nullptr && data == nullptr && name == nullptr);
      return {};
    }
    EXPECT_TRUE(IsAllZero(copy) || TextsOf(*copy.pZSCueSheet[0]) == TextsOf(record.Sheet()));
    EXPECT_TRUE(made == nullptr || TextsOf(*made) == TextsOf(record.Sheet()));
    std::ifstream file(Narrow(target.get()), std::ios::binary);
    return TextOf(*record) + TextOf(copy) + TextOf(*other.Get()) + (made == nullptr ? "" : TextOf(*made)) +
           Narrow(name) + std::string(reinterpret_cast<char*>(data), static_cast<std::size_t>(length)) +
           std::string(std::istreambuf_iterator<char>(file), {});
  }

  ComPtr<IZSImageFile> images = NewImageFileService();
  ComPtr<IZSCueSheet> sheets = NewCueSheetService();
  ImageRecord record;
  UniqueBstr source;
  UniqueBstr target; ///< A file to write to.
  VARIANT tracks;    ///< The tracks of the record, in arrays.
  VARIANT more;
  TestSheet other;
  zsimagefileinfo copy{};
  ZSCUESHEET* made = nullptr;
  BYTE* data = nullptr;
  LONG length = 0;
  BSTR name = nullptr;
};

LONG TakesItsValueOrTheReason(UINT /*kind*/, ZSSTREAMPROGRESS* /*progress*/, ULONG /*userParam*/, VARIANT user) {
  EXPECT_TRUE(user.vt == VT_BSTR || (user.vt == VT_ERROR && user.scode == E_OUTOFMEMORY));
  return 0;
}

VARIANT ValueOf(BSTR text) {
  VARIANT value{};
  value.vt = VT_BSTR;
  value.bstrVal = text;
  return value;
}

HRESULT OpenTrack(Scene& scene, IStream** stream) {
  zsimagefileinfo& info = *scene.record;
  ZSTRACK& track = scene.record.Track(0);
  return scene.sheets->ExtractTrackToStream(
      info.bstrImageBinaryFile, scene.source.get(), &info, &track, track.Mode == ZSMODE_AUDIO ? 0 : 2048,
      reinterpret_cast<LONG*>(TakesItsValueOrTheReason), 0, ValueOf(scene.source.get()), stream);
}

HRESULT ReadToEnd(IStream* stream, std::string* bytes) {
  std::size_t done = 0;
  ULONG came = 0;
  HRESULT result = S_OK;
  while (result == S_OK) {
    const auto room = static_cast<ULONG>(std::min<std::size_t>(bytes->size() - done, 30000));
    result = stream->Read(bytes->data() + done, room, &came);
    done += came;
  }
  bytes->resize(done);
  return result == S_FALSE ? S_OK : result;
}

HRESULT Write(Scene& s, zsimgformat format) {
  s.record->ZSImageFormat = format;
  return s.images->CreateTOCFile(s.target.get(), &*s.record, nullptr, 0, nullptr, 0);
}

HRESULT Extract(Scene& s) {
  ComPtr<IStream> stream;
  const HRESULT opened = OpenTrack(s, stream.Receive());
  return opened == S_OK ? s.sheets->ExtractStreamToFile(stream.Get(), s.target.get()) : opened;
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

template <class I> HRESULT Create(const OLECHAR* progId, REFIID iid) {
  CLSID clsid{};
  ComPtr<I> object;
  const HRESULT found = CLSIDFromProgID(progId, &clsid);
  return FAILED(found) ? found : CoCreateInstance(clsid, nullptr, CLSCTX_ALL, iid, object.ReceiveVoid());
}

struct Row {
  const char* name;
  std::vector<HRESULT> failures;
  HRESULT (*call)(Scene& s);
};

/// The operations on an album of two tracks with CD-Text.
const Row kRows[] = {
    {"Create IZSImageFile",
     {E_OUTOFMEMORY, ZSE_OUTOFRESOURCES},
     [](Scene&) { return Create<IZSImageFile>(kProgIdImageFile, IID_IZSImageFile); }},
    {"Create IZSCueSheet", kNoMemory, [](Scene&) { return Create<IZSCueSheet>(kProgIdCueSheet, IID_IZSCueSheet); }},
    {"SetCallBack", {}, [](Scene& s) { return s.images->SetCallBack(nullptr, 0, ValueOf(s.source.get())); }},
    {"CreateTOCFile CUE", {E_OUTOFMEMORY, E_FAIL}, [](Scene& s) { return Write(s, ZSIMAGEFORMAT_CUE); }},
    {"CreateTOCFile ZSI", kNoMemory, [](Scene& s) { return Write(s, ZSIMAGEFORMAT_ZSI); }},
    {"FreeImageFileInfo", kNoMemory, [](Scene& s) { return s.images->FreeImageFileInfo(&*s.record); }},
    {"CalculateDiscID", kNoMemory, [](Scene& s) { return s.images->CalculateDiscID(&*s.record); }},
    {"IZSImageFile::Clone",
     {ZSE_OUTOFRESOURCES, E_OUTOFMEMORY},
     [](Scene& s) { return s.images->Clone(&*s.record, &s.copy); }},
    {"CreateCueFile",
     {E_OUTOFMEMORY, E_FAIL},
     [](Scene& s) { return s.sheets->CreateCueFile(s.target.get(), &s.record.Sheet()); }},
    {"AnalyzeCueSheet", kReading, [](Scene& s) { return s.sheets->AnalyzeCueSheet(s.source.get(), s.other.Get()); }},
    {"AnalyzeCueSheet of sectors", kReading,
     [](Scene& s) { return s.sheets->AnalyzeCueSheet(s.record->bstrImageBinaryFile, s.other.Get()); }},
    {"AnalyzeCDText",
     {S_FALSE, E_OUTOFMEMORY},
     [](Scene& s) { return s.sheets->AnalyzeCDText(s.source.get(), &s.record.Sheet()); }},
    {"AnalyzeCDTextFromData", {}, DecodePack},
    {"GetBinaryFile", kNoMemory, [](Scene& s) { return s.sheets->GetBinaryFile(s.source.get(), &s.name); }},
    {"PrepareTracks", kNoMemory, [](Scene& s) { return s.sheets->PrepareTracks(s.target.get(), s.other.Get()); }},
    {"ExtractStreamToFile", {S_FALSE, E_OUTOFMEMORY}, Extract},
    {"MergeTracks", kNoMemory, Merge},
    {"AllocCueSheet", kNoMemory, Allocate},
    {"EncodeCDText", kNoMemory,
     [](Scene& s) { return s.sheets->EncodeCDText(&s.record.Sheet(), VARIANT_FALSE, &s.data, &s.length); }},
    {"EncodeCDText with sub-channel", kNoMemory,
     [](Scene& s) { return s.sheets->EncodeCDText(&s.record.Sheet(), VARIANT_TRUE, &s.data, &s.length); }},
    {"IZSCueSheet::Clone", kNoMemory, [](Scene& s) { return s.sheets->Clone(&s.record.Sheet(), &s.made); }},
    {"CloneCDText", kNoMemory,
     [](Scene& s) { return s.sheets->CloneCDText(&s.record.Sheet().ZSCDTEXT, &s.other->ZSCDTEXT); }},
    {"CopyCDText", kNoMemory, [](Scene& s) { return s.sheets->CopyCDText(&s.record.Sheet(), s.other.Get()); }},
};

} // namespace

const std::vector<std::string> kSampleImages = {"plain.iso",    "mixed.cue",  "album.cue",  "bridge.cue",
                                                "cdplus.nrg",   "tao.nrg",    "inline.mds", "dvd.mds",
                                                "sessions.ccd", "native.zsi", "refused.bwt"};

Operation ReadingImage(const std::string& path) {
  return {"GetImageFileInfo " + path, kReading, [=](const Disturbed& disturbed) {
            const ComPtr<IZSImageFile> service = NewImageFileService();
            const UniqueBstr name = Wide(path);
            zsimagefileinfo info{};
            const HRESULT result = disturbed([&] { return service->GetImageFileInfo(name.get(), &info); });
            EXPECT_EQ(result != S_OK, IsAllZero(info)) << path;
            const Outcome outcome{result, result == S_OK ? TextOf(info) : std::string()};
            service->FreeImageFileInfo(&info);
            return outcome;
          }};
}

Operation ReadingTrack(const std::string& path) {
  return {"ExtractTrackToStream " + path,
          {S_FALSE, E_OUTOFMEMORY, kDeviceError, kFileNotFound},
          [=](const Disturbed& disturbed) {
            Scene scene(path);
            ComPtr<IStream> stream;
            std::string bytes(200000, '\0');
            const HRESULT result = disturbed([&] {
              const HRESULT opened = OpenTrack(scene, stream.Receive());
              return opened == S_OK ? ReadToEnd(stream.Get(), &bytes) : opened;
            });
            return Outcome{result, stream ? bytes : std::string()};
          }};
}

std::vector<Operation> OtherOperations(const std::string& folder) {
  std::vector<Operation> operations;
  for (const Row& row : kRows) {
    operations.push_back({row.name, row.failures, [path = folder + "/album.cue", &row](const Disturbed& disturbed) {
                            std::ofstream(path + ".made");
                            Scene scene(path);
                            const HRESULT result = disturbed([&] { return row.call(scene); });
                            return Outcome{result, scene.Told(result)};
                          }});
  }
  return operations;
}

long Sweep(const Operation& operation, FaultPoints* points, Failure failure, const std::function<void()>& before) {
  before();
  const Outcome good = operation.run([](const auto& call) { return call(); });
  for (long point = 1;; ++point) {
    before();
    const long blocks = Memory().blocks;
    const int descriptors = OpenDescriptors();
    const LONG objects = Module().LockCount();
    {
      const Outcome outcome = operation.run([&](const auto& call) {
        points->Start(point, failure == Failure::AndAfter);
        const HRESULT result = call();
        points->Stop();
        return result;
      });
      const auto& codes = operation.failures;
      const bool documented = std::find(codes.begin(), codes.end(), outcome.result) != codes.end();
      const bool same = outcome.result == good.result && outcome.told == good.told;
      const bool harmless = failure == Failure::Harmless || !points->Reached();
      EXPECT_TRUE(outcome.result == good.result || (documented && good.told.starts_with(outcome.told)))
          << operation.name << " at " << point << ": " << std::hex << outcome.result;
      EXPECT_TRUE(same || !harmless) << operation.name << " at " << point << ": " << std::hex << outcome.result;
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
