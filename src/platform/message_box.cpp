#include "platform/message_box.h"

#include <atomic>
#include <cstdio>

namespace {

std::atomic<MessageHandler*> g_handler{nullptr};

} // namespace

MessageHandler* SetMessageHandler(MessageHandler* handler) noexcept { return g_handler.exchange(handler); }

void MessageBoxA(std::string_view text, std::string_view caption, UINT type) noexcept {
  if (MessageHandler* handler = g_handler; handler != nullptr) {
    handler->Show(text, caption, type);
    return;
  }
  (void)std::fprintf(stderr, "%.*s: %.*s\n", static_cast<int>(caption.size()), caption.data(),
                     static_cast<int>(text.size()), text.data());
}
