#include "commands/record_table.h"

#include <initializer_list>

#include "files/files.h"
#include "image/disc_words.h"
#include "image/explain.h"
#include "output/standard_output.h"
#include "output/text_table.h"

namespace {

Colour ModeColour(ZSMODETYPE mode) {
  return mode == ZSMODE_AUDIO ? Colour::Green : mode == ZSMODE_1 ? Colour::Cyan : Colour::Magenta;
}

/// Words for the bits of a mask that are set, in the order of the table.
struct BitWord {
  LONG bit;
  const char* word;
};

std::string WordsOf(LONG mask, std::initializer_list<BitWord> table, const char* separator) {
  std::string words;
  for (const BitWord& entry : table) {
    if ((mask & entry.bit) != 0) {
      words.append(words.empty() ? "" : separator).append(entry.word);
    }
  }
  return words;
}

std::string FlagWords(LONG flags) {
  return WordsOf(flags, {{ZSTRACKFLAG_DCP, "DCP"}, {ZSTRACKFLAG_PRE, "PRE"}, {ZSTRACKFLAG_4CH, "4CH"}}, " ");
}

std::string Gap(LONG sectors) { return sectors == 0 ? "" : Format("%d", sectors); }

void GiveTracks(const ImageRecord& image, unsigned session, const TextTable::RowSink& sink) {
  const ZSCUESHEET& sheet = image.Session(session);
  TextColumn titles(sheet.ZSCDTEXT.bstrTitle);
  TextColumn performers(sheet.ZSCDTEXT.bstrPerformer);
  image.VisitTracks(session, [&](const ZSTRACK& track, const TrackPlace& place) {
    const bool sound = track.dwEndLBA >= track.dwLBA && (place.missing == 0 || place.sectors != 0);
    const ULONG sectors = sound ? track.dwEndLBA - track.dwLBA : 0;
    const TextTable::Cell mode(ModeWords(track.Mode), ModeColour(track.Mode));
    const TextTable::Cell note(CutOffWords(place.missing), Colour::Red);
    sink({Format("%u", session), Format("%u", track.TNO), mode, Format("%d", static_cast<int>(track.BlockSize)),
          DiscTime(track.dwLBA), Format("%u", track.dwLBA), sound ? Duration(sectors) : "-",
          sound ? Format("%u", sectors) : "-", Gap(track.Pregap), Gap(track.Postgap), FlagWords(track.Flags),
          TerminalText(track.bstrISRC), titles.Show(track.bstrTitle), performers.Show(track.bstrPerformer), note});
  });
}

/// One line "  Name         value"; none without a value.
void AddLine(std::string* page, const char* name, const std::string& value) {
  if (!value.empty()) {
    page->append(Coloured(Format("  %-11s ", name), Colour::Dim)).append(value).append("\n");
  }
}

void AddDiscText(std::string* page, const ::ZSCDTEXT& text) {
  AddLine(page, "Catalogue", TerminalText(text.bstrMCN));
  AddLine(page, "Title", TerminalText(text.bstrTitle));
  AddLine(page, "Performer", TerminalText(text.bstrPerformer));
  AddLine(page, "Songwriter", TerminalText(text.bstrSongwriter));
  AddLine(page, "Composer", TerminalText(text.bstrComposer));
  AddLine(page, "Arranger", TerminalText(text.bstrArranger));
  AddLine(page, "Genre", TerminalText(text.bstrGenre));
  AddLine(page, "Message", TerminalText(text.bstrMessage));
}

std::string DataFileWords(const ImageRecord& image) {
  const std::string& named = image.DataFile();
  if (image.IsItsOwnDataFile()) {
    return image.Info().ZSImageFormat == ZSIMAGEFORMAT_CCD
               ? "none: there is no .img file of this name beside the description"
               : "none: the description names no file but itself";
  }
  const std::optional<UHYPER> size = image.DataSize();
  const std::string mark = image.Info().dwSeekBegin64 != 0 ? "" : SoundMark(named);
  return TerminalText(named) + (size ? " (" + ReadableSize(*size) + ")" : " (no such file)") +
         (mark.empty() ? "" : ", a sound file (" + mark + ") that is read as raw samples");
}

/// Why the image has no sectors; `kind` when it has some.
std::string WhyEmpty(const Host& host, const ImageRecord& image, const char* kind) {
  UHYPER sectors = 0;
  bool isSizeless = false;
  for (unsigned session = 1; session <= image.Info().nSessions; ++session) {
    image.VisitTracks(session, [&](const ZSTRACK& /*track*/, const TrackPlace& place) {
      sectors += UHYPER{place.sectors} + place.missing;
      isSizeless = isSizeless || place.blockSize == 0;
    });
  }
  if (sectors != 0) {
    return kind;
  }
  return image.DataSize() == 0 ? "none: the image is empty"
         : isSizeless          ? "none: " + SizelessWords(host, image)
         : image.Info().ZSImageFormat == ZSIMAGEFORMAT_NRG
             ? "none: no sectors; chunks of older versions (CUES, DAOI, ETNF) are not read"
             : "none: the image has no sectors";
}

std::string CompanionWords(LONG mask) {
  const bool isInline = (mask & ZSIMAGEMASK_SUBINLINE) != 0;
  return WordsOf(mask,
                 {{ZSIMAGEMASK_CDTEXT, "CD-Text"},
                  {ZSIMAGEMASK_CDG, "CD+G"},
                  {ZSIMAGEMASK_SUBCHANNEL, isInline ? "sub-channel in the sectors" : "sub-channel file"},
                  {ZSIMAGEMASK_TRACKATONCE, "recorded track at once"}},
                 ", ");
}

std::string IdWords(const zsimagefileinfo& info) {
  if (info.dwDiscID == 0 && info.dwDiscID2 == 0) {
    return "";
  }
  std::string words = Format("%08X", info.dwDiscID);
  if (info.dwDiscID2 != 0) {
    words += Format(", first session %08X", info.dwDiscID2);
  }
  return words;
}

} // namespace

void PrintImage(const Host& host, const ImageRecord& image) {
  const zsimagefileinfo& info = image.Info();
  std::string page = Coloured(TerminalText(image.Path()), Colour::Bold) + "\n";
  AddLine(&page, "Kind", WhyEmpty(host, image, KindWords(info.ZSTYPEPROJECT)));
  AddLine(&page, "Format", FormatWords(info.ZSImageFormat));
  AddLine(&page, "Data file", DataFileWords(image));
  AddLine(&page, "Disc id", IdWords(info));
  AddLine(&page, "With", CompanionWords(info.lMask));
  if (info.nSessions == 0) {
    return Print(page);
  }
  AddDiscText(&page, info.pZSCueSheet[0]->ZSCDTEXT);
  Print(page + "\n");
  TextTable table({">Session", ">Track", "Mode", ">Block", ">Start", ">Sector", ">Length", ">Sectors"},
                  {">Pregap", ">Postgap", "Flags", "ISRC", "Title", "Performer", "Note"});
  table.Print([&](const TextTable::RowSink& sink) {
    for (USHORT i = 0; i < info.nSessions; ++i) {
      GiveTracks(image, i + 1U, sink);
    }
  });
}

void PrintSheet(const ZSCUESHEET& sheet) {
  std::string texts;
  AddDiscText(&texts, sheet.ZSCDTEXT);
  Print(texts + (texts.empty() ? "" : "\n"));
  TextTable table({">Track"}, {"Title", "Performer", "Songwriter", "Composer", "Arranger", "Genre", "Message"});
  table.Print([&](const TextTable::RowSink& sink) {
    const ::ZSCDTEXT& disc = sheet.ZSCDTEXT;
    TextColumn columns[] = {disc.bstrTitle,    disc.bstrPerformer, disc.bstrSongwriter, disc.bstrComposer,
                            disc.bstrArranger, disc.bstrGenre,     disc.bstrMessage};
    for (UINT i = 0; i < sheet.nTracks; ++i) {
      const ZSTRACK& track = sheet.pZSTracks[i];
      sink({Format("%u", track.TNO), columns[0].Show(track.bstrTitle), columns[1].Show(track.bstrPerformer),
            columns[2].Show(track.bstrSongwriter), columns[3].Show(track.bstrComposer),
            columns[4].Show(track.bstrArranger), columns[5].Show(track.bstrGenre), columns[6].Show(track.bstrMessage)});
    }
  });
}
