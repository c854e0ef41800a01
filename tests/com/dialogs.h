// Message boxes, answered while nobody looks.
#pragma once

#include "com/com_types.h"

namespace ledgerwick::com::testing {

// What a message box showed.
struct Shown {
  Text title;
  Text text;
  bool has_owner = false;
  bool has_icon = false;
  int buttons = 0;
};

// Presses OK in every message box of this thread as long as it lives. One at a time.
class DialogWatch {
 public:
  DialogWatch();
  ~DialogWatch();
  DialogWatch(const DialogWatch&) = delete;
  DialogWatch& operator=(const DialogWatch&) = delete;

  // The last message box.
  const Shown& shown() const noexcept;

 private:
  HHOOK hook_;
};

}  // namespace ledgerwick::com::testing
