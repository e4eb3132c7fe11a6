/// @file
/// Messages to the user.
#pragma once

#include <string_view>

#include "platform/base_types.h"

inline constexpr UINT MB_ICONSTOP = 0x10; ///< Shows the icon of an error.

/// Shows messages to the user. Implemented by a host.
class MessageHandler {
public:
  virtual ~MessageHandler() = default;
  /// Shows a message and returns when the user has dismissed it. May be called on any thread that uses the component.
  /// @param text Narrow text. @param caption Narrow text. @param type MB_ bits.
  virtual void Show(std::string_view text, std::string_view caption, UINT type) noexcept = 0;
};

/// Installs the handler of the process, which remains owned by the caller. Null restores the default.
/// @return The previous handler.
MessageHandler* SetMessageHandler(MessageHandler* handler) noexcept;

/// Shows a message with the handler. Without a handler, writes a line to standard error and does not wait.
void MessageBoxA(std::string_view text, std::string_view caption, UINT type) noexcept;
