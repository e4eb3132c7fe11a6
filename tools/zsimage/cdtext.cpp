#include <cstdio>

#include "commands.h"
#include "failure.h"
#include "files.h"
#include "output_file.h"
#include "record_json.h"
#include "record_table.h"

namespace {

/// Reads a file of packs into the texts of a sheet.
void Decode(const Host& host, const std::string& path, ZSCUESHEET* sheet) {
  std::vector<BYTE> packs = ReadWholeFile(path, kLargestPackFile);
  packs.reserve(1); // The component takes no null address, not even for no bytes.
  Check(host.Sheets().AnalyzeCDTextFromData(packs.data(), static_cast<UINT>(packs.size()), sheet), path);
}

} // namespace

int RunDecode(const DecodeOptions& options) {
  const Host host;
  const SheetRecord record(host, options.tracks);
  Decode(host, options.packs, &record.Sheet());
  if (options.json) {
    PrintSheetJson(record.Sheet());
  } else if (record.Sheet().ZSCDTEXT.CDTextPresent != VARIANT_TRUE) {
    std::printf("%s holds no CD-Text packs.\n", TerminalText(options.packs).c_str());
  } else {
    PrintSheet(record.Sheet());
  }
  return 0;
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
  if (IsStandardOutput(options.output)) {
    return 0; // Standard output is for the packs alone.
  }
  std::printf("%s: %zu bytes%s\n", TerminalText(options.output).c_str(), packs.size(),
              options.subChannel ? ", in groups of 96 for the sub-channel" : "");
  return 0;
}
