#include "output/report.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <new>

#include "output/failure.h"
#include "output/json.h"
#include "output/terminal_text.h"

namespace {

/// Memory to free when an allocation fails: destructors of JSON values allocate, and a failure there ends the process.
std::unique_ptr<char[]> g_reserve;

[[noreturn]] void ThrowOutOfMemory() {
  std::set_new_handler(nullptr);
  g_reserve.reset();
  throw std::bad_alloc();
}

/// Returns the exception that is being handled as an Error: of an image, or of the command if the name is empty.
imagefile::Error CurrentFailure(const std::string& image) {
  try {
    throw;
  } catch (const imagefile::Error& failure) {
    return failure;
  } catch (const std::bad_alloc&) {
    return Failure(image, MeaningOf(E_OUTOFMEMORY).words, E_OUTOFMEMORY);
  } catch (const std::exception& error) {
    return Failure(image, std::string("unexpected: ") + error.what(), E_UNEXPECTED);
  }
}

Json FailureToJson(const imagefile::Error& failure, const std::string& image) {
  const bool namesOther = failure.Path() != image && !failure.Path().empty();
  Json json = Json::object();
  if (!image.empty()) {
    json["image"] = TerminalText(image);
  }
  json["result"] = CodeName(failure.Code());
  json["code"] = CodeNumber(failure.Code());
  json["words"] = (namesOther ? TerminalText(failure.Path()) + ": " : "") + failure.Words();
  return json;
}

int Report(const imagefile::Error& failure, const std::string& image, bool json, bool isLine) {
  if (json && std::ferror(stdout) == 0) {
    PrintJson(FailureToJson(failure, image), isLine);
  }
  std::fflush(stdout); // So that the message follows the output before it.
  return ::Report(failure);
}

} // namespace

int RunReported(const std::string& image, bool json, const std::function<int()>& command) {
  try {
    return command();
  } catch (...) {
    return Report(CurrentFailure(image), image, json, false);
  }
}

int ForEachImage(const std::vector<std::string>& paths, bool json,
                 const std::function<int(const std::string&)>& command) {
  int status = 0;
  for (const std::string& path : paths) {
    try {
      g_reserve = std::make_unique<char[]>(65536);
      std::set_new_handler(ThrowOutOfMemory);
      status = std::max(status, command(path));
    } catch (...) {
      const imagefile::Error failure = CurrentFailure(path);
      if (failure.Code() == kCancelled || std::ferror(stdout) != 0) {
        throw;
      }
      status = Report(failure, path, json, paths.size() > 1);
    }
  }
  return status;
}
