#include "checks/pack_file.h"
#include "commands/commands.h"
#include "commands/record_json.h"
#include "commands/record_table.h"
#include "files/output_file.h"
#include "output/failure.h"
#include "output/standard_output.h"

int RunDecode(const DecodeOptions& options) {
  constexpr unsigned kMostTracks = 99;
  const Host host;
  PackFile file = ReadPackFile(options.packs);
  const UniqueSheet made = MakeSheet(host, options.tracks.value_or(kMostTracks));
  ZSCUESHEET& sheet = *made;
  file.packs.reserve(1); // The component takes no null address, not even for no bytes.
  Check(host.Sheets().AnalyzeCDTextFromData(file.packs.data(), static_cast<UINT>(file.packs.size()), &sheet),
        options.packs);
  while (!options.tracks && sheet.nTracks > file.tracks && !HasText(sheet.pZSTracks[sheet.nTracks - 1])) {
    --sheet.nTracks; // It owns nothing.
  }
  if (options.json) {
    PrintSheetJson(sheet);
  } else if (sheet.ZSCDTEXT.CDTextPresent == VARIANT_TRUE) {
    PrintSheet(sheet);
  }
  for (const Finding& finding : file.findings) {
    if (finding.isFault) {
      Failure(options.packs, finding.words, ZSE_FAILED).Report();
    } else {
      Note(finding.words);
    }
  }
  return file.Fault().empty() ? 0 : kExitFailure;
}

int RunEncode(const EncodeOptions& options) {
  const Host host;
  const ImageRecord image(host, options.path);
  const std::vector<BYTE> packs = EncodeText(host, &image.Session(1), options.subChannel);
  if (packs.empty()) {
    throw Failure(options.path, "the first session has no text to encode", ZSE_FAILED);
  }
  image.RefuseOwnFiles(options.output);
  WriteWholeFile(options.output, {reinterpret_cast<const char*>(packs.data()), packs.size()}, options.force);
  if (!IsStandardOutput(options.output)) { // It is for the packs alone.
    Print(TerminalText(options.output) +
          Format(": %zu bytes%s\n", packs.size(), options.subChannel ? ", in groups of 96 for the sub-channel" : ""));
  }
  return 0;
}
