/// @file
/// Files that the tool writes. A path keeps its old content until the new content is complete.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "output/interrupt.h"
#include "platform/base_types.h"

/// @throws Failure if a path cannot be written: a folder, a write-protected file or, without `force`, any file.
void RequireWritable(const std::string& path, bool force);

/// The new content of a path. It is written under a hidden name in the same folder and removed unless it is published.
/// Links are followed. Standard output, devices and pipes are written directly.
class OutputFile {
public:
  /// @param size Bytes that the file will have, for messages. @throws Failure as RequireWritable does.
  OutputFile(const std::string& path, UHYPER size, bool force);
  ~OutputFile();

  /// @throws Failure if not everything can be written, or the user has cancelled the command.
  void Write(const BYTE* data, std::size_t size);
  void Write(std::string_view text) { Write(reinterpret_cast<const BYTE*>(text.data()), text.size()); }

  /// Returns the descriptor, for a library that writes the file. @throws Failure for an output that is not a file.
  int Descriptor() const;
  /// @throws Failure if the user has cancelled the command.
  void ThrowIfCancelled() const;

  /// Moves the content to the path, with the owner and permissions of the file that it replaces. @throws Failure as
  /// Write does; the path then has its old content.
  void Publish();
  /// Restores the content that the path had before Publish.
  void UndoPublish() noexcept;

private:
  InterruptWatch m_watch; ///< A signal must not end the process while a hidden file exists.
  std::string m_path;     ///< The path of the caller.
  std::string m_target;   ///< The path with links resolved; empty for an output that is written directly.
  std::string m_hidden;
  std::string m_old; ///< Hidden name of the file that was replaced.
  int m_descriptor = -1;
  UHYPER m_size;
  UHYPER m_written = 0;
  bool m_force;
};

/// Publishes files that belong together, removes files that would be mistaken for parts of them, and verifies the
/// result.
/// @throws Failure if one of these steps fails; then none is published.
void PublishAll(const std::vector<std::unique_ptr<OutputFile>>& files, const std::vector<std::string>& stale,
                const std::function<void()>& verify);

/// Writes a file with this content. @throws Failure.
void WriteContent(const std::string& path, std::string_view content, bool force);
