#include "toc/toc_writer.h"

#include <algorithm>
#include <string_view>

#include "cdtext/decoder.h"
#include "disc/track_table.h"
#include "foundation/byte_view.h"
#include "foundation/path_operations.h"
#include "foundation/strings.h"
#include "platform/paths.h"
#include "platform/text.h"
#include "toc/settings_document.h"
#include "toc/toc_schema.h"

namespace {

constexpr LONG kSubchannelBytes = 96;

bool HasAllSheets(const zsimagefileinfo& info) noexcept {
  if (info.pZSCueSheet[0] == nullptr || info.nSessions > kMaxSessions) {
    return false;
  }
  for (std::size_t i = 0; i < info.nSessions; ++i) {
    const ZSCUESHEET* sheet = info.pZSCueSheet[i];
    if (sheet == nullptr || (sheet->nTracks != 0 && sheet->pZSTracks == nullptr)) {
      return false;
    }
  }
  return true;
}

/// Returns the path of a companion of a TOC file.
std::string CompanionPath(const std::string& path, std::string_view extension) {
  std::string companion = platform::Upper(path);
  RenameExtension(&companion, extension);
  return companion;
}

std::string CompanionName(const std::string& path, std::string_view extension) {
  return platform::FileName(CompanionPath(path, extension));
}

std::string ModeName(ZSMODETYPE mode) {
  const auto* known = std::ranges::find(toc::kModes, IsMode2(mode) ? ZSMODE_2 : mode, &toc::Mode::mode);
  return known == std::end(toc::kModes) ? std::string() : std::string(known->name);
}

void AddImage(const std::string& path, const zsimagefileinfo& info, CZSSettingsDocument* document) {
  const bool subchannel = (info.lMask & ZSIMAGEMASK_SUBCHANNEL) != 0;
  document->SetValue(toc::kVersion, toc::kFormatVersion);
  document->SetValue(toc::kBlockSize, static_cast<LONG>(info.ZSBlockSize));
  document->SetValue(toc::kDataScrambled, 0);
  document->SetValue(toc::kSubchannelSize, subchannel ? kSubchannelBytes : 0);
  document->SetValue(toc::kBinaryFile, CompanionName(path, ".BIN"));
  if (subchannel) {
    document->SetValue(toc::kSubFile, CompanionName(path, ".SUB"));
  }
  if ((info.lMask & ZSIMAGEMASK_CDG) != 0) {
    document->SetValue(toc::kCdgFile, CompanionName(path, ".CDG"));
  }
  const std::string catalog = NarrowText(info.pZSCueSheet[0]->ZSCDTEXT.bstrMCN);
  if (!catalog.empty()) {
    document->SetValue(toc::kCatalog, catalog);
  }
  document->SetValue(toc::kSessionCount, info.nSessions);
}

void AddTrack(const std::string& node, const ZSTRACK& track, CZSSettingsDocument* document) {
  const auto set = [&](const char* key, const auto& value) { document->SetValue((node + ":" + key).c_str(), value); };
  set(toc::kMode, ModeName(track.Mode));
  set(toc::kFlags, LONG{track.Flags});
  const std::string isrc = NarrowText(track.bstrISRC);
  if (!isrc.empty()) {
    set(toc::kIsrc, isrc);
  }
  set(toc::kPregap, LONG{track.Pregap});
  set(toc::kBeginData, ULONG{track.dwLBA});
  set(toc::kEndData, ULONG{track.dwEndLBA});
  set(toc::kPostgap, LONG{track.Postgap});
}

void AddSession(LONG number, const ZSCUESHEET& sheet, CZSSettingsDocument* document) {
  const std::string session = std::string(toc::kSessions) + ":" + toc::SessionNode(number);
  document->SetValue((session + ":" + toc::kTracks).c_str(), ULONG{sheet.nTracks});
  for (UINT i = 0; i < sheet.nTracks; ++i) {
    const ZSTRACK& track = sheet.pZSTracks[i];
    AddTrack(session + ":" + toc::TrackNode(static_cast<LONG>(track.TNO)), track, document);
  }
}

/// Returns two digits and a blank for each byte.
std::string Hexadecimal(ByteView bytes) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string text;
  for (const BYTE byte : std::span(bytes.Data(), bytes.Size())) {
    text += {kDigits[byte >> 4], kDigits[byte & 0x0F], ' '};
  }
  return text;
}

void AddCDText(ByteView packs, CZSSettingsDocument* document) {
  const std::size_t count = packs.Size() / kPackSize + (packs.Size() % kPackSize != 0 ? 1 : 0);
  document->SetValue(toc::kPackCount, count);
  document->SetValue(toc::kPackBytes, packs.Size());
  for (std::size_t i = 0; i < count; ++i) {
    const std::string path = std::string(toc::kPacks) + ":" + toc::PackKey(static_cast<ULONG>(i + 1));
    document->SetValue(path.c_str(), Hexadecimal(packs.Part(i * kPackSize, kPackSize)));
  }
}

} // namespace

HRESULT CreateTOCImage(const std::string& path, zsimagefileinfo* info, zsmmccdtext* pCDText, UINT nLength) {
  if (!HasAllSheets(*info)) {
    return ZSE_FAILED;
  }
  const bool cdText = pCDText != nullptr && nLength != 0;
  CZSSettingsDocument document;
  AddImage(path, *info, &document);
  for (LONG i = 0; i < info->nSessions; ++i) {
    AddSession(i + 1, *info->pZSCueSheet[i], &document);
  }
  if (cdText) {
    AddCDText(ByteView(pCDText, nLength), &document);
  }
  const BSTR binaryFile = NewBstr(CompanionPath(path, ".BIN"));
  SysFreeString(info->bstrImageBinaryFile);
  info->bstrImageBinaryFile = binaryFile;
  if (cdText) {
    info->lMask |= ZSIMAGEMASK_CDTEXT;
  }
  document.Save(path);
  return S_OK;
}
