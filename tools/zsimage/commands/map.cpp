#include "commands/commands.h"
#include "files/files.h"
#include "files/output_file.h"
#include "output/standard_output.h"
#include "picture/disc_picture.h"

namespace {

std::string Page(const std::string& picture) {
  return "<!DOCTYPE html>\n<html lang=\"en\">\n<meta charset=\"utf-8\">\n"
         "<meta name=\"color-scheme\" content=\"light dark\">\n<title>Disc</title>\n"
         "<style>body { margin: 0; display: grid; justify-content: center; }\n"
         "body { background: #fbfbf9; } @media (prefers-color-scheme: dark) { body { background: #15181c; } }\n"
         "svg { max-width: 100%; height: auto; }</style>\n" +
         picture + "</html>\n";
}

} // namespace

int RunMap(const MapOptions& options) {
  const bool isPage = EndsWith(options.output, ".HTML");
  if (!isPage && !EndsWith(options.output, ".SVG") && !IsStandardOutput(options.output)) {
    throw Failure(options.output, "pictures are written as .svg or .html; give a name with one of these extensions",
                  E_INVALIDARG);
  }
  const Host host;
  const ImageRecord image(host, options.path);
  image.RefuseOwnFiles(options.output);
  const std::string picture = DrawDisc(image);
  const std::string content = isPage ? Page(picture) : picture;
  if (IsStandardOutput(options.output)) {
    Print(content); // Text, which a terminal may show.
    return 0;
  }
  WriteWholeFile(options.output, content, options.force);
  Print(TerminalText(options.output) + ": " + ReadableSize(content.size()) + "\n");
  return 0;
}
