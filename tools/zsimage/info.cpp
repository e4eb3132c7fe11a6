#include <cstdio>

#include "commands.h"
#include "record_json.h"
#include "record_table.h"

int RunInfo(const InfoOptions& options) {
  const Host host;
  const ImageRecord image(host, options.path);
  if (options.json) {
    PrintJson(ImageToJson(image.Info()));
  } else {
    std::printf("%s", RenderImage(image).c_str());
  }
  return 0;
}
