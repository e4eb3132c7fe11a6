#include <regex>
#include <thread>

#include "builders/ccd_builder.h"
#include "foundation/module.h"
#include "platform/files.h"
#include "support/test.h"

namespace {

namespace fs = std::filesystem;

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

struct Operation {
  std::string name;
  std::vector<HRESULT> failures; ///< Results that it may return if a point fails; S_OK if it may then deliver less.
  HRESULT (*call)(Scene& scene); ///< Reads its arguments from the scene and delivers into it.
  std::string image = {};
};

/// Results of reading if a file fails, or memory for its name. A disc is read without CD-Text, or a track without
/// indexes, if there is no memory for them.
const std::vector<HRESULT> kReading = {S_OK,       ZSE_CANNOTOPENIMAGE, ZSE_BADIMAGE, ZSE_FILENOTFOUND,
                                       ZSE_FAILED, ZSE_OUTOFRESOURCES,  E_OUTOFMEMORY};
const std::vector<HRESULT> kNoMemory = {E_OUTOFMEMORY};

std::string ToText(const ZSCUESHEET& sheet) { return testing::PrintToString(std::pair(Texts(sheet), Describe(sheet))); }

std::string ToText(const zsimagefileinfo& info) {
  std::string text = Narrow(info.bstrImageBinaryFile) + " mask " + std::to_string(LONG{info.lMask}) + " type " +
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

/// All other operations, on an album of two tracks with CD-Text. They also write files beside it.
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

/// The operations that read an image and, if it is not refused, its first track as a stream.
std::vector<Operation> Readings(const std::string& path) {
  std::vector<Operation> readings = {{"GetImageFileInfo", kReading,
                                      [](Scene& s) { return s.images->GetImageFileInfo(s.source.get(), &*s.read); },
                                      path}};
  if (!path.ends_with(".bwt")) {
    const HRESULT deviceError = HRESULT_FROM_WIN32(ERROR_IO_DEVICE);
    const HRESULT fileNotFound = HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
    readings.push_back({"ExtractTrackToStream", {S_FALSE, E_OUTOFMEMORY, deviceError, fileNotFound}, ReadTrack, path});
  }
  return readings;
}

struct Outcome {
  HRESULT result = 0;
  std::string delivered; ///< As text. A failure may deliver the start of a stream and nothing else.

  bool operator==(const Outcome&) const = default;
};

/// Runs an operation on a new scene. Arguments as for FaultPoints::Start.
Outcome Perform(const Operation& operation, FaultPoints* points, long failAt = 0, bool andAfter = false) {
  Scene scene(operation.image);
  points->Start(failAt, andAfter);
  const HRESULT result = operation.call(scene);
  points->Stop();
  return {result, DeliveredText(scene, result)};
}

/// Counts what a run must release: blocks of memory, descriptors, objects.
std::tuple<long, int, LONG> Held() { return {Memory().blocks, OpenDescriptors(), Module().LockCount()}; }

/// Removes what a record lacks if there is no memory for its texts and indexes.
std::string WithoutTexts(const std::string& delivered) {
  return std::regex_replace(delivered, std::regex(R"(mask \d+| index [-,\d]*|"[^"]*\|[^"]*")"), "");
}

/// Whether an operation may end like this if memory or a file fails.
bool IsAllowed(const Outcome& outcome, const Outcome& undisturbed, const Operation& operation, bool memoryFails) {
  const auto& codes = operation.failures;
  const bool documented = std::find(codes.begin(), codes.end(), outcome.result) != codes.end();
  if (outcome.result != undisturbed.result) { // It failed. A stream has delivered the start of its bytes.
    return documented && undisturbed.delivered.starts_with(outcome.delivered);
  }
  // The operation continued. It may ignore a file, such as a companion. Without memory, texts and indexes may be
  // missing if that is documented.
  return !memoryFails || (documented && WithoutTexts(outcome.delivered) == WithoutTexts(undisturbed.delivered));
}

enum class Failure {
  Once,     ///< One point.
  AndAfter, ///< One point and all that follow it.
  Harmless, ///< One point, in a way that must change nothing.
};

/// Calls a function with each file of a folder whose name begins with `stem`.
template <class Call> void ForEachFile(const fs::path& folder, const std::string& stem, Call call) {
  for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
    if (entry.path().filename().string().starts_with(stem)) {
      call(entry.path());
    }
  }
}

/// Copies the samples to a folder of its own, which the tests may change.
class Failures : public testing::Test {
protected:
  Failures() {
    Restore("");
    const std::string packs = m_folder.Read("album.cdt");
    m_folder.Write("texts.ccd", WithPacks(m_folder.Read("sessions.ccd"), {packs.begin(), packs.end() - 1}));
    m_folder.Write("texts.img", m_folder.Read("sessions.img"));
  }
  void TearDown() override {
    std::cout << m_points << " failure points\n";
    EXPECT_GT(m_points, 0);
  }
  void Restore(const std::string& stem) const {
    ForEachFile(SAMPLE_IMAGES, stem, [this](const fs::path& file) {
      fs::copy_file(file, m_folder.Path(file.filename().string()), fs::copy_options::overwrite_existing);
    });
  }

  /// Runs an operation with its first, second, third... point failing, until a run does not reach the point. Expects
  /// that each outcome is allowed and that a run releases all it holds.
  /// @param before Called before each run.
  void Sweep(
      const Operation& operation, FaultPoints* points, Failure failure, const std::function<void()>& before = [] {}) {
    before();
    const Outcome undisturbed = Perform(operation, points);
    const bool memoryFails = points == &Memory().faults;
    for (long point = 1; point == 1 || points->Reached(); ++point, ++m_points) {
      before();
      const auto held = Held();
      HRESULT result = S_OK;
      bool isLess = false;
      {
        const Outcome outcome = Perform(operation, points, point, failure == Failure::AndAfter);
        const bool disturbed = points->Reached() && failure != Failure::Harmless;
        ASSERT_TRUE(outcome == undisturbed || (disturbed && IsAllowed(outcome, undisturbed, operation, memoryFails)))
            << operation.name << " of " << operation.image << " at " << point << ": " << std::hex << outcome.result;
        result = outcome.result;
        isLess = outcome != undisturbed;
      }
      ASSERT_EQ(held, Held()) << operation.name << " leaks blocks, descriptors or objects at " << point;
      m_results.emplace(operation.name, result);
      m_lesser[fs::path(operation.image).filename()] += result == S_OK && isLess ? 1 : 0;
    }
  }
  void SweepAll(FaultPoints* points, std::initializer_list<Failure> failures) {
    std::vector<Operation> operations = kOtherOperations;
    for (Operation& operation : operations) {
      operation.image = m_folder.Path("album.cue");
    }
    std::vector<std::string> images = kSampleImages;
    images.push_back("texts.ccd");
    for (const std::string& image : images) {
      const std::vector<Operation> readings = Readings(m_folder.Path(image));
      operations.insert(operations.end(), readings.begin(), readings.end());
    }
    for (const Operation& operation : operations) {
      for (const Failure failure : failures) {
        Sweep(operation, points, failure);
      }
    }
  }

  TemporaryFolder m_folder;
  long m_points = 0;
  std::set<std::pair<std::string, HRESULT>> m_results;
  std::map<std::string, int> m_lesser; ///< For each image, how often an operation succeeded and delivered less.
};

TEST_F(Failures, EveryAllocation) {
  SweepAll(&Memory().faults, {Failure::Once, Failure::AndAfter});
  for (const std::string operation : {"AnalyzeCueSheet", "AnalyzeCueSheet of a plain image"}) {
    EXPECT_TRUE(m_results.contains({operation, ZSE_OUTOFRESOURCES})) << operation;
  }
  for (const std::string image : {"native.zsi", "texts.ccd"}) {
    EXPECT_LE(20, m_lesser[image]) << image << " is read without texts";
  }
}

TEST_F(Failures, EveryFileCall) {
  for (const int error : {EIO, ENOENT}) {
    FaultyFiles files([=] { return error; });
    SweepAll(&files.points, {Failure::Once, Failure::AndAfter});
  }
}

/// A description that cannot be read to its end must not become a smaller disc, and a companion that cannot be looked
/// up must not be ignored. The type of the disc may differ: it depends on a sector that cannot be read.
TEST_F(Failures, DeviceErrorNeverShrinksADisc) {
  std::string native = m_folder.Read("native.zsi");
  m_folder.Write("native.zsi", native.insert(native.find("<SESSIONS>"), "<SUBFILE>native.sub</SUBFILE>"));
  m_folder.Write("native.sub", "");
  std::string sheet = "FILE \"album.bin\" BINARY\n"; // Longer than the buffer of a text file.
  for (int i = 1; i <= 20; ++i) {
    sheet += "TRACK " + std::to_string(i) + " AUDIO\nINDEX 01 00:00:" + std::to_string(i) + "\n";
    sheet += "REM " + std::string(2000, '-') + "\n";
  }
  m_folder.Write("long.cue", sheet);
  m_folder.Write("long.sub", "");
  const std::regex type("type \\d+");
  for (const char* image :
       {"long.cue", "cdplus.nrg", "tao.nrg", "sessions.ccd", "inline.mds", "dvd.mds", "native.zsi"}) {
    const Operation reading = Readings(m_folder.Path(image))[0];
    for (const bool andAfter : {false, true}) {
      FaultyFiles files([] { return EIO; });
      const std::string undisturbed = std::regex_replace(Perform(reading, &files.points).delivered, type, "");
      for (long point = 1; point == 1 || files.points.Reached(); ++point, ++m_points) {
        const Outcome outcome = Perform(reading, &files.points, point, andAfter);
        EXPECT_TRUE(outcome.result != S_OK || std::regex_replace(outcome.delivered, type, "") == undisturbed)
            << image << " at " << point << ": " << outcome.delivered;
      }
    }
  }
}

/// A signal interrupts each call in turn, and reads and writes transfer at most 2000 bytes.
TEST_F(Failures, InterruptedAndShortCallsChangeNothing) {
  FaultyFiles files([] { return EINTR; }, 2000);
  SweepAll(&files.points, {Failure::Harmless});
}

/// At each file call in turn, another program removes, empties, cuts, extends or overwrites the files of the image.
TEST_F(Failures, FilesMayChangeWhileRead) {
  void (*const kChanges[])(const fs::path&) = {
      [](const fs::path& file) { fs::remove(file); },
      [](const fs::path& file) { fs::resize_file(file, 0); },
      [](const fs::path& file) { fs::resize_file(file, fs::file_size(file) / 2); },
      [](const fs::path& file) { fs::resize_file(file, fs::file_size(file) * 3 + 1); },
      [](const fs::path& file) { fs::copy_file(SAMPLE_IMAGES "/tao.nrg", file, fs::copy_options::overwrite_existing); },
  };
  for (const std::string& image : kSampleImages) {
    const std::string stem = image.substr(0, image.find('.') + 1);
    for (const auto change : kChanges) {
      FaultyFiles files([&, change] {
        ForEachFile(m_folder.Path(""), stem, change);
        return 0;
      });
      const auto restore = [&] { Restore(stem); };
      for (const Operation& reading : Readings(m_folder.Path(image))) {
        Sweep(reading, &files.points, Failure::Once, restore);
      }
    }
  }
}

/// Each thread reads with its own objects, from the same files, and shares references to one object with the others.
TEST(Threads, ReadTheSameImagesAtOnce) {
  FaultPoints none;
  std::vector<std::pair<Operation, std::string>> expected;
  for (const std::string& image : kSampleImages) {
    for (const Operation& reading : Readings(SAMPLE_IMAGES "/" + image)) {
      expected.emplace_back(reading, Perform(reading, &none).delivered);
    }
  }
  const ComPtr<IZSImageFile> shared = NewImageFileService();
  std::vector<std::jthread> threads;
  for (std::size_t thread = 0; thread < 4; ++thread) {
    threads.emplace_back([&, thread] {
      for (std::size_t i = 0; i < 3 * expected.size(); ++i) {
        const auto& [reading, delivered] = expected[(i + 5 * thread) % expected.size()];
        EXPECT_TRUE(delivered == Perform(reading, &none).delivered) << reading.image;
        for (int round = 0; round < 50; ++round) {
          ComPtr<IUnknown> identity;
          EXPECT_EQ(S_OK, shared->QueryInterface(IID_IUnknown, identity.ReceiveVoid()));
        }
      }
    });
  }
  threads.clear();
  shared->AddRef();
  EXPECT_EQ(1U, shared->Release());
}

} // namespace
