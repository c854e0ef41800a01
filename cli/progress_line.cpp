#include "cli/progress_line.h"

#include "output/display_text.h"

namespace ledgerwick {

void ProgressLine::Show(const std::string& text) {
  if (!console_.err_is_terminal) return;
  const Clock::time_point now = Clock::now();
  if (now < next_) return;
  next_ = now + std::chrono::milliseconds(200);
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(now - start_).count();
  console_.err << '\r' << EscapeControls(text) << " (" << seconds << " s)\033[K" << std::flush;
  shown_ = true;
}

void ProgressLine::Clear() {
  if (!shown_) return;
  console_.err << "\r\033[K" << std::flush;
  shown_ = false;
}

}  // namespace ledgerwick
