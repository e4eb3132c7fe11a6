#include "output/failure.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

#include <fmt/format.h>

#include "output/terminal.h"
#include "output/terminal_text.h"
#include "platform/registry.h"

namespace {

constexpr HRESULT CodeOf(DWORD error) { return HRESULT_FROM_WIN32(static_cast<std::int32_t>(error)); }

struct KnownCode {
  HRESULT code;
  const char* name;
  const char* words;
};

constexpr KnownCode kKnownCodes[] = {
    {S_OK, "S_OK", "success"},
    {kCancelled, "E_ABORT", "cancelled"},
    {E_FAIL, "E_FAIL", "the operation failed for an unknown reason"},
    {E_UNEXPECTED, "E_UNEXPECTED", "the object is not in a state for this operation"},
    {E_OUTOFMEMORY, "E_OUTOFMEMORY", "out of memory"},
    {E_INVALIDARG, "E_INVALIDARG", "an argument is missing or wrong"},
    {REGDB_E_CLASSNOTREG, "REGDB_E_CLASSNOTREG", "the image library is neither loaded nor registered"},
    {CO_E_CLASSSTRING, "CO_E_CLASSSTRING", "the image library is neither loaded nor registered"},
    {REGDB_E_READREGDB, "REGDB_E_READREGDB", "the registry cannot be read"},
    {ZSE_FAILED, "ZSE_FAILED", "the image describes no disc"},
    {ZSE_FILENOTFOUND, "ZSE_FILENOTFOUND", "the description or a file that belongs to it is missing"},
    {ZSE_OUTOFRESOURCES, "ZSE_OUTOFRESOURCES", "the image exceeds a limit, or there is not enough memory"},
    {ZSE_CANNOTOPENIMAGE, "ZSE_CANNOTOPENIMAGE", "the file cannot be opened for reading"},
    {ZSE_BADIMAGE, "ZSE_BADIMAGE", "this is not a readable image"},
    {ZSE_TOCVERSION, "ZSE_TOCVERSION", "a later version of the program wrote this file"},
    {kFileExists, "ERROR_FILE_EXISTS", "the file exists"},
    {CodeOf(ERROR_FILE_NOT_FOUND), "ERROR_FILE_NOT_FOUND", "no such file"},
    {CodeOf(ERROR_PATH_NOT_FOUND), "ERROR_PATH_NOT_FOUND", "no such folder"},
    {CodeOf(ERROR_TOO_MANY_OPEN_FILES), "ERROR_TOO_MANY_OPEN_FILES", "too many files are open"},
    {CodeOf(ERROR_NOT_ENOUGH_MEMORY), "ERROR_NOT_ENOUGH_MEMORY", "out of memory"},
    {CodeOf(ERROR_INVALID_PARAMETER), "ERROR_INVALID_PARAMETER", "the system rejects this argument"},
    {CodeOf(ERROR_INVALID_NAME), "ERROR_INVALID_NAME", "the system rejects this name"},
    {CodeOf(ERROR_FILENAME_EXCED_RANGE), "ERROR_FILENAME_EXCED_RANGE", "the name is too long"},
    {CodeOf(ERROR_ACCESS_DENIED), "ERROR_ACCESS_DENIED", "permission denied"},
    {CodeOf(ERROR_SHARING_VIOLATION), "ERROR_SHARING_VIOLATION", "another program is writing this file"},
    {CodeOf(ERROR_HANDLE_EOF), "ERROR_HANDLE_EOF", "the file ends too early"},
    {CodeOf(ERROR_DISK_FULL), "ERROR_DISK_FULL", "the disk is full"},
    {CodeOf(ERROR_IO_DEVICE), "ERROR_IO_DEVICE", "the device failed"},
    {CodeOf(ERROR_FILE_TOO_LARGE), "ERROR_FILE_TOO_LARGE", "the file would be too large"},
    {CodeOf(ERROR_BADDB), "ERROR_BADDB", "this is not a registry file, or it is damaged; move it away to start anew"},
    {CodeOf(ERROR_WRITE_PROTECT), "ERROR_WRITE_PROTECT", "the disk is write-protected"},
    {CodeOf(ERROR_GEN_FAILURE), "ERROR_GEN_FAILURE", "the system reported an error"},
};

const KnownCode* FindCode(HRESULT code) {
  const auto* known = std::find_if(std::begin(kKnownCodes), std::end(kKnownCodes),
                                   [&](const KnownCode& entry) { return entry.code == code; });
  return known == std::end(kKnownCodes) ? nullptr : known;
}

std::string MessageOf(std::string_view file, std::string_view words, HRESULT code) {
  const std::string number = CodeNumber(code);
  const std::string name = CodeName(code);
  return fmt::format("{}{}{} ({}{})", TerminalText(file), file.empty() ? "" : ": ", words, name,
                     name == number ? "" : ", " + number);
}

} // namespace

Failure::Failure(std::string_view file, std::string_view words, HRESULT code)
    : std::runtime_error(MessageOf(file, words, code)), m_file(file), m_words(words), m_code(code) {}

Failure::Failure(std::string_view file, std::string_view words, DWORD error) : Failure(file, words, CodeOf(error)) {}

int Failure::Report() const {
  std::fputs(fmt::format("{} {}\n", Coloured("zsimage:", Colour::Red, STDERR_FILENO), what()).c_str(), stderr);
  return m_code == kCancelled ? kExitCancelled : kExitFailure;
}

std::string CodeName(HRESULT code) {
  const KnownCode* known = FindCode(code);
  return known == nullptr ? CodeNumber(code) : known->name;
}

std::string CodeNumber(HRESULT code) { return fmt::format("0x{:08X}", static_cast<std::uint32_t>(code)); }

std::string_view CodeWords(HRESULT code) {
  const KnownCode* known = FindCode(code);
  return known == nullptr ? "the operation failed" : known->words;
}

void Check(HRESULT code, std::string_view file, std::string_view words) {
  if (code != S_OK) {
    throw Failure(file, words.empty() ? CodeWords(code) : words, code == S_FALSE ? ZSE_FAILED : code);
  }
}

void Note(std::string_view words) { std::fputs(fmt::format("zsimage: note: {}.\n", words).c_str(), stderr); }
