/// @file
/// Messages to the user.
#pragma once

#include <string_view>

#include "platform/base_types.h"

inline constexpr UINT MB_ICONSTOP = 0x10; ///< With the icon of an error.

/// Shows messages in the way of a host.
class MessageHandler {
public:
  virtual ~MessageHandler() = default;
  /// Shows a message and returns when the user has dismissed it. May be called on any thread that uses the component.
  /// @param text Narrow text. @param caption Narrow text. @param type MB_ bits.
  virtual void Show(std::string_view text, std::string_view caption, UINT type) noexcept = 0;
};

/// Installs the handler of the process, not owned; null restores the default. @return The handler before.
MessageHandler* SetMessageHandler(MessageHandler* handler) noexcept;

/// Passes a message to the handler. Without one it becomes a line on standard error, and nothing waits.
void MessageBoxA(std::string_view text, std::string_view caption, UINT type) noexcept;
