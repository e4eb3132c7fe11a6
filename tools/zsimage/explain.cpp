#include "explain.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "failure.h"
#include "files.h"
#include "platform/files.h"
#include "platform/paths.h"
#include "platform/text.h"

namespace {

constexpr const char* kReadable = "images are read by their .iso, .cue, .nrg, .ccd, .mds or .zsi file";

std::string UpperExtension(const std::string& path) {
  std::string extension = path.substr(path.size() < 4 ? 0 : path.size() - 4);
  CharUpperA(&extension);
  return extension;
}

std::string ExplainClosed(const std::string& path) {
  std::string resolved;
  struct stat status {};
  if (path.empty()) {
    return "the path is empty";
  }
  if (!ResolveFilePath(path, &resolved) || stat(resolved.c_str(), &status) != 0) {
    return "no such file";
  }
  if (S_ISDIR(status.st_mode)) {
    return std::string("this is a folder; ") + kReadable;
  }
  if (!S_ISREG(status.st_mode) && !S_ISBLK(status.st_mode)) {
    return "this is neither a file nor a block device";
  }
  return "the file exists but cannot be opened for reading; look at its permissions";
}

std::string ExplainMissing(const Host& host, const std::string& path, const std::string& extension) {
  if (extension == ".CUE") {
    BSTR named = nullptr;
    host.Sheets().GetBinaryFile(Wide(path).get(), &named);
    const UniqueBstr owned(named);
    return "the sheet names " + TerminalText(FileName(Narrow(named))) +
           "; no such file beside it, in any case; put it there, or correct the FILE line";
  }
  if (extension == ".MDS") {
    std::string data = FileName(path);
    PathRenameExtensionA(&data, ".MDF");
    return "the description has its sectors in " + TerminalText(data) +
           ", and there is no such file beside it, or the description ends too early";
  }
  return std::string(CodeWords(ZSE_FILENOTFOUND));
}

std::string ExplainBad(const std::string& extension) {
  if (extension == ".BIN" || extension == ".IMG" || extension == ".MDF") {
    return "a bare data file does not say what it holds; give the .cue, .ccd or .mds file that belongs to it";
  }
  if (extension == ".BWT" || extension == ".B5T") {
    return "BlindWrite images are recognised but not read; convert the image to a CUE sheet first";
  }
  if (extension == ".ISO") {
    return "the size is no whole number of sectors and there is no ISO 9660 volume descriptor in it";
  }
  if (extension == ".CUE" || extension == ".NRG" || extension == ".CCD" || extension == ".MDS") {
    return "the file is damaged, or its contents are not what its extension " + extension + " says";
  }
  if (extension == ".ZSI") {
    return "the data file that the description names cannot be opened, or the first session has no tracks";
  }
  return std::string("files with this extension are not read; ") + kReadable;
}

std::string ExplainUnusable(const std::string& extension) {
  if (extension == ".CUE") {
    return "the sheet has no TRACK line, or its data file is no whole number of sectors";
  }
  if (extension == ".ZSI") {
    return "this is not a complete TOC file: the data file's name, a track count or a track's mode is missing";
  }
  return std::string(CodeWords(ZSE_FAILED));
}

std::string ExplainExcess(const std::string& extension) {
  if (extension == ".CCD") {
    return "the description counts more than 99 sessions, or memory is short";
  }
  if (extension == ".MDS") {
    return "a data track has a mode that is neither 1 nor 2, or there are more than 99 sessions, or memory is short";
  }
  return std::string(CodeWords(ZSE_OUTOFRESOURCES));
}

} // namespace

std::string ExplainOpenFailure(const Host& host, const std::string& path, HRESULT result) {
  const std::string extension = UpperExtension(path);
  switch (result) {
  case ZSE_CANNOTOPENIMAGE:
    return ExplainClosed(path);
  case ZSE_FILENOTFOUND:
    return ExplainMissing(host, path, extension);
  case ZSE_BADIMAGE:
    return ExplainBad(TerminalText(extension));
  case ZSE_OUTOFRESOURCES:
    return ExplainExcess(extension);
  case ZSE_FAILED:
    return ExplainUnusable(extension);
  default:
    return std::string(CodeWords(result));
  }
}
