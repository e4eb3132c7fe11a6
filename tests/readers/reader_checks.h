/// @file
/// Summaries of records, one line of text each, so that tables of tests can state what a reader returns.
#pragma once

#include <map>

#include "builders/sectors.h"
#include "support/test.h"

inline const PlannedTrack kAudio{ZSMODE_AUDIO, 20, 0, 2352};
inline const PlannedTrack kAudioAfterPregap{ZSMODE_AUDIO, 25, 3, 2352};
/// A session of two audio tracks and a session of one.
inline const DiscPlan kThreeTracks{{{kAudio, kAudioAfterPregap}, {kAudio}}};

/// Returns a label and a text of a record, or nothing for null.
inline std::string Labelled(const char* label, BSTR text) { return text == nullptr ? "" : label + Narrow(text); }

/// Summarizes a track: "2: 23-48" is an audio track in sectors of 2352 bytes without a pregap.
inline std::string Summarize(const ZSTRACK& track) {
  return Describe(track) + (track.Postgap == 0 ? "" : " postgap " + std::to_string(LONG{track.Postgap})) +
         Labelled(" ISRC ", track.bstrISRC) + Labelled(" title ", track.bstrTitle);
}

/// Summarizes a record: "1: 0-20, 2: 23-48 | 1: 11298-11318" is a session of two tracks and a session of one. Fields of
/// the session or the disc are shown if they differ from their usual value.
inline std::string Summarize(ImageRecord& record) {
  std::string text;
  std::size_t sessionsShown = 0;
  for (std::size_t session = 0; session < record->nSessions; ++session) {
    const ZSCUESHEET& sheet = record.Sheet(session);
    for (UINT i = 0; i < sheet.nTracks; ++i) {
      text += i != 0 ? ", " : sessionsShown++ != 0 ? " | " : "";
      text += i != 0 || sheet.ZSSESSIONFORMAT == 0 ? "" : "XA ";
      text += Summarize(sheet.pZSTracks[i]);
      EXPECT_EQ(sheet.pZSTracks[i].nCountIndex != 0, sheet.pZSTracks[i].pdwIndex != nullptr);
    }
    text += Labelled(" MCN ", sheet.ZSCDTEXT.bstrMCN) + Labelled(" album ", sheet.ZSCDTEXT.bstrTitle);
  }
  text += sessionsShown == record->nSessions ? "" : " of " + std::to_string(record->nSessions) + " sessions";
  text += record->lMask == 0 ? "" : " mask " + std::to_string(LONG{record->lMask});
  return text + (record->dwSeekBegin64 == 0 ? "" : " from " + std::to_string(UHYPER{record->dwSeekBegin64}));
}

/// Reads an image. Returns the summary of its record, or the name of the result code after a failure, which must leave
/// the record all zero.
inline std::string ReadSummary(const std::string& path) {
  static const std::map<HRESULT, const char*> kResultNames = {{ZSE_FAILED, "ZSE_FAILED"},
                                                              {ZSE_FILENOTFOUND, "ZSE_FILENOTFOUND"},
                                                              {ZSE_OUTOFRESOURCES, "ZSE_OUTOFRESOURCES"},
                                                              {ZSE_BADIMAGE, "ZSE_BADIMAGE"},
                                                              {ZSE_TOCVERSION, "ZSE_TOCVERSION"}};
  ImageRecord record(path);
  EXPECT_EQ(record.Result() != S_OK, IsAllZero(*record));
  return record.Result() == S_OK ? Summarize(record) : kResultNames.at(record.Result());
}

/// Writes a file into a folder of its own and reads it.
template <class Content> std::string ReadSummary(const std::string& name, const Content& content) {
  return ReadSummary(TemporaryFolder().Write(name, content));
}

/// Reads a file cut to each of its lengths, with `ending` appended each time. Each run must return a whole record or an
/// all-zero one; the whole file must be read.
inline void ReadTruncations(const std::string& name, const std::string& content, const std::string& ending = "") {
  const TemporaryFolder folder;
  folder.Write("a.mdf", "");
  std::string summary;
  for (std::size_t size = 0; size <= content.size(); ++size) {
    SCOPED_TRACE(size);
    summary = ReadSummary(folder.Write(name, content.substr(0, size) + ending));
  }
  EXPECT_FALSE(summary.starts_with("ZSE_")) << summary;
}
