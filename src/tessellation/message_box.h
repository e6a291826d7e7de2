// The message box that shows the triangulator's fatal texts (fatal_errors.h),
// one file per platform: message_box_windows.cpp, message_box_posix.cpp.
#pragma once

namespace selvora {

// Shows a message box with this text (UTF-8) and returns when it is closed; on
// a headless platform, the text as one line on standard error.
void ShowMessageBox(const char* text);

}  // namespace selvora
