#include "files/input_file.h"

#include <cstdio>

#include <fmt/format.h>

#include "files/paths.h"
#include "output/failure.h"
#include "output/standard_output.h"
#include "output/terminal_text.h"
#include "platform/files.h"

namespace {

[[noreturn]] void ThrowTooLarge(std::string_view name, UHYPER limit) {
  throw Failure(name, fmt::format("this is too large; the limit is {}", ReadableSize(limit)), E_INVALIDARG);
}

UniqueHandle OpenShared(const std::string& path) {
  return UniqueHandle(
      CreateFileA(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL));
}

std::string ReadStandardInput(UHYPER limit) {
  std::string content;
  std::string part(65536, '\0');
  for (std::size_t count = 1; count != 0;) {
    count = std::fread(part.data(), 1, part.size(), stdin);
    content.append(part, 0, count);
    if (content.size() > limit) {
      ThrowTooLarge(kStandardInput, limit);
    }
  }
  FailIf(std::ferror(stdin) != 0, kStandardInput, ERROR_IO_DEVICE, "it cannot be read");
  return content;
}

} // namespace

std::filesystem::file_status StatusOf(const std::string& path) {
  std::error_code ignored;
  return std::filesystem::status(SpelledOnDisk(path), ignored);
}

std::string ReadContent(const std::string& path, UHYPER limit) {
  if (IsStandardStream(path)) {
    return ReadStandardInput(limit);
  }
  std::string content;
  if (!ReadWholeFile(path, limit, &content)) {
    const DWORD error = GetLastError();
    if (error == ERROR_FILE_TOO_LARGE) {
      ThrowTooLarge(path, limit);
    }
    FailIf(error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND, path, ZSE_FILENOTFOUND, "no such file");
    throw Failure(path, "the file cannot be opened for reading", error);
  }
  return content;
}

std::string ReadBytes(const std::string& path, UHYPER offset, std::size_t count) {
  const UniqueHandle file = OpenShared(path);
  std::string bytes(count, '\0');
  DWORD bytesRead = 0;
  if (SetFilePointerEx(file.Get(), static_cast<std::int64_t>(offset), nullptr, FILE_BEGIN)) {
    ReadFile(file.Get(), bytes.data(), static_cast<DWORD>(count), &bytesRead);
  }
  bytes.resize(bytesRead);
  return bytes;
}

std::string SoundFileType(const std::string& path) {
  const std::string start = ReadBytes(path, 0, 4);
  return start == "RIFF" || start == "FORM" || start == "fLaC" ? start : "";
}
