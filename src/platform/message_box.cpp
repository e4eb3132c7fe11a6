#include "platform/message_box.h"

#include <cstdio>

#include "platform/environment.h"

void MessageBoxA(std::string_view text, std::string_view caption, UINT type) noexcept {
  if (MessageHandler* handler = ProcessEnvironment().messages; handler != nullptr) {
    handler->Show(text, caption, type);
    return;
  }
  (void)std::fprintf(stderr, "%.*s: %.*s\n", static_cast<int>(caption.size()), caption.data(),
                     static_cast<int>(text.size()), text.data());
}
