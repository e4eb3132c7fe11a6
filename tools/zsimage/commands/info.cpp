#include "commands/commands.h"
#include "commands/record_json.h"
#include "commands/record_table.h"
#include "output/standard_output.h"

namespace {

void ShowImage(const Host& host, const std::string& path, const InfoOptions& options) {
  const ImageRecord image(host, path);
  if (options.json) {
    PrintRecordJson(image.Info(), options.paths.size() > 1);
  } else {
    Print(&path == &options.paths.front() ? "" : "\n");
    PrintImage(host, image);
  }
}

} // namespace

int RunInfo(const InfoOptions& options) {
  const Host host;
  return ForEachImage(options.paths, options.json, [&](const std::string& path) {
    ShowImage(host, path, options);
    return 0;
  });
}
