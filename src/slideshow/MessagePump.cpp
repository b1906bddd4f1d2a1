#include "slideshow/MessagePump.h"

#include "base/win.h"
#include "settings/Session.h"

bool PumpOneMessage() {
  MSG message;
  if (!PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) return false;
  if (message.message == WM_QUIT) {
    Done = true;
    return true;
  }
  TranslateMessage(&message);
  DispatchMessageA(&message);
  return true;
}
