// Makes one small image of each kind, and the file CONTENTS, which describes each in one line.
#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>

#include "builders/bwt_builder.h"
#include "builders/ccd_builder.h"
#include "builders/mds_builder.h"
#include "builders/nrg_builder.h"
#include "builders/sectors.h"
#include "cuesheet/cue_sheet_interface.h"
#include "imagefile/image_file_interface.h"
#include "platform/bstr.h"
#include "platform/class_objects.h"
#include "platform/task_memory.h"
#include "platform/text.h"

namespace {

constexpr PlannedTrack kAudio{ZSMODE_AUDIO, 20, 0, 2352};
constexpr PlannedTrack kAudioWithPregap{ZSMODE_AUDIO, 12, 8, 2352};
constexpr PlannedTrack kRawData{ZSMODE_1, 20, 0, 2352};
constexpr PlannedTrack kRawXa{ZSMODE_2, 20, 0, 2352};

void Check(HRESULT result, const char* what) {
  if (result != S_OK) {
    throw std::runtime_error(std::string(what) + " failed");
  }
}

UniqueBstr Wide(const std::string& text) {
  const std::u16string wide = MultiByteToWideChar(text);
  return UniqueBstr(SysAllocStringLen(wide.data(), static_cast<UINT>(wide.size())));
}

template <class I> ComPtr<I> Create(const OLECHAR* progId, REFIID iid) {
  CLSID clsid{};
  ComPtr<I> object;
  Check(CLSIDFromProgID(progId, &clsid), "finding a class");
  Check(CoCreateInstance(clsid, nullptr, CLSCTX_ALL, iid, object.ReceiveVoid()), "creating an object");
  return object;
}

/// The folder of the samples, and the text of CONTENTS.
class Samples {
public:
  explicit Samples(std::filesystem::path folder) : m_folder(std::move(folder)) {
    std::filesystem::create_directories(m_folder);
  }

  std::string Path(const std::string& name) const { return (m_folder / name).string(); }

  void Write(const std::string& name, std::string_view content) const {
    std::ofstream file(m_folder / name, std::ios::binary);
    file.write(content.data(), static_cast<std::streamsize>(content.size()));
    if (!file.flush()) {
      throw std::runtime_error("cannot write " + Path(name));
    }
  }
  void Write(const std::string& name, const std::vector<BYTE>& content) const {
    Write(name, std::string_view(reinterpret_cast<const char*>(content.data()), content.size()));
  }

  void AddToContents(const std::string& name, const std::string& what) { m_contents += name + ": " + what + "\n"; }
  void WriteContents() const { Write("CONTENTS", m_contents); }

private:
  std::filesystem::path m_folder;
  std::string m_contents;
};

/// Returns the CD-Text packs of an album of two tracks, and the zero byte that ends a companion file.
std::vector<BYTE> AlbumPacks() {
  const ComPtr<IZSCueSheet> service = Create<IZSCueSheet>(kProgIdCueSheet, IID_IZSCueSheet);
  ZSCUESHEET* sheet = nullptr;
  Check(service->AllocCueSheet(&sheet), "creating a sheet");
  sheet->nTracks = 2;
  sheet->pZSTracks = AllocateCleared<ZSTRACK>(2);
  sheet->ZSCDTEXT.CDTextPresent = VARIANT_TRUE;
  sheet->ZSCDTEXT.Language = ZSCDTEXT_ENGLISH;
  sheet->ZSCDTEXT.bstrTitle = Wide("Made-up Sectors").release();
  sheet->ZSCDTEXT.bstrPerformer = Wide("The Builders").release();
  const char* titles[] = {"Pattern in Thirty-One", "Caf\xE9 at Sector Twenty"};
  for (std::size_t i = 0; i < 2; ++i) {
    sheet->pZSTracks[i].bstrTitle = Wide(titles[i]).release();
    sheet->pZSTracks[i].bstrPerformer = Wide("The Builders").release();
  }
  BYTE* data = nullptr;
  LONG length = 0;
  const HRESULT result = service->EncodeCDText(sheet, VARIANT_FALSE, &data, &length);
  const TaskMemory<BYTE> owned(data);
  service->FreeZSCueSheet(sheet, VARIANT_TRUE);
  Check(result, "encoding CD-Text");
  return {data, data + length};
}

/// Removes the zero byte that ends the packs of a companion file.
std::vector<BYTE> WithoutEndByte(std::vector<BYTE> packs) {
  packs.pop_back();
  return packs;
}

void MakeIso(Samples* samples) {
  samples->Write("plain.iso", DiscSectors({{{{ZSMODE_1, 24, 0, 2048}}}}));
  samples->AddToContents("plain.iso", "user data alone, with a volume descriptor in sector 16");
}

void MakeCueSheets(Samples* samples) {
  samples->Write("mixed.bin", DiscSectors({{{kRawData, kAudioWithPregap, kAudio}}}));
  samples->Write("mixed.cue", "CATALOG 4006381333931\r\nFILE \"Mixed.bin\" BINARY\r\n"
                              "  TRACK 01 MODE1/2352\r\n    INDEX 01 00:00:00\r\n"
                              "  TRACK 02 AUDIO\r\n    FLAGS DCP PRE\r\n    ISRC DEA012600001\r\n"
                              "    INDEX 00 00:00:20\r\n    INDEX 01 00:00:28\r\n"
                              "  TRACK 03 AUDIO\r\n    INDEX 01 00:00:40\r\n    INDEX 02 00:00:50\r\n");
  samples->AddToContents("mixed.cue",
                         "data before audio, a pregap, an index 2, flags, codes, a file name in another case");

  samples->Write("album.bin", DiscSectors({{{kAudio, kAudio}}}));
  samples->Write("album.cdt", AlbumPacks());
  samples->Write("album.sub", std::vector<BYTE>(std::size_t{40} * 96));
  samples->Write("album.cue", "CDTEXTFILE \"ALBUM.CDT\"\r\nFILE \"ALBUM.BIN\" BINARY\r\n"
                              "  TRACK 01 AUDIO\r\n    INDEX 01 00:00:00\r\n"
                              "  TRACK 02 AUDIO\r\n    INDEX 01 00:00:20\r\n");
  samples->AddToContents("album.cue", "audio with a CD-Text companion and a sub-channel file");

  samples->Write("bridge.bin", DiscSectors({{{kRawXa, kRawXa}}, "CD-RTOS CD-BRIDGE"}));
  samples->Write("bridge.cue", "FILE \"BRIDGE.BIN\" BINARY\r\n  TRACK 01 MODE2/2352\r\n    INDEX 01 00:00:00\r\n"
                               "  TRACK 02 MODE2/2352\r\n    INDEX 01 00:00:20\r\n");
  samples->AddToContents("bridge.cue", "a CD-Bridge disc, such as a Video CD");
}

void MakeNero(Samples* samples) {
  samples->Write("cdplus.nrg", NrgImage({{{kAudio, kAudioWithPregap}, {kRawXa}}}));
  samples->AddToContents("cdplus.nrg", "an audio session, then a data session (CD Plus), disc at once");

  NrgBuilder tracks;
  tracks.Sectors(DiscSectors({{{{ZSMODE_1, 20, 0, 2048}, kAudio}}}));
  tracks.TracksAtOnce({{0, 0, UHYPER{20} * 2048}, {7, 20, UHYPER{20} * 2352}}).SessionInfo(2);
  tracks.Chunk("CDTX", WithoutEndByte(AlbumPacks()));
  samples->Write("tao.nrg", tracks.Build(NrgFooter::Short));
  samples->AddToContents("tao.nrg", "track at once with CD-Text and the older footer");
}

void MakeCloneCd(Samples* samples) {
  const DiscPlan disc{{{kRawData}, {kRawData, kAudio}, {kRawXa}}};
  samples->Write("sessions.ccd", CcdText(disc));
  samples->Write("sessions.img", DiscSectors(disc));
  samples->Write("sessions.sub", std::vector<BYTE>(std::size_t{80} * 96));
  samples->AddToContents("sessions.ccd", "three sessions with a sub-channel file");
}

void MakeMediaDescriptor(Samples* samples) {
  const DiscPlan disc{{{{ZSMODE_1, 20, 0, 2448}, {ZSMODE_AUDIO, 20, 4, 2448}}}};
  samples->Write("inline.mds", MdsOf(disc).Build());
  samples->Write("inline.mdf", DiscSectors(disc));
  samples->AddToContents("inline.mds", "a mixed CD whose sectors contain their sub-channel");

  samples->Write("dvd.mds", MdsOfDvd(32).Build());
  samples->Write("dvd.mdf", DiscSectors({{{{ZSMODE_1, 32, 0, 2048}}}}));
  samples->AddToContents("dvd.mds", "a DVD");
}

void MakeBlindWrite(Samples* samples) {
  samples->Write("refused.bwt", BwtFile(3));
  samples->AddToContents("refused.bwt", "a description that is known and refused");
}

/// Writes the album as a native TOC file.
void MakeNative(Samples* samples) {
  const ComPtr<IZSImageFile> service = Create<IZSImageFile>(kProgIdImageFile, IID_IZSImageFile);
  zsimagefileinfo info{};
  Check(service->GetImageFileInfo(Wide(samples->Path("album.cue")).get(), &info), "reading the album");
  info.ZSImageFormat = ZSIMAGEFORMAT_ZSI;
  info.lMask = 0; // The native image has no sub-channel file.
  std::vector<BYTE> packs = WithoutEndByte(AlbumPacks());
  const HRESULT result =
      service->CreateTOCFile(Wide(samples->Path("native.zsi")).get(), &info, nullptr, 0,
                             reinterpret_cast<zsmmccdtext*>(packs.data()), static_cast<UINT>(packs.size()));
  service->FreeImageFileInfo(&info);
  Check(result, "writing the native file");
  samples->Write("native.bin", DiscSectors({{{kAudio, kAudio}}}));
  samples->AddToContents("native.zsi", "the component's own description, with CD-Text");
}

} // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "Usage: make_samples FOLDER\n";
    return 2;
  }
  try {
    Samples samples(argv[1]);
    MakeIso(&samples);
    MakeCueSheets(&samples);
    MakeNero(&samples);
    MakeCloneCd(&samples);
    MakeMediaDescriptor(&samples);
    MakeBlindWrite(&samples);
    MakeNative(&samples);
    samples.WriteContents();
  } catch (const std::exception& error) {
    std::cerr << "make_samples: " << error.what() << '\n';
    return 1;
  }
  return 0;
}
