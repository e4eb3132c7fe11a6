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
#include "support/counting_environment.h"
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

std::string TextOf(const ZSCUESHEET& sheet) {
  std::string text = "sheet " + Narrow(sheet.ZSCDTEXT.bstrMCN) + TextsOf(sheet.ZSCDTEXT);
  for (UINT i = 0; i < sheet.nTracks; ++i) {
    const ZSTRACK& track = sheet.pZSTracks[i];
    text += Describe(track) + ' ' + Narrow(track.bstrISRC) + TextsOf(track);
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

std::string ContentOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// A new object by its class, as any host makes it.
template <class I> Operation Creating(const OLECHAR* progId, REFIID iid) {
  return {"CoCreateInstance", {E_OUTOFMEMORY, ZSE_OUTOFRESOURCES}, [=](const Disturbed& disturbed) {
            ComPtr<I> object;
            const HRESULT result = disturbed([&] {
              CLSID clsid{};
              const HRESULT found = CLSIDFromProgID(progId, &clsid);
              return FAILED(found) ? found : CoCreateInstance(clsid, nullptr, CLSCTX_ALL, iid, object.ReceiveVoid());
            });
            EXPECT_EQ(result == S_OK, static_cast<bool>(object));
            return Outcome{result, {}};
          }};
}

/// What operations on one image work with.
struct Scene {
  explicit Scene(const std::string& path) : record(path), source(Wide(path)), target(Wide(path + ".made")) {}

  ComPtr<IZSImageFile> images = NewImageFileService();
  ComPtr<IZSCueSheet> sheets = NewCueSheetService();
  ImageRecord record;
  UniqueBstr source;
  UniqueBstr target;
};

/// An operation on the record of an image that writes to a file, where it writes at all.
Operation OnImage(const char* name, const std::string& image, std::vector<HRESULT> failures,
                  std::function<HRESULT(Scene& scene)> call, std::function<std::string(Scene& scene)> told) {
  return {name, std::move(failures), [=](const Disturbed& disturbed) {
            Scene scene(image);
            std::ofstream(image + ".made");
            const HRESULT result = disturbed([&] { return call(scene); });
            return Outcome{result, FAILED(result) ? std::string() : told(scene)};
          }};
}

std::string FileMade(Scene& scene) { return ContentOf(Narrow(scene.target.get())); }
std::string RecordNow(Scene& scene) { return TextOf(*scene.record); }

Operation Cloning(const std::string& image) {
  return {"IZSImageFile::Clone", {ZSE_OUTOFRESOURCES, E_OUTOFMEMORY}, [=](const Disturbed& disturbed) {
            Scene scene(image);
            zsimagefileinfo copy{};
            const HRESULT result = disturbed([&] { return scene.images->Clone(&*scene.record, &copy); });
            EXPECT_EQ(result != S_OK, IsAllZero(copy));
            const Outcome outcome{result, result == S_OK ? TextOf(copy) : std::string()};
            scene.images->FreeImageFileInfo(&copy);
            return outcome;
          }};
}

Operation CloningSheet(const std::string& image) {
  return {"IZSCueSheet::Clone", {E_OUTOFMEMORY}, [=](const Disturbed& disturbed) {
            Scene scene(image);
            ZSCUESHEET* copy = nullptr;
            scene.sheets->PrepareTracks(Wide(image).get(), &scene.record.Sheet());
            const HRESULT result = disturbed([&] { return scene.sheets->Clone(&scene.record.Sheet(), &copy); });
            EXPECT_EQ(result == S_OK, copy != nullptr);
            Outcome outcome{result, {}};
            if (copy != nullptr) {
              EXPECT_EQ(TextsOf(scene.record.Sheet().ZSCDTEXT), TextsOf(copy->ZSCDTEXT));
              outcome.told = TextOf(*copy);
              scene.sheets->FreeZSCueSheet(copy, VARIANT_TRUE);
            }
            return outcome;
          }};
}

Operation Merging(const std::string& image) {
  return {"IZSCueSheet::MergeTracks", {E_OUTOFMEMORY}, [=](const Disturbed& disturbed) {
            Scene scene(image);
            scene.sheets->PrepareTracks(Wide(image).get(), &scene.record.Sheet());
            VARIANT source = TracksOf(scene.record.Sheet());
            VARIANT target = TracksOf(scene.record.Sheet());
            const HRESULT result = disturbed([&] { return scene.sheets->MergeTracks(&source, &target); });
            const UINT tracks = scene.record.Sheet().nTracks;
            EXPECT_EQ(result == S_OK, source.parray == nullptr);
            EXPECT_EQ(result == S_OK ? 2 * tracks : tracks, target.parray->rgsabound[0].cElements);
            VariantClear(&source);
            VariantClear(&target);
            return Outcome{result, {}};
          }};
}

Operation Encoding(const std::string& image, VARIANT_BOOL withSubChannel) {
  return {"IZSCueSheet::EncodeCDText", {E_OUTOFMEMORY}, [=](const Disturbed& disturbed) {
            Scene scene(image);
            BYTE* data = nullptr;
            LONG length = 0;
            const HRESULT result = disturbed(
                [&] { return scene.sheets->EncodeCDText(&scene.record.Sheet(), withSubChannel, &data, &length); });
            EXPECT_EQ(result == S_OK, data != nullptr);
            const TaskMemory<BYTE> owner(data);
            return Outcome{result, std::string(reinterpret_cast<char*>(data), static_cast<std::size_t>(length))};
          }};
}

Operation Analyzing(const std::string& path) {
  return {"IZSCueSheet::AnalyzeCueSheet " + path, kReading, [=](const Disturbed& disturbed) {
            const ComPtr<IZSCueSheet> service = NewCueSheetService();
            const TestSheet sheet;
            const UniqueBstr name = Wide(path);
            const HRESULT result = disturbed([&] { return service->AnalyzeCueSheet(name.get(), sheet.Get()); });
            return Outcome{result, result == S_OK ? TextOf(*sheet.Get()) : std::string()};
          }};
}

Operation FindingDataFile(const std::string& image) {
  return {"IZSCueSheet::GetBinaryFile", {E_OUTOFMEMORY}, [=](const Disturbed& disturbed) {
            const ComPtr<IZSCueSheet> service = NewCueSheetService();
            const UniqueBstr path = Wide(image);
            BSTR name = nullptr;
            const HRESULT result = disturbed([&] { return service->GetBinaryFile(path.get(), &name); });
            EXPECT_EQ(result == S_OK, name != nullptr);
            const UniqueBstr owner(name);
            return Outcome{result, name == nullptr ? std::string() : Narrow(name)};
          }};
}

LONG TakesItsValueOrTheReason(UINT /*kind*/, ZSSTREAMPROGRESS* /*progress*/, ULONG /*userParam*/, VARIANT user) {
  EXPECT_TRUE(user.vt == VT_BSTR || (user.vt == VT_ERROR && user.scode == E_OUTOFMEMORY));
  return 0;
}

HRESULT OpenTrack(Scene& scene, IStream** stream) {
  zsimagefileinfo& info = *scene.record;
  ZSTRACK& track = scene.record.Track(0);
  VARIANT user{};
  user.vt = VT_BSTR;
  user.bstrVal = info.bstrImageBinaryFile;
  const UINT block = track.Mode == ZSMODE_AUDIO ? 0 : 2048;
  return scene.sheets->ExtractTrackToStream(info.bstrImageBinaryFile, info.bstrImageBinaryFile, &info, &track, block,
                                            reinterpret_cast<LONG*>(TakesItsValueOrTheReason), 0, user, stream);
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

} // namespace

const std::vector<std::string> kSampleImages = {"plain.iso",    "mixed.cue",  "album.cue",  "bridge.cue",
                                                "cdplus.nrg",   "tao.nrg",    "inline.mds", "dvd.mds",
                                                "sessions.ccd", "native.zsi", "refused.bwt"};

Operation ReadingImage(const std::string& path) {
  return {"IZSImageFile::GetImageFileInfo " + path, kReading, [=](const Disturbed& disturbed) {
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
  return {"IZSCueSheet::ExtractTrackToStream " + path,
          {S_FALSE, E_OUTOFMEMORY, kDeviceError, kFileNotFound},
          [=](const Disturbed& disturbed) {
            Scene scene(path);
            ComPtr<IStream> stream;
            std::string bytes(200000, '\0');
            bool opened = false;
            const HRESULT result = disturbed([&] {
              const HRESULT open = OpenTrack(scene, stream.Receive());
              opened = open == S_OK;
              return opened ? ReadToEnd(stream.Get(), &bytes) : open;
            });
            EXPECT_EQ(opened, static_cast<bool>(stream)) << path;
            return Outcome{result, opened ? bytes : std::string()};
          }};
}

std::vector<Operation> OtherOperations(const std::string& folder) {
  const std::string album = folder + "/album.cue";
  const std::string packs = ContentOf(folder + "/album.cdt");
  const auto writeAs = [](zsimgformat format) {
    return [=](Scene& scene) {
      scene.record->ZSImageFormat = format;
      return scene.images->CreateTOCFile(scene.target.get(), &*scene.record, nullptr, 0, nullptr, 0);
    };
  };
  return {
      Creating<IZSImageFile>(kProgIdImageFile, IID_IZSImageFile),
      Creating<IZSCueSheet>(kProgIdCueSheet, IID_IZSCueSheet),
      OnImage(
          "IZSImageFile::SetCallBack", album, {},
          [](Scene& scene) {
            VARIANT text{};
            text.vt = VT_BSTR;
            text.bstrVal = scene.target.get();
            return scene.images->SetCallBack(nullptr, 0, text);
          },
          RecordNow),
      OnImage("IZSImageFile::CreateTOCFile CUE", album, {E_OUTOFMEMORY, E_FAIL}, writeAs(ZSIMAGEFORMAT_CUE), FileMade),
      OnImage("IZSImageFile::CreateTOCFile ZSI", album, kNoMemory, writeAs(ZSIMAGEFORMAT_ZSI), FileMade),
      OnImage(
          "IZSImageFile::FreeImageFileInfo", album, kNoMemory,
          [](Scene& scene) { return scene.images->FreeImageFileInfo(&*scene.record); }, RecordNow),
      OnImage(
          "IZSImageFile::CalculateDiscID", album, kNoMemory,
          [](Scene& scene) { return scene.images->CalculateDiscID(&*scene.record); }, RecordNow),
      Cloning(album),
      OnImage(
          "IZSCueSheet::CreateCueFile", album, {E_OUTOFMEMORY, E_FAIL},
          [](Scene& scene) { return scene.sheets->CreateCueFile(scene.target.get(), &scene.record.Sheet()); },
          FileMade),
      Analyzing(album),
      Analyzing(folder + "/mixed.bin"),
      OnImage(
          "IZSCueSheet::AnalyzeCDText", album, {S_FALSE, E_OUTOFMEMORY},
          [](Scene& scene) { return scene.sheets->AnalyzeCDText(scene.source.get(), &scene.record.Sheet()); },
          RecordNow),
      OnImage(
          "IZSCueSheet::AnalyzeCDTextFromData", folder + "/mixed.cue", {},
          [=](Scene& scene) {
            BYTE data[256];
            std::copy(packs.begin(), packs.end(), data);
            return scene.sheets->AnalyzeCDTextFromData(data, static_cast<UINT>(packs.size()), &scene.record.Sheet());
          },
          RecordNow),
      FindingDataFile(album),
      OnImage(
          "IZSCueSheet::PrepareTracks", album, kNoMemory,
          [](Scene& scene) { return scene.sheets->PrepareTracks(scene.target.get(), &scene.record.Sheet()); },
          RecordNow),
      OnImage(
          "IZSCueSheet::ExtractStreamToFile", album, {S_FALSE, E_OUTOFMEMORY},
          [](Scene& scene) {
            ComPtr<IStream> stream;
            const HRESULT opened = OpenTrack(scene, stream.Receive());
            return opened == S_OK ? scene.sheets->ExtractStreamToFile(stream.Get(), scene.target.get()) : opened;
          },
          FileMade),
      Merging(album),
      OnImage(
          "IZSCueSheet::AllocCueSheet", album, kNoMemory,
          [](Scene& scene) {
            ZSCUESHEET* sheet = nullptr;
            const HRESULT result = scene.sheets->AllocCueSheet(&sheet);
            return sheet == nullptr ? result : scene.sheets->FreeZSCueSheet(sheet, VARIANT_TRUE);
          },
          RecordNow),
      Encoding(album, VARIANT_FALSE),
      Encoding(album, VARIANT_TRUE),
      CloningSheet(album),
      OnImage(
          "IZSCueSheet::CloneCDText", album, kNoMemory,
          [](Scene& scene) {
            ::ZSCDTEXT copy{};
            const HRESULT result = scene.sheets->CloneCDText(&scene.record.Sheet().ZSCDTEXT, &copy);
            scene.sheets->FreeZSCDText(&copy);
            return result;
          },
          RecordNow),
      OnImage(
          "IZSCueSheet::CopyCDText", folder + "/tao.nrg", kNoMemory,
          [=](Scene& scene) {
            const ImageRecord& record = scene.record;
            ZSCUESHEET other = record.Sheet();
            other.pZSTracks = nullptr;
            other.nTracks = 0;
            other.ZSCDTEXT = {};
            const HRESULT result = scene.sheets->CopyCDText(&record.Sheet(), &other);
            scene.sheets->FreeZSCDText(&other.ZSCDTEXT);
            return result;
          },
          RecordNow),
  };
}

long Sweep(const Operation& operation, const std::function<void(long point)>& start, const std::function<bool()>& stop,
           const std::function<void()>& before) {
  before();
  const Outcome good = operation.run([](const auto& call) { return call(); });
  for (long point = 1;; ++point) {
    before();
    const long blocks = Memory().blocks;
    const int descriptors = OpenDescriptors();
    const LONG objects = Module().LockCount();
    bool met = false;
    {
      const Outcome outcome = operation.run([&](const auto& call) {
        start(point);
        const HRESULT result = call();
        met = stop();
        return result;
      });
      const bool documented = std::count(operation.failures.begin(), operation.failures.end(), outcome.result) != 0;
      EXPECT_TRUE(outcome.result == good.result || documented)
          << operation.name << " at " << point << ": " << std::hex << outcome.result;
      EXPECT_TRUE(outcome.result == good.result || good.told.starts_with(outcome.told))
          << operation.name << " at " << point;
      EXPECT_TRUE(met || (outcome.result == good.result && outcome.told == good.told)) << operation.name;
    }
    if (testing::Test::HasFailure()) { // Whose message takes memory.
      return point;
    }
    EXPECT_EQ(blocks, Memory().blocks) << operation.name << " leaks memory at " << point;
    EXPECT_EQ(descriptors, OpenDescriptors()) << operation.name << " leaks files at " << point;
    EXPECT_EQ(objects, Module().LockCount()) << operation.name << " leaks objects at " << point;
    if (!met) {
      return point - 1;
    }
  }
}
