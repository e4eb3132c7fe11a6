#include "commands/record_json.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <new>
#include <sstream>

#include "output/standard_output.h"
#include "output/terminal_text.h"
#include "platform/bstr.h"
#include "platform/text.h"

namespace {

// Fields of packed records come by value: a reference to one would be misaligned.
template <class T> Json Number(T value) { return value; }

Json Text(BSTR text) {
  return text == nullptr ? Json(nullptr) : Json(NarrowToUtf8(WideCharToMultiByte(BstrView(text))));
}

Json PieceToJson(const ZSFILESTRUCT& piece) {
  const ZSXA xa = piece.XA;
  return {{"dwFlags", Number(piece.dwFlags)},
          {"dwLBA", Number(piece.dwLBA)},
          {"dwEndLBA", Number(piece.dwEndLBA)},
          {"ZSBlockSize", Number(piece.ZSBlockSize)},
          {"bstrFileName", Text(piece.bstrFileName)},
          {"bstrLogicalPath", Text(piece.bstrLogicalPath)},
          {"ZSMode", Number(piece.ZSMode)},
          {"XA",
           {{"FileNumber", Number(xa.FileNumber)},
            {"ChannelNumber", Number(xa.ChannelNumber)},
            {"SubMode", Number(xa.SubMode)},
            {"CodeInformation", Number(xa.CodeInformation)}}},
          {"dwFromSeek64", Number(piece.dwFromSeek64)}};
}

Json PiecesToJson(const VARIANT& files) {
  if (files.vt != VT_ARRAY || files.parray == nullptr) {
    return nullptr;
  }
  const SafeArrayAccess access(files.parray);
  if (FAILED(access.Result())) {
    return nullptr;
  }
  Json pieces = Json::array();
  const auto* elements = access.Elements<ZSFILESTRUCT>();
  for (ULONG i = 0; i < files.parray->rgsabound[0].cElements; ++i) {
    pieces.push_back(PieceToJson(elements[i]));
  }
  return pieces;
}

Json IndexesToJson(const ZSTRACK& track) {
  if (track.pdwIndex == nullptr) {
    return nullptr;
  }
  Json indexes = Json::array();
  for (BYTE i = 0; i < track.nCountIndex; ++i) {
    indexes.push_back(Number(track.pdwIndex[i]));
  }
  return indexes;
}

/// Appends the texts that discs and tracks have.
template <class Record> void AddTexts(const Record& record, Json* json) {
  json->update({{"bstrTitle", Text(record.bstrTitle)},
                {"bstrComposer", Text(record.bstrComposer)},
                {"bstrPerformer", Text(record.bstrPerformer)},
                {"bstrSongwriter", Text(record.bstrSongwriter)},
                {"bstrArranger", Text(record.bstrArranger)},
                {"bstrGenre", Text(record.bstrGenre)},
                {"bstrMessage", Text(record.bstrMessage)}});
}

Json TrackToJson(const ZSTRACK& track) {
  Json json = {{"TNO", Number(track.TNO)},
               {"pdwIndex", IndexesToJson(track)},
               {"nCountIndex", Number(track.nCountIndex)},
               {"Pregap", Number(track.Pregap)},
               {"dwLBA", Number(track.dwLBA)},
               {"dwEndLBA", Number(track.dwEndLBA)},
               {"Postgap", Number(track.Postgap)},
               {"Mode", Number(track.Mode)},
               {"BlockSize", Number(track.BlockSize)},
               {"ImageBlockSize", Number(track.ImageBlockSize)},
               {"Flags", Number(track.Flags)},
               {"varFiles", PiecesToJson(track.varFiles)}};
  AddTexts(track, &json);
  json["bstrISRC"] = Text(track.bstrISRC);
  json["dwReserved64"] = Number(track.dwReserved64);
  return json;
}

Json DiscTextToJson(const ::ZSCDTEXT& text) {
  Json json = {{"CDTextPresent", text.CDTextPresent == VARIANT_TRUE}, {"bstrMCN", Text(text.bstrMCN)}};
  AddTexts(text, &json);
  json["Language"] = Number(text.Language);
  return json;
}

constexpr const char* kTracks = "pZSTracks";

/// A session without its tracks.
Json SheetToJson(const ZSCUESHEET& sheet) {
  return {{"nTracks", Number(sheet.nTracks)},
          {kTracks, Json::array()},
          {"ZSCDTEXT", DiscTextToJson(sheet.ZSCDTEXT)},
          {"ZSSESSIONFORMAT", Number(sheet.ZSSESSIONFORMAT)}};
}

void GiveTracks(const ZSCUESHEET& sheet, const JsonSink& sink) {
  for (UINT i = 0; i < sheet.nTracks; ++i) {
    sink(TrackToJson(sheet.pZSTracks[i]));
  }
}

/// Memory for the destructors of JSON values after an allocation has failed: they allocate, and end the process where
/// they cannot.
std::unique_ptr<char[]> g_reserve;

[[noreturn]] void GiveUpMemory() {
  std::set_new_handler(nullptr);
  g_reserve.reset();
  throw std::bad_alloc();
}

} // namespace

void PrintSheetJson(const ZSCUESHEET& sheet) {
  PrintJson(SheetToJson(sheet), false, kTracks,
            [&](unsigned /*array*/, const JsonSink& sink) { GiveTracks(sheet, sink); });
}

void PrintRecordJson(const zsimagefileinfo& info, bool isLine) {
  Json sheets = Json::array();
  for (USHORT i = 0; i < info.nSessions; ++i) {
    sheets.push_back(SheetToJson(*info.pZSCueSheet[i]));
  }
  const Json frame = {{"lMask", Number(info.lMask)},
                      {"bstrImageBinaryFile", Text(info.bstrImageBinaryFile)},
                      {"ZSImageFormat", Number(info.ZSImageFormat)},
                      {"ZSTYPEPROJECT", Number(info.ZSTYPEPROJECT)},
                      {"ZSBlockSize", Number(info.ZSBlockSize)},
                      {"pZSCueSheet", std::move(sheets)},
                      {"nSessions", Number(info.nSessions)},
                      {"dwSeekBegin64", Number(info.dwSeekBegin64)},
                      {"dwSeekEnd64", Number(info.dwSeekEnd64)},
                      {"nSubCount", Number(info.nSubCount)},
                      {"dwDiscID", Number(info.dwDiscID)},
                      {"dwDiscID2", Number(info.dwDiscID2)},
                      {"lReserved", Number(info.lReserved)}};
  PrintJson(frame, isLine, kTracks,
            [&](unsigned session, const JsonSink& sink) { GiveTracks(*info.pZSCueSheet[session], sink); });
}

Json FailureToJson(const Failure& failure, const std::string& image) {
  Json json = Json::object();
  if (!image.empty()) {
    json["image"] = TerminalText(image);
  }
  json["result"] = CodeName(failure.Code());
  json["code"] = CodeNumber(failure.Code());
  json["words"] =
      (failure.File() == image || failure.File().empty() ? "" : TerminalText(failure.File()) + ": ") + failure.Words();
  return json;
}

int ForEachImage(const std::vector<std::string>& paths, bool json, const std::function<int(const std::string&)>& work) {
  int status = 0;
  for (const std::string& path : paths) {
    try {
      g_reserve = std::make_unique<char[]>(65536);
      std::set_new_handler(GiveUpMemory);
      status = std::max(status, work(path));
    } catch (...) {
      const Failure failure = CurrentFailure(path);
      if (failure.Code() == kCancelled || std::ferror(stdout) != 0) {
        throw;
      }
      status = ReportOne(failure, path, json, paths.size() > 1);
    }
  }
  return status;
}

int ReportOne(const Failure& failure, const std::string& image, bool json, bool isLine) {
  if (json && std::ferror(stdout) == 0) {
    PrintJson(FailureToJson(failure, image), isLine);
  }
  std::fflush(stdout); // On a terminal the message stands where the page would have.
  return failure.Report();
}

void PrintJson(const Json& json, bool isLine) { Print(json.dump(isLine ? -1 : 2) + "\n"); }

void PrintJson(const Json& frame, bool isLine, const char* list,
               const std::function<void(unsigned array, const JsonSink& sink)>& giveElements) {
  const int step = isLine ? -1 : 2;
  const std::string text = frame.dump(step);
  const std::string opening = Format("\"%s\":%s[", list, isLine ? "" : " "); // No text of the frame has a bare quote.
  std::size_t printed = 0;
  std::size_t at = 0;
  for (unsigned array = 0; (at = text.find(opening, printed)) != std::string::npos; ++array) {
    std::string lineEnd(isLine ? 0 : at - text.rfind('\n', at), ' '); // As far in as the array's name.
    std::fill_n(lineEnd.begin(), isLine ? 0 : 1, '\n');
    Print(text.substr(printed, at + opening.size() - printed));
    printed = at + opening.size();
    std::string separator;
    giveElements(array, [&](const Json& element) {
      std::istringstream lines(element.dump(step));
      for (std::string line; std::getline(lines, line); separator.clear()) {
        Print(separator.append(lineEnd).append(isLine ? "" : "  ").append(line));
      }
      separator.push_back(',');
    });
    Print(separator.empty() ? "" : lineEnd);
  }
  Print(text.substr(printed) + "\n");
}
