// Failures and the export's result reach the user as modal message boxes. The host installs
// the service that shows them; without one the text goes to standard error.
#pragma once

#include <functional>
#include <string>

namespace korvane {

// Button and icon values of the classic message box.
inline constexpr int kOkOnly = 0;
inline constexpr int kIconCritical = 16;
inline constexpr int kIconInformation = 64;
// What the box answers when OK is pressed.
inline constexpr int kAnswerOk = 1;

struct MessageBoxRequest {
  std::string text;
  std::string title;  // empty: the host's default title
  int buttons = kOkOnly;
  int icon = 0;
};

using MessageBoxHandler = std::function<int(const MessageBoxRequest&)>;

// Installs the process-wide service (nullptr restores standard error).
void setMessageBoxHandler(MessageBoxHandler handler);
// Shows a box through the installed service; returns its answer.
int showMessageBox(const MessageBoxRequest& request);

}  // namespace korvane
