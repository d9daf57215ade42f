#include "korvane/store/message_box.hpp"

#include <iostream>
#include <memory>
#include <mutex>

namespace korvane {
namespace {

std::mutex handlerMutex;
std::shared_ptr<const MessageBoxHandler> installed;

}  // namespace

void setMessageBoxHandler(MessageBoxHandler handler) {
  std::lock_guard lock(handlerMutex);
  installed = handler ? std::make_shared<const MessageBoxHandler>(std::move(handler)) : nullptr;
}

int showMessageBox(const MessageBoxRequest& request) {
  std::shared_ptr<const MessageBoxHandler> handler;
  {
    std::lock_guard lock(handlerMutex);
    handler = installed;
  }
  if (handler) return (*handler)(request);
  if (!request.title.empty()) std::cerr << request.title << ": ";
  std::cerr << request.text << '\n';
  return kAnswerOk;
}

}  // namespace korvane
