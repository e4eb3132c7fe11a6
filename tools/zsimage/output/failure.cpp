#include "output/failure.h"

#include <cstdint>
#include <cstdio>

#include "output/terminal.h"
#include "output/terminal_text.h"
#include "platform/files.h"
#include "platform/registry.h"

namespace {

struct KnownCode {
  HRESULT code;
  const char* name;
  const char* words;
};

constexpr KnownCode kKnownCodes[] = {
    {S_OK, "S_OK", "success"},
    {kCancelled, "E_ABORT", "cancelled"},
    {E_FAIL, "E_FAIL", "the operation failed without a closer reason"},
    {E_UNEXPECTED, "E_UNEXPECTED", "the object is in no state for this operation"},
    {E_OUTOFMEMORY, "E_OUTOFMEMORY", "there is not enough memory"},
    {E_INVALIDARG, "E_INVALIDARG", "an argument is missing or wrong"},
    {REGDB_E_CLASSNOTREG, "REGDB_E_CLASSNOTREG", "the image library is neither loaded nor registered"},
    {CO_E_CLASSSTRING, "CO_E_CLASSSTRING", "the image library is neither loaded nor registered"},
    {REGDB_E_READREGDB, "REGDB_E_READREGDB", "the registry cannot be read"},
    {ZSE_FAILED, "ZSE_FAILED", "nothing in it can be used as a disc"},
    {ZSE_FILENOTFOUND, "ZSE_FILENOTFOUND", "the description or a file that belongs to it is missing"},
    {ZSE_OUTOFRESOURCES, "ZSE_OUTOFRESOURCES", "it asks for more than an image can have, or memory is short"},
    {ZSE_CANNOTOPENIMAGE, "ZSE_CANNOTOPENIMAGE", "the file cannot be opened for reading"},
    {ZSE_BADIMAGE, "ZSE_BADIMAGE", "this is not an image that can be read"},
    {ZSE_TOCVERSION, "ZSE_TOCVERSION", "a later version of the program wrote this file"},
    {kFileExists, "ERROR_FILE_EXISTS", "the file exists"},
    {HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND), "ERROR_FILE_NOT_FOUND", "no such file"},
    {HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND), "ERROR_PATH_NOT_FOUND", "no such folder"},
    {HRESULT_FROM_WIN32(ERROR_TOO_MANY_OPEN_FILES), "ERROR_TOO_MANY_OPEN_FILES", "too many files are open"},
    {HRESULT_FROM_WIN32(ERROR_NOT_ENOUGH_MEMORY), "ERROR_NOT_ENOUGH_MEMORY", "there is not enough memory"},
    {HRESULT_FROM_WIN32(ERROR_INVALID_PARAMETER), "ERROR_INVALID_PARAMETER", "the system takes no such argument"},
    {HRESULT_FROM_WIN32(ERROR_INVALID_NAME), "ERROR_INVALID_NAME", "the system takes no such name"},
    {HRESULT_FROM_WIN32(ERROR_FILENAME_EXCED_RANGE), "ERROR_FILENAME_EXCED_RANGE", "the name is too long"},
    {HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED), "ERROR_ACCESS_DENIED", "permission denied"},
    {HRESULT_FROM_WIN32(ERROR_SHARING_VIOLATION), "ERROR_SHARING_VIOLATION", "another program writes to the file"},
    {HRESULT_FROM_WIN32(ERROR_HANDLE_EOF), "ERROR_HANDLE_EOF", "the file ends too early"},
    {HRESULT_FROM_WIN32(ERROR_DISK_FULL), "ERROR_DISK_FULL", "the disk is full"},
    {HRESULT_FROM_WIN32(ERROR_IO_DEVICE), "ERROR_IO_DEVICE", "the device failed"},
    {HRESULT_FROM_WIN32(ERROR_FILE_TOO_LARGE), "ERROR_FILE_TOO_LARGE", "the file would be too large"},
    {HRESULT_FROM_WIN32(ERROR_BADDB), "ERROR_BADDB",
     "this is no registry file, or a damaged one; move it away to start anew"},
    {HRESULT_FROM_WIN32(ERROR_WRITE_PROTECT), "ERROR_WRITE_PROTECT", "the disk is write-protected"},
    {HRESULT_FROM_WIN32(ERROR_GEN_FAILURE), "ERROR_GEN_FAILURE", "the system refused"},
};

const KnownCode* FindCode(HRESULT code) {
  for (const KnownCode& known : kKnownCodes) {
    if (known.code == code) {
      return &known;
    }
  }
  return nullptr;
}

} // namespace

Failure::Failure(std::string_view file, std::string_view words, HRESULT code)
    : m_file(file), m_words(words), m_code(code) {
  const std::string name = CodeName(code);
  const std::string number = CodeNumber(code);
  m_message = (file.empty() ? std::string() : TerminalText(file) + ": ") + m_words + " (" + name +
              (name == number ? "" : ", " + number) + ")";
}

int Failure::Report() const {
  const std::string tool = Coloured("zsimage:", Colour::Red, STDERR_FILENO);
  static_cast<void>(std::fprintf(stderr, "%s %s\n", tool.c_str(), what()));
  return m_code == kCancelled ? kExitCancelled : kExitFailure;
}

Failure CurrentFailure(const std::string& image) {
  try {
    throw;
  } catch (const Failure& failure) {
    return failure;
  } catch (const std::bad_alloc&) {
    return Failure(image, CodeWords(E_OUTOFMEMORY), E_OUTOFMEMORY);
  } catch (const std::exception& error) {
    return Failure(image, std::string("unexpected: ") + error.what(), E_UNEXPECTED);
  }
}

std::string CodeName(HRESULT code) {
  const KnownCode* known = FindCode(code);
  return known == nullptr ? CodeNumber(code) : known->name;
}

std::string CodeNumber(HRESULT code) {
  char number[16];
  static_cast<void>(std::snprintf(number, sizeof(number), "0x%08X", static_cast<unsigned>(code)));
  return number;
}

std::string_view CodeWords(HRESULT code) {
  const KnownCode* known = FindCode(code);
  return known == nullptr ? "the operation failed" : known->words;
}

void Note(const std::string& words) { static_cast<void>(std::fprintf(stderr, "zsimage: note: %s.\n", words.c_str())); }

void Check(HRESULT code, std::string_view file, std::string_view words) {
  if (code != S_OK) { // What was asked for has not been done; S_FALSE names no failure.
    throw Failure(file, words.empty() ? CodeWords(code) : words, code == S_FALSE ? ZSE_FAILED : code);
  }
}
