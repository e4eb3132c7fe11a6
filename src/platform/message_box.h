/// @file
/// Messages to the user.
#pragma once

#include <string_view>

#include "platform/base_types.h"

inline constexpr UINT MB_ICONSTOP = 0x10; ///< With the icon of an error.

/// Shows messages for a host that has somebody to show them to; see Environment::messages.
class MessageHandler {
public:
  virtual ~MessageHandler() = default;
  /// Shows a message and returns when the user has dismissed it.
  /// @param text Narrow text. @param caption Narrow text. @param type MB_ bits.
  virtual void Show(std::string_view text, std::string_view caption, UINT type) noexcept = 0;
};

/// Gives a message to the host's handler. Without one it becomes a line on standard error, and nothing waits.
void MessageBoxA(std::string_view text, std::string_view caption, UINT type) noexcept;
