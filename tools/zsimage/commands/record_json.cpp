#include "commands/record.h"

#include "image/disc_text.h"
#include "output/json.h"
#include "output/terminal_text.h"
#include "platform/safearray.h"
#include "platform/text.h"

namespace {

/// Copies a field of a packed record: a reference to it would be misaligned.
template <class T> Json Number(T value) { return value; }

Json Text(BSTR text) { return text == nullptr ? Json(nullptr) : Json(NarrowToUtf8(Narrow(text))); }

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

/// Renders a session without its tracks.
Json SheetToJson(const ZSCUESHEET& sheet) {
  return {{"nTracks", Number(sheet.nTracks)},
          {kTracks, Json::array()},
          {"ZSCDTEXT", DiscTextToJson(sheet.ZSCDTEXT)},
          {"ZSSESSIONFORMAT", Number(sheet.ZSSESSIONFORMAT)}};
}

void ProduceTracks(const ZSCUESHEET& sheet, const JsonSink& sink) {
  for (const ZSTRACK& track : Tracks(sheet)) {
    sink(TrackToJson(track));
  }
}

} // namespace

void PrintSheetJson(const ZSCUESHEET& sheet) {
  PrintJson(SheetToJson(sheet), false, kTracks,
            [&](unsigned /*array*/, const JsonSink& sink) { ProduceTracks(sheet, sink); });
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
            [&](unsigned session, const JsonSink& sink) { ProduceTracks(*info.pZSCueSheet[session], sink); });
}
