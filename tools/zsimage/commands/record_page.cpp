#include "commands/record.h"

#include <fmt/format.h>

#include "files/input_file.h"
#include "files/paths.h"
#include "image/disc_text.h"
#include "image/explain.h"
#include "image/sheet_lines.h"
#include "output/standard_output.h"
#include "output/text_table.h"

namespace {

/// Returns the words of the bits that are set, in the order of the table.
std::string WordsOf(LONG mask, std::span<const FlagWord> table, const char* separator) {
  std::vector<std::string_view> words;
  for (const FlagWord& entry : table) {
    if ((mask & entry.bit) != 0) {
      words.emplace_back(entry.word);
    }
  }
  return fmt::format("{}", fmt::join(words, separator));
}

Colour ModeColour(ZSMODETYPE mode) {
  return mode == ZSMODE_AUDIO ? Colour::Green : mode == ZSMODE_1 ? Colour::Cyan : Colour::Magenta;
}

std::string Gap(LONG sectors) { return sectors == 0 ? "" : std::to_string(sectors); }

void ProduceRows(const imagefile::Image& image, const imagefile::Session& session, const TextTable::RowSink& sink) {
  const UHYPER size = DataSize(image);
  TextColumn titles(session.Record().ZSCDTEXT.bstrTitle);
  TextColumn performers(session.Record().ZSCDTEXT.bstrPerformer);
  for (const imagefile::Track& view : session.Tracks()) {
    const ZSTRACK& track = view.Record();
    const ULONG sectors = view.SectorsInFile();
    const ULONG missing = view.MissingSectors(size);
    const bool hasLength =
        track.dwEndLBA >= imagefile::FilePosition(image.Record(), track) && (missing == 0 || sectors != 0);
    sink({std::to_string(session.Number()),
          std::to_string(track.TNO),
          {DescribeMode(track.Mode), ModeColour(track.Mode)},
          std::to_string(track.BlockSize),
          DiscTime(track.dwLBA),
          std::to_string(track.dwLBA),
          hasLength ? Duration(sectors) : "-",
          hasLength ? std::to_string(sectors) : "-",
          Gap(track.Pregap),
          Gap(track.Postgap),
          WordsOf(track.Flags, kTrackFlags, " "),
          TerminalText(track.bstrISRC),
          titles.Show(track.bstrTitle),
          performers.Show(track.bstrPerformer),
          {DescribeMissing(missing), Colour::Red}});
  }
}

/// Returns a line "  Name         value", or nothing without a value.
std::string Line(std::string_view name, const std::string& value) {
  return value.empty() ? "" : Coloured(fmt::format("  {:11} ", name), Colour::Dim) + value + "\n";
}

std::string DiscTexts(const ::ZSCDTEXT& text) {
  std::string lines = Line("Catalogue", TerminalText(text.bstrMCN));
  for (const auto& entry : kTextFields) {
    lines += Line(entry.name, TerminalText(TextOf(text, entry.ofDisc)));
  }
  return lines;
}

std::string DescribeDataFile(const imagefile::Image& image) {
  const std::optional<UHYPER> size = image.DataFileBytes();
  if (!size && IsSameFile(image.DataFile(), image.Path())) {
    return image.Format() == imagefile::Format::Ccd ? "none: no .img file of this name is beside the description"
                                                    : "none: the description names no file but itself";
  }
  const std::string type = image.Record().dwSeekBegin64 != 0 ? "" : SoundFileType(image.DataFile());
  return fmt::format("{} ({}){}", TerminalText(image.DataFile()), size ? ReadableSize(*size) : "no such file",
                     type.empty() ? "" : fmt::format(", a sound file ({}) that is read as raw samples", type));
}

std::string DescribeCompanions(LONG mask) {
  const bool isInline = (mask & ZSIMAGEMASK_SUBINLINE) != 0;
  const FlagWord companions[] = {{ZSIMAGEMASK_CDTEXT, "CD-Text"},
                                 {ZSIMAGEMASK_CDG, "CD+G"},
                                 {ZSIMAGEMASK_SUBCHANNEL, isInline ? "sub-channel in the sectors" : "sub-channel file"},
                                 {ZSIMAGEMASK_TRACKATONCE, "recorded track at once"}};
  return WordsOf(mask, companions, ", ");
}

std::string DescribeDiscIds(ULONG disc, ULONG firstSession) {
  if (disc == 0 && firstSession == 0) {
    return "";
  }
  return fmt::format("{:08X}{}", disc, firstSession == 0 ? "" : fmt::format(", first session {:08X}", firstSession));
}

std::string CountMisreadTexts(std::size_t count) {
  return count == 0 ? "" : Counted(count, "line") + " with a keyword in the text; 'zsimage check' reports what is lost";
}

} // namespace

void PrintRecord(const imagefile::Image& image) {
  const zsimagefileinfo& info = image.Record();
  const SheetNotes notes = ReadSheetNotes(image.Path(), image.DataFile());
  Print(Coloured(TerminalText(image.Path()), Colour::Bold) + "\n" + Line("Kind", KindOfImage(image)) +
        Line("Format", DescribeFormat(info.ZSImageFormat)) + Line("Data file", DescribeDataFile(image)) +
        Line("Disc id", DescribeDiscIds(info.dwDiscID, info.dwDiscID2)) + Line("With", DescribeCompanions(info.lMask)) +
        Line("Files", notes.joinAdvice) + Line("Texts", CountMisreadTexts(notes.misreadTexts.size())));
  if (info.nSessions == 0) {
    return;
  }
  Print(DiscTexts(info.pZSCueSheet[0]->ZSCDTEXT) + "\n");
  TextTable table({">Session", ">Track", "Mode", ">Block", ">Start", ">Sector", ">Length", ">Sectors"},
                  {">Pregap", ">Postgap", "Flags", "~ISRC", "~Title", "~Performer", "Note"});
  table.Print([&](const TextTable::RowSink& sink) {
    for (const imagefile::Session& session : image.Sessions()) {
      ProduceRows(image, session, sink);
    }
  });
}

void PrintTexts(const ZSCUESHEET& sheet) {
  const std::string texts = DiscTexts(sheet.ZSCDTEXT);
  Print(texts + (texts.empty() ? "" : "\n"));
  std::vector<const char*> headings;
  for (const auto& entry : kTextFields) {
    headings.push_back(entry.name);
  }
  TextTable table({">Track"}, headings);
  table.Print([&](const TextTable::RowSink& sink) {
    std::vector<TextColumn> columns;
    for (const auto& entry : kTextFields) {
      columns.emplace_back(TextOf(sheet.ZSCDTEXT, entry.ofDisc));
    }
    for (const ZSTRACK& track : Tracks(sheet)) {
      TextTable::Row row{std::to_string(track.TNO)};
      for (std::size_t i = 0; i < columns.size(); ++i) {
        row.emplace_back(columns[i].Show(TextOf(track, kTextFields[i].ofTrack)));
      }
      sink(row);
    }
  });
}
