#include <gtest/gtest.h>

#include "disc/record_text.h"
#include "disc/track_table.h"
#include "foundation/strings.h"
#include "platform/task_memory.h"
#include "support/services.h"

namespace {

/// A sheet whose every field holds a value of its own.
void FillSheet(ZSCUESHEET* sheet, UINT tracks, const std::string& word) {
  for (const TextField field : kTextFields) {
    ReplaceText(&sheet->ZSCDTEXT, field, NewBstr(word + std::to_string(static_cast<int>(field))));
  }
  sheet->ZSCDTEXT.bstrMCN = NewBstr(word + "MCN");
  sheet->ZSCDTEXT.CDTextPresent = VARIANT_TRUE;
  sheet->ZSCDTEXT.Language = ZSCDTEXT_GERMAN;
  for (UINT i = 0; i < tracks; ++i) {
    ZSTRACK* track = AppendTrack(sheet);
    track->TNO = i + 1;
    track->dwLBA = i * 1000;
    track->dwEndLBA = (i + 1) * 1000;
    track->Postgap = 3;
    track->dwReserved64 = UHYPER{i} << 40;
    SetMode(sheet, track, ZSMODE_2);
    SetBlockSize(track, 2336);
    const ULONG indexes[] = {kNoIndex, i * 1000};
    AppendIndexes(track, indexes, 2);
    for (const TextField field : kTextFields) {
      ReplaceText(track, field, NewBstr(word + std::to_string(i) + std::to_string(static_cast<int>(field))));
    }
    track->bstrISRC = NewBstr(word + "ISRC");
  }
}

std::vector<std::string> Texts(const ZSCUESHEET& sheet) {
  std::vector<std::string> texts{Narrow(sheet.ZSCDTEXT.bstrMCN)};
  for (const TextField field : kTextFields) {
    texts.push_back(Narrow(TextOf(sheet.ZSCDTEXT, field)));
  }
  for (UINT i = 0; i < sheet.nTracks; ++i) {
    for (const TextField field : kTextFields) {
      texts.push_back(Narrow(TextOf(sheet.pZSTracks[i], field)));
    }
    texts.push_back(Narrow(sheet.pZSTracks[i].bstrISRC));
  }
  return texts;
}

std::vector<ZSFILESTRUCT> Pieces(const ZSTRACK& track) {
  SAFEARRAY* array = track.varFiles.parray;
  const SafeArrayAccess access(array);
  const auto* first = access.Elements<ZSFILESTRUCT>();
  return array == nullptr ? std::vector<ZSFILESTRUCT>() : std::vector(first, first + array->rgsabound[0].cElements);
}

TEST(SheetRecords, CloneEqualsItsSourceAndOutlivesIt) {
  const ComPtr<IZSCueSheet> service = NewCueSheetService();
  ZSCUESHEET* copy = nullptr;
  std::vector<std::string> tracks;
  std::vector<std::string> texts;
  {
    TestSheet sheet;
    FillSheet(sheet.Get(), 2, "w");
    ASSERT_EQ(S_OK, service->PrepareTracks(Wide("image.bin").get(), sheet.Get()));
    sheet.Track(1).varFiles.wReserved1 = 9; // Not part of the value.
    tracks = Describe(*sheet.Get());
    texts = Texts(*sheet.Get());
    ASSERT_EQ(S_OK, service->Clone(sheet.Get(), &copy));
    SAFEARRAY* own = copy->pZSTracks[0].varFiles.parray;
    EXPECT_FALSE(own == sheet.Track(0).varFiles.parray);
  }
  EXPECT_EQ(tracks, Describe(*copy));
  EXPECT_EQ(texts, Texts(*copy));
  EXPECT_EQ(3, LONG{copy->pZSTracks[1].Postgap});
  EXPECT_TRUE(copy->ZSSESSIONFORMAT == ZSSESSIONFORMAT_CDROMXA);
  EXPECT_TRUE(copy->ZSCDTEXT.Language == ZSCDTEXT_GERMAN);
  EXPECT_EQ("image.bin", Narrow(Pieces(copy->pZSTracks[1])[0].bstrFileName));
  EXPECT_EQ(S_OK, service->FreeZSCueSheet(copy, VARIANT_TRUE));
}

TEST(SheetRecords, CopyOfTextReplacesAllButTheCatalogueNumber) {
  const ComPtr<IZSCueSheet> service = NewCueSheetService();
  TestSheet source;
  TestSheet destination;
  FillSheet(source.Get(), 2, "new");
  ReplaceText(&source.Track(1), TextField::Genre, nullptr);
  FillSheet(destination.Get(), 3, "old");
  const std::vector<std::string> before = Texts(*destination.Get());
  ASSERT_EQ(S_OK, service->CopyCDText(source.Get(), destination.Get()));
  std::vector<std::string> expected = Texts(*source.Get());
  expected[0] = "oldMCN";
  expected.insert(expected.end(), before.end() - 8, before.end());
  EXPECT_EQ(expected, Texts(*destination.Get()));
}

TEST(SheetRecords, TextOfByteWiseCopiesCanBeMadeTheirOwn) {
  const ComPtr<IZSCueSheet> service = NewCueSheetService();
  TestSheet sheet;
  FillSheet(sheet.Get(), 0, "w");
  ReplaceText(&sheet->ZSCDTEXT, TextField::Genre, nullptr);
  ::ZSCDTEXT text = sheet->ZSCDTEXT;
  ASSERT_EQ(S_OK, service->CloneCDText(&sheet->ZSCDTEXT, &text));
  EXPECT_TRUE(sheet->ZSCDTEXT.bstrTitle != text.bstrTitle);
  EXPECT_TRUE(text.bstrGenre == nullptr);
  EXPECT_EQ(S_OK, service->FreeZSCDText(&text));
  EXPECT_TRUE(text.bstrTitle == nullptr);
  EXPECT_EQ("wMCN", Narrow(text.bstrMCN)) << "still the sheet's";
}

TEST(SheetRecords, FreeWithoutDestroyLeavesTheSheet) {
  const ComPtr<IZSCueSheet> service = NewCueSheetService();
  TestSheet sheet;
  FillSheet(sheet.Get(), 1, "w");
  EXPECT_EQ(S_OK, service->FreeZSCueSheet(sheet.Get(), 1)) << "1 is not true";
  EXPECT_EQ(1U, UINT{sheet->nTracks});
  EXPECT_EQ("w0", Narrow(sheet->ZSCDTEXT.bstrTitle));
  sheet->nTracks = 0; // What the tracks owned is gone.
}

TEST(FilePieces, NameTheImageOnceForEachTrack) {
  const ComPtr<IZSCueSheet> service = NewCueSheetService();
  TestSheet sheet;
  FillSheet(sheet.Get(), 3, "w");
  EXPECT_EQ(S_FALSE, service->PrepareTracks(nullptr, sheet.Get()));
  EXPECT_EQ(S_FALSE, service->PrepareTracks(Wide("x").get(), nullptr));
  ASSERT_EQ(S_OK, service->PrepareTracks(Wide("音.bin").get(), sheet.Get()));
  for (UINT i = 0; i < 3; ++i) {
    EXPECT_EQ(VT_ARRAY, VARTYPE{sheet.Track(i).varFiles.vt});
    const std::vector<ZSFILESTRUCT> pieces = Pieces(sheet.Track(i));
    ASSERT_EQ(1U, pieces.size());
    EXPECT_EQ("音.bin", Narrow(pieces[0].bstrFileName));
    EXPECT_EQ(i * 1000, ULONG{pieces[0].dwLBA});
    EXPECT_EQ((i + 1) * 1000, ULONG{pieces[0].dwEndLBA});
    EXPECT_TRUE(pieces[0].ZSMode == ZSMODE_2);
    EXPECT_EQ(i == 0 ? 0 : ~UHYPER{0}, UHYPER{pieces[0].dwFromSeek64});
  }
}

/// A variant with an array that owns independent copies of a sheet's tracks.
class TrackArray {
public:
  explicit TrackArray(const ZSCUESHEET& sheet) : m_value(TracksOf(sheet)) {}
  TrackArray(const TrackArray&) = delete;
  TrackArray& operator=(const TrackArray&) = delete;
  ~TrackArray() { VariantClear(&m_value); }
  VARIANT* Value() noexcept { return &m_value; }
  ULONG Count() const noexcept { return m_value.parray == nullptr ? 0 : m_value.parray->rgsabound[0].cElements; }

private:
  VARIANT m_value;
};

class Merge : public testing::Test {
protected:
  Merge() {
    FillSheet(m_source.Get(), 2, "source");
    FillSheet(m_old.Get(), 1, "old");
    m_old.Track(0).TNO = 3;
    m_old.Track(0).dwLBA = 500;
    m_old.Track(0).dwEndLBA = 900;
    m_service->PrepareTracks(Wide("image.bin").get(), m_source.Get());
  }

  ComPtr<IZSCueSheet> m_service = NewCueSheetService();
  TestSheet m_source;
  TestSheet m_old;
};

TEST_F(Merge, MovesTracksBehindTheLast) {
  TrackArray source(*m_source.Get());
  TrackArray destination(*m_old.Get());
  ASSERT_EQ(S_OK, m_service->MergeTracks(source.Value(), destination.Value()));
  EXPECT_EQ(VT_EMPTY, source.Value()->vt);
  EXPECT_EQ(nullptr, source.Value()->parray);
  ASSERT_EQ(3U, destination.Count());
  const SafeArrayAccess access(destination.Value()->parray);
  const auto* tracks = access.Elements<ZSTRACK>();
  EXPECT_EQ("4: 401-1401 pregap 0 mode 4 size 2336/2336 flags 0 index -,0 at 0", Describe(tracks[1]));
  EXPECT_EQ("5: 1401-2401 pregap 0 mode 4 size 2336/2336 flags 0 index -,1000 at 1099511627776", Describe(tracks[2]));
  EXPECT_EQ(1401U, ULONG{Pieces(tracks[2])[0].dwLBA});
  EXPECT_EQ(2401U, ULONG{Pieces(tracks[2])[0].dwEndLBA});
  EXPECT_EQ("source16", Narrow(tracks[2].bstrMessage));
  EXPECT_EQ("sourceISRC", Narrow(tracks[2].bstrISRC));
}

TEST_F(Merge, GivesAnEmptyListToATrackWithoutPieces) {
  TrackArray source(*m_source.Get());
  TrackArray destination(*m_old.Get());
  {
    const SafeArrayAccess access(source.Value()->parray);
    VARIANT& files = access.Elements<ZSTRACK>()[1].varFiles;
    VariantClear(&files);
    files.vt = VT_UI8; // A value that is no list must not be read as one.
    files.ullVal = 0xFFFFFFF0;
  }
  ASSERT_EQ(S_OK, m_service->MergeTracks(source.Value(), destination.Value()));
  const SafeArrayAccess access(destination.Value()->parray);
  const VARIANT& files = access.Elements<ZSTRACK>()[2].varFiles;
  EXPECT_EQ(VT_ARRAY, VARTYPE{files.vt});
  EXPECT_TRUE(files.parray == nullptr);
}

TEST_F(Merge, RefusesWhatItCannotMergeAndChangesNothing) {
  TrackArray source(*m_source.Get());
  TrackArray destination(*m_old.Get());
  VARIANT empty{};
  EXPECT_EQ(E_INVALIDARG, m_service->MergeTracks(&empty, destination.Value()));
  EXPECT_EQ(E_INVALIDARG, m_service->MergeTracks(source.Value(), &empty));
  destination.Value()->parray->fFeatures |= FADF_FIXEDSIZE;
  EXPECT_EQ(E_INVALIDARG, m_service->MergeTracks(source.Value(), destination.Value()));
  destination.Value()->parray->fFeatures = FADF_RECORD;
  {
    const SafeArrayAccess reading(source.Value()->parray);
    EXPECT_EQ(DISP_E_ARRAYISLOCKED, m_service->MergeTracks(source.Value(), destination.Value()));
  }
  EXPECT_EQ(2U, source.Count());
  EXPECT_EQ(1U, destination.Count());
}

TEST(SheetRecords, OperationsWantTheirArguments) {
  const ComPtr<IZSCueSheet> service = NewCueSheetService();
  TestSheet sheet;
  BSTR text = nullptr;
  EXPECT_EQ(E_INVALIDARG, service->AllocCueSheet(nullptr));
  EXPECT_EQ(E_INVALIDARG, service->Clone(sheet.Get(), nullptr));
  EXPECT_EQ(E_INVALIDARG, service->CloneCDText(nullptr, &sheet->ZSCDTEXT));
  EXPECT_EQ(E_INVALIDARG, service->CopyCDText(sheet.Get(), nullptr));
  EXPECT_EQ(E_INVALIDARG, service->FreeZSCueSheet(nullptr, VARIANT_TRUE));
  EXPECT_EQ(E_INVALIDARG, service->FreeZSCDText(nullptr));
  EXPECT_EQ(E_INVALIDARG, service->MergeTracks(nullptr, nullptr));
  EXPECT_EQ(E_INVALIDARG, service->AnalyzeCueSheet(text, nullptr));
  EXPECT_EQ(ZSE_CANNOTOPENIMAGE, service->AnalyzeCueSheet(nullptr, sheet.Get()));
  EXPECT_EQ(E_NOTIMPL, service->Dummy(nullptr, nullptr));
}

} // namespace
