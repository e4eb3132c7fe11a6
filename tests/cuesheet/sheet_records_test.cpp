#include "support/test.h"

namespace {

constexpr char kAlbum[] = SAMPLE_IMAGES "/album.cue"; // Two tracks with text.
constexpr char kMixed[] = SAMPLE_IMAGES "/mixed.cue"; // Three tracks with codes, a pregap, flags and indexes.

/// Returns the piece of a track: file name, positions, mode and offset.
std::string Piece(const ZSTRACK& track) {
  if (track.varFiles.vt != VT_ARRAY || track.varFiles.parray->rgsabound[0].cElements != 1) {
    return "none";
  }
  const SafeArrayAccess access(track.varFiles.parray);
  const auto& piece = *access.Elements<ZSFILESTRUCT>();
  const UHYPER numbers[] = {piece.dwLBA, piece.dwEndLBA, static_cast<UHYPER>(piece.ZSMode), piece.dwFromSeek64};
  return Narrow(piece.bstrFileName) + testing::PrintToString(numbers);
}

TEST(SheetRecords, CopiesOwnAllTheirTexts) {
  const ComPtr<IZSCueSheet> service = NewCueSheetService();
  const ImageRecord album(kAlbum);
  auto mixed = std::make_unique<ImageRecord>(kMixed);
  ZSCUESHEET* sheet = &mixed->Sheet();
  album.Track(1).bstrISRC = NewBstr("DEA012600002");
  ReplaceText(&sheet->ZSCDTEXT, TextField::Genre, NewBstr("old"));
  ReplaceText(&sheet->pZSTracks[2], TextField::Genre, NewBstr("third"));
  std::vector<std::string> expected = Texts(album.Sheet());
  expected[0] = "4006381333931|Made-up Sectors|The Builders|-|-|-|-|-";
  expected.push_back("-|-|-|-|-|-|third|-");
  EXPECT_EQ(S_OK, service->CopyCDText(&album.Sheet(), sheet));
  EXPECT_EQ(expected, Texts(*sheet));
  EXPECT_EQ(S_OK, service->CopyCDText(sheet, sheet));
  EXPECT_EQ(expected, Texts(*sheet)) << "copied to itself";
  EXPECT_EQ(S_OK, service->CopyCDText(sheet, &album.Sheet())) << "more tracks than the destination has";

  EXPECT_EQ(S_OK, service->CloneCDText(&sheet->ZSCDTEXT, &sheet->ZSCDTEXT));
  EXPECT_EQ(expected, Texts(*sheet)) << "copied to itself";
  ::ZSCDTEXT text = sheet->ZSCDTEXT; // A copy of the pointers, which CloneCDText replaces.
  EXPECT_EQ(S_OK, service->CloneCDText(&sheet->ZSCDTEXT, &text));
  EXPECT_EQ(S_OK, service->FreeZSCDText(&text));
  EXPECT_TRUE(text.bstrTitle == nullptr);
  EXPECT_EQ(expected, Texts(*sheet));

  const auto values = [](const ZSCUESHEET& of) {
    return std::tuple(Describe(of), Texts(of), Piece(of.pZSTracks[1]), LONG{of.pZSTracks[1].Postgap},
                      +of.ZSCDTEXT.CDTextPresent, +of.ZSCDTEXT.Language, +of.ZSSESSIONFORMAT);
  };
  sheet->ZSCDTEXT.Language = ZSCDTEXT_GERMAN;
  sheet->ZSSESSIONFORMAT = ZSSESSIONFORMAT_CDI;
  sheet->pZSTracks[1].Postgap = 3;
  sheet->pZSTracks[1].ImageBlockSize = ZSFILEBLOCKSIZE_2048;
  ZSCUESHEET* copy = nullptr;
  ASSERT_EQ(S_OK, service->PrepareTracks(Wide("image.bin").get(), sheet));
  ASSERT_EQ(S_OK, service->Clone(sheet, &copy));
  const auto source = values(*sheet);
  mixed.reset();
  EXPECT_EQ(source, values(*copy)) << "the copy outlives its source";
  EXPECT_EQ(S_OK, service->FreeZSCueSheet(copy, VARIANT_TRUE));
}

TEST(SheetRecords, EachTrackIsOnePieceOfTheImage) {
  const ComPtr<IZSCueSheet> service = NewCueSheetService();
  const ImageRecord image(kMixed);
  ZSCUESHEET* sheet = &image.Sheet();
  const UniqueBstr name = Wide("音.bin");
  EXPECT_EQ(S_FALSE, service->PrepareTracks(nullptr, sheet));
  EXPECT_EQ(S_FALSE, service->PrepareTracks(name.get(), nullptr));
  EXPECT_EQ("none", Piece(sheet->pZSTracks[0]));
  ASSERT_EQ(S_OK, service->PrepareTracks(name.get(), sheet));
  EXPECT_EQ("音.bin{ 0, 20, 1, 0 }", Piece(sheet->pZSTracks[0]));
  EXPECT_EQ("音.bin{ 28, 40, 0, 18446744073709551615 }", Piece(sheet->pZSTracks[1]));

  EXPECT_EQ(S_OK, service->FreeZSCueSheet(sheet, 1)) << "1 is not VARIANT_TRUE: the sheet itself stays";
  EXPECT_EQ(3U, UINT{sheet->nTracks});
  sheet->nTracks = 0; // FreeZSCueSheet has freed what the tracks owned.
}

TEST(SheetRecords, MergeAppendsTracksOrChangesNothing) {
  const ComPtr<IZSCueSheet> service = NewCueSheetService();
  const ImageRecord image(kMixed);
  ZSCUESHEET* sheet = &image.Sheet();
  service->PrepareTracks(Wide("image.bin").get(), sheet);
  ReplaceText(&sheet->pZSTracks[1], TextField::Title, NewBstr("new"));
  VARIANT destination = TracksOf(*sheet);
  VARIANT source = TracksOf(*sheet);
  VARIANT nothing{};
  VARIANT empty = TracksOf(*TestSheet().Get());
  {
    const SafeArrayAccess access(source.parray);
    EXPECT_EQ(DISP_E_ARRAYISLOCKED, service->MergeTracks(&source, &destination));
    VARIANT& files = access.Elements<ZSTRACK>()[2].varFiles;
    VariantClear(&files);
    files.vt = VT_UI8; // A number, which must not be read as a pointer to a list.
    files.ullVal = 0xFFFFFFF0;
  }
  EXPECT_EQ(E_INVALIDARG, service->MergeTracks(&nothing, &destination));
  EXPECT_EQ(E_INVALIDARG, service->MergeTracks(&source, &nothing));
  EXPECT_EQ(E_INVALIDARG, service->MergeTracks(&source, &empty));
  EXPECT_EQ(E_INVALIDARG, service->MergeTracks(&sheet->pZSTracks[0].varFiles, &destination)) << "no tracks";
  EXPECT_EQ(E_INVALIDARG, service->MergeTracks(&source, &source));
  destination.parray->fFeatures |= FADF_FIXEDSIZE;
  EXPECT_EQ(E_INVALIDARG, service->MergeTracks(&source, &destination));
  destination.parray->fFeatures = FADF_RECORD;
  EXPECT_EQ(3U, source.parray->rgsabound[0].cElements);
  EXPECT_EQ(3U, destination.parray->rgsabound[0].cElements);

  ASSERT_EQ(S_OK, service->MergeTracks(&source, &destination));
  EXPECT_TRUE(source.vt == VT_EMPTY && source.parray == nullptr);
  ASSERT_EQ(6U, destination.parray->rgsabound[0].cElements);
  EXPECT_EQ(0, LONG{destination.parray->rgsabound[0].lLbound});
  {
    const SafeArrayAccess access(destination.parray);
    const auto* tracks = access.Elements<ZSTRACK>();
    EXPECT_EQ("3: 40-60 index -,40,50 at 75264", Describe(tracks[2]));
    EXPECT_EQ("4: 21-41 mode 1 index -,0", Describe(tracks[3]));
    EXPECT_EQ("5: 49-61 pregap 8 flags 3 index 20,28 at 47040", Describe(tracks[4]));
    EXPECT_EQ("image.bin{ 49, 61, 0, 18446744073709551615 }", Piece(tracks[4]));
    EXPECT_EQ("new", Narrow(tracks[4].bstrTitle));
    EXPECT_EQ("DEA012600001", Narrow(tracks[4].bstrISRC));
    EXPECT_TRUE(tracks[5].varFiles.vt == VT_ARRAY && tracks[5].varFiles.parray == nullptr);
  }
  VariantClear(&destination);
  VariantClear(&empty);
}

TEST(SheetRecords, NullArgumentsAreRefused) {
  const ComPtr<IZSCueSheet> s = NewCueSheetService();
  const TestSheet sheet;
  ::ZSCDTEXT* text = &sheet->ZSCDTEXT;
  VARIANT value{};
  zsimagefileinfo info{};
  ZSTRACK track{};
  BYTE* data = nullptr;
  LONG length = 0;
  auto* stream = reinterpret_cast<IStream*>(-1);
  const auto extract = [&](zsimagefileinfo* image, ZSTRACK* from, IStream** to) {
    return s->ExtractTrackToStream(nullptr, nullptr, image, from, 0, nullptr, 0, value, to);
  };
  ExpectAll(E_INVALIDARG, s->CreateCueFile(nullptr, nullptr), s->AnalyzeCueSheet(nullptr, nullptr),
            s->AnalyzeCDText(nullptr, nullptr), s->AnalyzeCDTextFromData(nullptr, 1, sheet.Get()),
            s->GetBinaryFile(nullptr, nullptr), extract(&info, &track, nullptr), extract(nullptr, &track, &stream),
            extract(&info, nullptr, &stream), s->MergeTracks(nullptr, &value), s->MergeTracks(&value, nullptr),
            s->AllocCueSheet(nullptr), s->Clone(nullptr, nullptr), s->Clone(sheet.Get(), nullptr),
            s->CloneCDText(nullptr, text), s->CloneCDText(text, nullptr), s->CopyCDText(nullptr, sheet.Get()),
            s->CopyCDText(sheet.Get(), nullptr), s->FreeZSCueSheet(nullptr, VARIANT_TRUE), s->FreeZSCDText(nullptr),
            s->EncodeCDText(nullptr, VARIANT_FALSE, &data, &length),
            s->EncodeCDText(sheet.Get(), VARIANT_FALSE, nullptr, &length),
            s->EncodeCDText(sheet.Get(), VARIANT_FALSE, &data, nullptr));
  EXPECT_EQ(nullptr, stream) << "a failure returns no stream";
  EXPECT_EQ(ZSE_CANNOTOPENIMAGE, s->AnalyzeCueSheet(nullptr, sheet.Get()));
  EXPECT_EQ(E_NOTIMPL, s->Dummy(nullptr, nullptr));
}

} // namespace
