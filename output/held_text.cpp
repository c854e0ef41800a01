#include "output/held_text.h"

#include <array>
#include <cerrno>
#include <cstring>

#include "output/result_writer.h"

namespace ledgerwick {
namespace {

constexpr std::size_t kMostInMemory = std::size_t{1} << 20;

[[noreturn]] void Fail() {
  throw OutputError(std::string("cannot keep the output in a temporary file: ") +
                    std::strerror(errno));
}

}  // namespace

void HeldText::Append(std::string_view text) {
  memory_ += text;
  if (memory_.size() > kMostInMemory) Spill();
}

void HeldText::Spill() {
  if (!file_) file_.reset(std::tmpfile());
  if (!file_) Fail();
  if (std::fwrite(memory_.data(), 1, memory_.size(), file_.get()) != memory_.size()) Fail();
  memory_.clear();
}

void HeldText::MoveTo(std::ostream& out) {
  if (file_) {
    if (std::fseek(file_.get(), 0, SEEK_SET) != 0) Fail();
    std::array<char, 1 << 16> buffer;
    while (const std::size_t n = std::fread(buffer.data(), 1, buffer.size(), file_.get())) {
      out.write(buffer.data(), static_cast<std::streamsize>(n));
      CheckWritten(out);
    }
    if (std::ferror(file_.get()) != 0) Fail();
    file_.reset();
  }
  out << memory_;
  CheckWritten(out);
  memory_.clear();
}

}  // namespace ledgerwick
