/// @file
/// Files that the tool writes. What a path holds stays until its new content is whole.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "output/progress.h"

/// Whether a path means standard output.
bool IsStandardOutput(std::string_view path);

/// @throws Failure when a path cannot be written: a folder, a write-protected file or, without `force`, any file.
void RequireWritable(const std::string& path, bool force);

/// One file on its way to a path. It is written under a hidden name in the same folder and removed unless it is
/// published. Links are followed. Standard output, devices and pipes are written directly.
class OutputFile {
public:
  /// @param size Bytes that the file will have, for messages. @throws Failure as RequireWritable does.
  OutputFile(const std::string& path, UHYPER size, bool force);
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  ~OutputFile();

  /// Path of the file that is being written; empty for what is written directly.
  const std::string& HiddenPath() const noexcept { return m_hidden; }

  /// @throws Failure when not all of it goes out.
  void Write(const BYTE* data, std::size_t size);
  void Write(std::string_view text) { Write(reinterpret_cast<const BYTE*>(text.data()), text.size()); }

  /// Gives the file its name, and the owner and permissions of a file that it replaces. @throws Failure, also when the
  /// user has cancelled the command; then the path holds what it held before.
  void Publish();
  /// Gives the path back what it held before Publish.
  void Withdraw() noexcept;

private:
  InterruptWatch m_watch; ///< A signal must not end the process while there is a hidden file.
  std::string m_path;     ///< As it was given.
  std::string m_target;   ///< Where its links lead.
  std::string m_hidden;
  std::string m_old; ///< Hidden name of the file that was replaced.
  int m_descriptor = -1;
  UHYPER m_size;
  UHYPER m_written = 0;
  bool m_force;
};

/// Publishes files that belong together, and removes others that would be taken for a part of them. @throws Failure
/// when one fails; then none is published.
void PublishAll(const std::vector<std::unique_ptr<OutputFile>>& files, const std::vector<std::string>& stale);

/// Writes a whole file. @throws Failure.
void WriteWholeFile(const std::string& path, std::string_view content, bool force);

/// Ends a command that the user cancelled, of whose file nothing is left.
[[noreturn]] void ThrowCancelled(const std::string& file);
