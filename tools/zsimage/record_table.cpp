#include "record_table.h"

#include <sys/stat.h>

#include <initializer_list>

#include "disc_words.h"
#include "files.h"
#include "platform/paths.h"
#include "text_table.h"

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

TextTable TrackTable() {
  using enum TextTable::Align;
  TextTable table;
  table.AddColumn("Session", Right, true);
  table.AddColumn("Track", Right, true);
  table.AddColumn("Mode", Left, true);
  table.AddColumn("Block", Right, true);
  table.AddColumn("Start", Right, true);
  table.AddColumn("Sector", Right, true);
  table.AddColumn("Length", Right, true);
  table.AddColumn("Sectors", Right, true);
  table.AddColumn("Pregap", Right);
  table.AddColumn("Postgap", Right);
  table.AddColumn("Flags", Left);
  table.AddColumn("ISRC", Left);
  table.AddColumn("Title", Left);
  table.AddColumn("Performer", Left);
  return table;
}

void GiveTracks(const ZSCUESHEET& sheet, unsigned session, const TextTable::RowSink& sink) {
  TextColumn titles(sheet.ZSCDTEXT.bstrTitle);
  TextColumn performers(sheet.ZSCDTEXT.bstrPerformer);
  for (UINT i = 0; i < sheet.nTracks; ++i) {
    const ZSTRACK& track = sheet.pZSTracks[i];
    const bool sound = track.dwEndLBA >= track.dwLBA;
    const ULONG sectors = sound ? track.dwEndLBA - track.dwLBA : 0;
    sink({Format("%u", session),
          Format("%u", track.TNO),
          {ModeWords(track.Mode), ModeColour(track.Mode)},
          Format("%d", static_cast<int>(track.BlockSize)),
          DiscTime(track.dwLBA),
          Format("%u", track.dwLBA),
          sound ? Duration(sectors) : "-",
          sound ? Format("%u", sectors) : "-",
          Gap(track.Pregap),
          Gap(track.Postgap),
          FlagWords(track.Flags),
          TerminalText(track.bstrISRC),
          titles.Show(track.bstrTitle),
          performers.Show(track.bstrPerformer)});
  }
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
  const std::string named = image.DataFile();
  if (image.IsItsOwnDataFile()) {
    return image.Info().ZSImageFormat == ZSIMAGEFORMAT_CCD
               ? "none: there is no .img file of this name beside the description"
               : "none: the description names no file but itself";
  }
  std::string resolved;
  struct stat status {};
  if (!ResolveFilePath(named, &resolved) || stat(resolved.c_str(), &status) != 0) {
    return TerminalText(named) + " (no such file)";
  }
  const std::string size = S_ISREG(status.st_mode) ? ReadableSize(static_cast<UHYPER>(status.st_size)) : "device";
  return TerminalText(resolved) + " (" + size + ")";
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

const char* NoSessions(const zsimagefileinfo& info) {
  return info.ZSImageFormat == ZSIMAGEFORMAT_NRG
             ? "  The image has no sessions that can be read; chunks of older versions (CUES, DAOI, ETNF) are not."
             : "  The image has no sessions.";
}

} // namespace

void PrintImage(const ImageRecord& image) {
  const zsimagefileinfo& info = image.Info();
  std::string page = Coloured(TerminalText(image.Path()), Colour::Bold) + "\n";
  AddLine(&page, "Kind", KindWords(info.ZSTYPEPROJECT));
  AddLine(&page, "Format", FormatWords(info.ZSImageFormat));
  AddLine(&page, "Data file", DataFileWords(image));
  AddLine(&page, "Disc id", IdWords(info));
  AddLine(&page, "With", CompanionWords(info.lMask));
  if (info.nSessions == 0) {
    return Print(page + NoSessions(info) + "\n");
  }
  AddDiscText(&page, info.pZSCueSheet[0]->ZSCDTEXT);
  Print(page + "\n");
  TrackTable().Print([&](const TextTable::RowSink& sink) {
    for (USHORT i = 0; i < info.nSessions; ++i) {
      GiveTracks(*info.pZSCueSheet[i], i + 1U, sink);
    }
  });
}

void PrintSheet(const ZSCUESHEET& sheet) {
  std::string texts;
  AddDiscText(&texts, sheet.ZSCDTEXT);
  Print(texts + (texts.empty() ? "" : "\n"));
  using enum TextTable::Align;
  TextTable table;
  table.AddColumn("Track", Right, true);
  for (const char* heading : {"Title", "Performer", "Songwriter", "Composer", "Arranger", "Genre", "Message"}) {
    table.AddColumn(heading, Left);
  }
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
