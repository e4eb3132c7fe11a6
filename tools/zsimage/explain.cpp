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

constexpr const char* kNoFileLine = "the sheet has no data file: no FILE line has a name in double quotes";

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

/// The data file that a sheet names: empty for an empty name, and the sheet itself when no line names any.
std::string NamedBySheet(const Host& host, const std::string& path) {
  BSTR named = nullptr;
  host.Sheets().GetBinaryFile(Wide(path).get(), &named);
  const std::string found = Narrow(UniqueBstr(named).get());
  return found == Beside(path, "") ? "" : found;
}

/// A sheet that names a file has been read, so that file is the closed one.
std::string ExplainClosedSheet(const Host& host, const std::string& path) {
  const std::string named = NamedBySheet(host, path);
  if (named.empty()) {
    return kNoFileLine;
  }
  return named == path ? ExplainClosed(path) : "its data file " + TerminalText(named) + ": " + ExplainClosed(named);
}

std::string ExplainMissing(const Host& host, const std::string& path, const std::string& extension) {
  if (extension == ".CUE") {
    const std::string named = NamedBySheet(host, path);
    if (named.empty()) {
      return kNoFileLine;
    }
    const std::string name = FileName(named);
    const bool isBeside = named == Beside(path, name);
    return "the sheet names " + TerminalText(isBeside ? name : named) + "; no such file" +
           (isBeside ? " beside it" : "") + ", in any case; put it there, or correct the FILE line";
  }
  if (extension == ".MDS") {
    return "the description has its sectors in " + TerminalText(WithExtension(FileName(path), ".MDF")) +
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
    return "the file is damaged, or its contents are not what its extension " + extension + " says, or memory is short";
  }
  if (extension == ".ZSI") {
    return "the data file that the description names cannot be opened, or memory is short";
  }
  return std::string("files with this extension are not read; ") + kReadable;
}

std::string ExplainSheet(const Host& host, const std::string& path) {
  const std::string named = NamedBySheet(host, path);
  if (named.empty() || named == path) {
    return kNoFileLine;
  }
  const SheetRecord record(host, 0);
  const HRESULT result = host.Sheets().AnalyzeCueSheet(Wide(path).get(), &record.Sheet());
  if (result == ZSE_BADIMAGE) {
    return "its data file " + TerminalText(FileName(named)) + " is no whole number of sectors";
  }
  return result == S_OK ? "the sheet has no TRACK line" : std::string(CodeWords(E_OUTOFMEMORY));
}

std::string ExplainUnusable(const Host& host, const std::string& path, const std::string& extension) {
  if (extension == ".CUE") {
    return ExplainSheet(host, path);
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
    return extension == ".CUE" ? ExplainClosedSheet(host, path) : ExplainClosed(path);
  case ZSE_FILENOTFOUND:
    return ExplainMissing(host, path, extension);
  case ZSE_BADIMAGE:
    return ExplainBad(TerminalText(extension));
  case ZSE_OUTOFRESOURCES:
    return ExplainExcess(extension);
  case ZSE_FAILED:
    return ExplainUnusable(host, path, extension);
  default:
    return std::string(CodeWords(result));
  }
}
