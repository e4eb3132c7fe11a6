#include "support/discs.h"

#include <stdlib.h>

#include <fstream>
#include <stdexcept>
#include <string_view>

#include "builders/ccd_builder.h"
#include "builders/mds_builder.h"
#include "builders/nrg_builder.h"
#include "disc/msf.h"
#include "platform/class_objects.h"
#include "platform/text.h"

namespace {

DiscPlan Plan(int sessions, int tracksOfSession) {
  DiscPlan disc;
  PlannedSession session(static_cast<std::size_t>(tracksOfSession));
  session.front().mode = ZSMODE_1;
  disc.sessions.assign(static_cast<std::size_t>(sessions), session);
  return disc;
}

void WriteBytes(const std::string& path, const std::vector<BYTE>& bytes) {
  WriteFile(path, std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
}

std::string Numbered(const char* format, int number) {
  char text[64];
  std::snprintf(text, sizeof(text), format, number);
  return text;
}

} // namespace

ScratchFolder::ScratchFolder() {
  std::string name = (std::filesystem::temp_directory_path() / "imagefile-bench-XXXXXX").string();
  if (::mkdtemp(name.data()) == nullptr) {
    throw std::runtime_error("cannot make a folder for the images");
  }
  m_folder = name;
}

ScratchFolder::~ScratchFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(m_folder, ignored);
}

void WriteFile(const std::string& path, std::string_view content) {
  std::ofstream file(path, std::ios::binary);
  file.write(content.data(), static_cast<std::streamsize>(content.size()));
  if (!file.flush()) {
    throw std::runtime_error("cannot write " + path);
  }
}

std::string CueText(const std::string& dataFile, int tracks) {
  std::string text = "CATALOG 4006381333931\r\nTITLE \"A long record\"\r\nPERFORMER \"The Benchmarks\"\r\nFILE \"" +
                     dataFile + "\" BINARY\r\n";
  for (int i = 0; i < tracks; ++i) {
    const int start = i * 20;
    text += Numbered("  TRACK %02d AUDIO\r\n", i + 1) + Numbered("    TITLE \"Song number %d\"\r\n", i + 1) +
            "    PERFORMER \"The Benchmarks\"\r\n" + Numbered("    ISRC DEA0126%05d\r\n", i % 100000) +
            Numbered("    INDEX 01 %02d", start / 4500) + Numbered(":%02d", start / 75 % 60) +
            Numbered(":%02d\r\n", start % 75);
  }
  return text;
}

std::string MakeDisc(const ScratchFolder& folder, const std::string& extension, int sessions, int tracksOfSession) {
  const std::string name = std::to_string(sessions) + "x" + std::to_string(tracksOfSession);
  const std::string path = folder.Path(name + "." + extension);
  const DiscPlan plan = Plan(sessions, tracksOfSession);
  if (extension == "iso") {
    WriteBytes(path, DiscSectors({{{{ZSMODE_1, 300, 0, 2048}}}}));
  } else if (extension == "nrg") {
    WriteBytes(path, NrgImage(plan));
  } else if (extension == "ccd") {
    WriteFile(path, CcdText(plan));
    WriteBytes(folder.Path(name + ".img"), DiscSectors(plan));
  } else if (extension == "mds") {
    WriteBytes(path, MdsOf(plan).Build());
    WriteBytes(folder.Path(name + ".mdf"), DiscSectors(plan));
  } else if (extension == "cue") {
    WriteFile(path, CueText(name + ".bin", sessions * tracksOfSession));
    WriteBytes(folder.Path(name + ".bin"), DiscSectors(plan));
  } else { // The component's own format is written by the component.
    Disc disc(MakeDisc(folder, "ccd", sessions, tracksOfSession));
    disc.Info()->ZSImageFormat = ZSIMAGEFORMAT_ZSI;
    disc.Images()->CreateTOCFile(Wide(path).get(), disc.Info(), nullptr, 0, nullptr, 0);
    WriteBytes(folder.Path(name + ".bin"), DiscSectors(plan));
  }
  return path;
}

template <class I> ComPtr<I> Create(const OLECHAR* progId, REFIID iid) {
  CLSID clsid{};
  ComPtr<I> object;
  if (FAILED(CLSIDFromProgID(progId, &clsid)) ||
      FAILED(CoCreateInstance(clsid, nullptr, CLSCTX_ALL, iid, object.ReceiveVoid()))) {
    throw std::runtime_error("cannot create an object of the component");
  }
  return object;
}
template ComPtr<IZSImageFile> Create(const OLECHAR* progId, REFIID iid);
template ComPtr<IZSCueSheet> Create(const OLECHAR* progId, REFIID iid);

UniqueBstr Wide(const std::string& text) {
  const std::u16string wide = MultiByteToWideChar(text);
  return UniqueBstr(SysAllocStringLen(wide.data(), static_cast<UINT>(wide.size())));
}

Disc::Disc(const std::string& path) {
  if (m_images->GetImageFileInfo(Wide(path).get(), &m_info) != S_OK) {
    throw std::runtime_error("cannot read " + path);
  }
}
