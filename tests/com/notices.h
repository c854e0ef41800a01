// Message boxes and beeps, caught at the import table of the module that makes them.
#pragma once

#include <vector>

#include "com/com_types.h"

namespace ledgerwick::com::testing {

// Sends the calls that `module` makes of an imported function to `replacement`, which has the
// function's signature, as long as it lives. Throws std::runtime_error when the module does not
// import the function.
class ImportHook {
 public:
  ImportHook(HMODULE module, const char* function, void* replacement);
  ~ImportHook();
  ImportHook(const ImportHook&) = delete;
  ImportHook& operator=(const ImportHook&) = delete;

 private:
  void** entry_;
  void* original_;
};

// A call of the platform's MessageBox or MessageBeep.
struct Notice {
  bool beeps = false;
  UINT type = 0;  // the beep's, or the message box's style
  HWND owner = nullptr;
  Text text;
  Text title;
};

// What `module` would show and sound while this lives: nothing comes up. One at a time.
class NoticeWatch {
 public:
  explicit NoticeWatch(HMODULE module);

  // In their order.
  const std::vector<Notice>& notices() const noexcept;

 private:
  ImportHook box_;
  ImportHook beep_;
};

}  // namespace ledgerwick::com::testing
