#include <cstdio>

#include "commands.h"
#include "record_json.h"
#include "record_table.h"

namespace {

void ShowImage(const Host& host, const std::string& path, const InfoOptions& options) {
  const ImageRecord image(host, path);
  if (options.json) {
    PrintJson(ImageToJson(image.Info()), options.paths.size() > 1);
  } else {
    std::printf("%s%s", &path == &options.paths.front() ? "" : "\n", RenderImage(image).c_str());
  }
}

} // namespace

/// Images that cannot be read keep nobody from seeing the others.
int RunInfo(const InfoOptions& options) {
  const Host host;
  int status = 0;
  for (const std::string& path : options.paths) {
    try {
      ShowImage(host, path, options);
    } catch (const Failure& failure) {
      status = ReportOne(failure, options.json, options.paths.size() > 1);
    }
  }
  return status;
}
