#include "commands/commands.h"
#include "commands/record.h"
#include "output/report.h"
#include "output/standard_output.h"

namespace {

struct InfoOptions {
  std::vector<std::string> paths;
  bool json = false;
};

int RunInfo(const InfoOptions& options) {
  return ForEachImage(options.paths, options.json, [&](const std::string& path) {
    const imagefile::Image image = OpenImage(path);
    if (options.json) {
      PrintRecordJson(image.Record(), options.paths.size() > 1);
    } else {
      Print(&path == &options.paths.front() ? "" : "\n");
      PrintRecord(image);
    }
    return 0;
  });
}

} // namespace

void AddInfo(Command* tool) {
  auto [command, options] = tool->Add("info", "Show what an image contains", RunInfo);
  command.AddImages(&options.paths);
  command.AddJson(&options.json, "Print the whole record as one JSON object; of several images, one a line");
  command.AddExamples({{"zsimage info disc.cue", "A page for a person."},
                       {"zsimage info --json disc.nrg", "The whole record for a program."},
                       {"zsimage info --json *.cue | jq .dwDiscID", "One record a line, in the order of the paths."}});
}
