/// @file
/// What comes of reading an image, as one line of text, so that tables of tests can state it.
#pragma once

#include <gtest/gtest.h>

#include <map>

#include "builders/sectors.h"
#include "support/counting_environment.h"
#include "support/services.h"
#include "support/temporary_folder.h"

inline const PlannedTrack kAudio{ZSMODE_AUDIO, 20, 0, 2352};
inline const PlannedTrack kAudioBehindPregap{ZSMODE_AUDIO, 25, 3, 2352};
/// Two audio tracks, then a session of one.
inline const DiscPlan kThreeTracks{{{kAudio, kAudioBehindPregap}, {kAudio}}};

/// A text of a record behind its name; nothing for null.
inline std::string Named(const char* name, BSTR text) { return text == nullptr ? "" : name + Narrow(text); }

/// A track without what is as usual: "2: 23-48" is one of audio in sectors of 2352 bytes, without any pregap.
inline std::string Brief(const ZSTRACK& track) {
  std::string line = Describe(track) + " ";
  for (const std::string usual : {" pregap 0 ", " mode 0 ", " size 2352/2352 ", " flags 0 ", " index  ", " at 0 "}) {
    if (const std::size_t place = line.find(usual); place != std::string::npos) {
      line.replace(place, usual.size(), " ");
    }
  }
  line.pop_back();
  line += track.Postgap == 0 ? "" : " postgap " + std::to_string(LONG{track.Postgap});
  return line + Named(" ISRC ", track.bstrISRC) + Named(" title ", track.bstrTitle);
}

/// What a record holds: "1: 0-20, 2: 23-48 | 1: 11298-11318" are two tracks, then a session of one; on what else is
/// not as usual, words before the tracks or behind them.
inline std::string Brief(ImageRecord& record) {
  std::string text;
  std::size_t shown = 0;
  for (std::size_t session = 0; session < record->nSessions; ++session) {
    const ZSCUESHEET& sheet = record.Sheet(session);
    for (UINT i = 0; i < sheet.nTracks; ++i) {
      text += i != 0 ? ", " : shown++ != 0 ? " | " : "";
      text += i != 0 || sheet.ZSSESSIONFORMAT == 0 ? "" : "XA ";
      text += Brief(sheet.pZSTracks[i]);
      EXPECT_EQ(sheet.pZSTracks[i].nCountIndex != 0, sheet.pZSTracks[i].pdwIndex != nullptr);
    }
    text += Named(" MCN ", sheet.ZSCDTEXT.bstrMCN) + Named(" album ", sheet.ZSCDTEXT.bstrTitle);
  }
  text += shown == record->nSessions ? "" : " of " + std::to_string(record->nSessions) + " sessions";
  text += record->lMask == 0 ? "" : " mask " + std::to_string(LONG{record->lMask});
  return text + (record->dwSeekBegin64 == 0 ? "" : " from " + std::to_string(UHYPER{record->dwSeekBegin64}));
}

inline const std::map<HRESULT, const char*> kResultNames = {{ZSE_FAILED, "ZSE_FAILED"},
                                                            {ZSE_FILENOTFOUND, "ZSE_FILENOTFOUND"},
                                                            {ZSE_OUTOFRESOURCES, "ZSE_OUTOFRESOURCES"},
                                                            {ZSE_BADIMAGE, "ZSE_BADIMAGE"},
                                                            {ZSE_TOCVERSION, "ZSE_TOCVERSION"}};

/// The record of a file, or the name of the result code; the record is all zero then.
inline std::string Outcome(const std::string& path) {
  ImageRecord record(path);
  EXPECT_EQ(record.Result() != S_OK, IsAllZero(*record));
  return record.Result() == S_OK ? Brief(record) : kResultNames.at(record.Result());
}

/// Reads a file while one allocation after the other fails. A record that comes all the same begins as stated.
inline std::vector<std::string> ReadWithoutMemory(const std::string& path, const std::string& begin) {
  const UniqueBstr name = Wide(path);
  const ComPtr<IZSImageFile> service = NewImageFileService();
  std::vector<std::string> outcomes;
  FaultPoints& points = Memory().faults;
  for (long number = 1; number == 1 || points.Reached(); ++number) {
    ImageRecord record;
    points.Start(number);
    const HRESULT result = service->GetImageFileInfo(name.get(), &*record);
    points.Stop();
    EXPECT_EQ(result != S_OK, IsAllZero(*record)) << number;
    if (result == S_OK) {
      outcomes.push_back(Brief(record));
      EXPECT_TRUE(outcomes.back().starts_with(begin)) << outcomes.back();
    }
  }
  return outcomes;
}

/// Reads a file under a name, with each of its lengths and an ending behind each: whatever comes, and of the whole a
/// record.
inline void ExpectNoCutHurts(const std::string& name, const std::string& content, const std::string& ending = "") {
  const TemporaryFolder folder;
  folder.Write("a.mdf", "");
  std::string outcome;
  for (std::size_t size = 0; size <= content.size(); ++size) {
    SCOPED_TRACE(size);
    outcome = Outcome(folder.Write(name, content.substr(0, size) + ending));
  }
  EXPECT_FALSE(outcome.starts_with("ZSE_")) << outcome;
}

inline std::string AsText(const std::vector<BYTE>& bytes) { return {bytes.begin(), bytes.end()}; }
