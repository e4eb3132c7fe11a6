#include <fmt/format.h>

#include "commands/commands.h"
#include "files/output_file.h"
#include "files/paths.h"
#include "image/explain.h"
#include "output/failure.h"
#include "output/standard_output.h"
#include "output/terminal_text.h"
#include "picture/disc_picture.h"

namespace {

struct MapOptions {
  std::string path;
  std::string output;
  bool force = false;
};

std::string Page(const std::string& picture) {
  return "<!DOCTYPE html>\n<html lang=\"en\">\n<meta charset=\"utf-8\">\n"
         "<meta name=\"color-scheme\" content=\"light dark\">\n<title>Disc</title>\n"
         "<style>body { margin: 0; display: grid; justify-content: center; }\n"
         "body { background: #fbfbf9; } @media (prefers-color-scheme: dark) { body { background: #15181c; } }\n"
         "svg { max-width: 100%; height: auto; }</style>\n" +
         picture + "</html>\n";
}

int RunMap(const MapOptions& options) {
  const bool isPage = HasExtension(options.output, ".HTML");
  FailIf(!isPage && !HasExtension(options.output, ".SVG") && !IsStandardOutput(options.output), options.output,
         E_INVALIDARG, "pictures are .svg or .html files; give a name with one of these extensions");
  const imagefile::Image image = OpenImage(options.path);
  image.RefuseOwnFile(options.output);
  const std::string picture = DrawDisc(image, KindOfImage(image));
  const std::string content = isPage ? Page(picture) : picture;
  if (IsStandardOutput(options.output)) {
    Print(content); // SVG is text, so a terminal may show it.
    return 0;
  }
  WriteContent(options.output, content, options.force);
  Print(fmt::format("{}: {}\n", TerminalText(options.output), ReadableSize(content.size())));
  return 0;
}

} // namespace

void AddMap(Command* tool) {
  auto [command, options] = tool->Add("map", "Draw a picture of the disc", RunMap);
  command.AddImage(&options.path);
  command.AddName("-o,--output", &options.output, "Picture to write: .svg or .html, - for SVG on standard output")
      ->type_name("FILE")
      ->required();
  command.AddForce(&options.force);
  command.AddExamples({{"zsimage map disc.cue -o disc.svg", "A picture for any browser."},
                       {"zsimage map disc.nrg -o disc.html", "The same as a page."}});
}
