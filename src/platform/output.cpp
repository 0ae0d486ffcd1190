// The system-independent half of OutputFile (buffering, the text-mode line
// ends, formatting) and the test-only fault injection.
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>

#include "platform/platform.hpp"

namespace volp::platform {

namespace {

#if defined(_WIN32)
constexpr bool kCrLfText = true;
#else
constexpr bool kCrLfText = false;
#endif

std::atomic<int64_t> g_fault_at{0};
std::atomic<int64_t> g_fault_seen{0};
std::atomic<unsigned> g_fault_ops{0};

}  // namespace

void ArmFault(int64_t k, unsigned ops) {
  g_fault_at.store(0);
  g_fault_seen.store(0);
  g_fault_ops.store(ops);
  g_fault_at.store(k);
}

int64_t FaultOpsSeen() { return g_fault_seen.load(); }

bool InjectedFault(FaultOp op) {
  // One relaxed load when nothing is armed: this sits on every read of the input.
  if (g_fault_at.load(std::memory_order_relaxed) == 0) return false;
  if ((g_fault_ops.load() & FaultBit(op)) == 0) return false;
  return g_fault_seen.fetch_add(1) + 1 == g_fault_at.load();
}

bool OutputFile::Fail(int error) {
  if (error_ == 0) error_ = error != 0 ? error : -1;
  return false;
}

void OutputFile::Put(std::string_view bytes) {
  if (!open_ || error_ != 0) return;
  if (kCrLfText && text_) {
    // One LF at a time becomes CR LF; the runs between them go in whole.
    for (size_t from = 0; from < bytes.size();) {
      const size_t lf = bytes.find('\n', from);
      const size_t end = lf == std::string_view::npos ? bytes.size() : lf;
      text_ = false;
      Put(bytes.substr(from, end - from));
      if (lf != std::string_view::npos) Put("\r\n");
      text_ = true;
      from = end + (lf != std::string_view::npos ? 1 : 0);
    }
    return;
  }
  if (bytes.size() > kBufferSize - used_) {
    if (!Flush()) return;
    if (bytes.size() >= kBufferSize) {
      WriteOut(bytes.data(), bytes.size());
      return;
    }
  }
  std::memcpy(buf_.get() + used_, bytes.data(), bytes.size());
  used_ += bytes.size();
}

void OutputFile::Printf(const char* fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  VPrintf(fmt, ap);
  va_end(ap);
}

void OutputFile::VPrintf(const char* fmt, va_list ap) {
  char small[1024];
  va_list again;
  va_copy(again, ap);
  const int n = std::vsnprintf(small, sizeof small, fmt, ap);
  if (n < 0) {
    va_end(again);
    Fail(-1);
    return;
  }
  if (static_cast<size_t>(n) < sizeof small) {
    va_end(again);
    Put(std::string_view(small, static_cast<size_t>(n)));
    return;
  }
  // A line longer than a kilobyte (a long path): formatted once more in full.
  std::string big(static_cast<size_t>(n) + 1, '\0');
  std::vsnprintf(big.data(), big.size(), fmt, again);
  va_end(again);
  big.pop_back();
  Put(big);
}

bool OutputFile::Flush() {
  if (!open_) return Fail(-1);
  if (error_ != 0) return false;
  if (used_ == 0) return true;
  const size_t n = used_;
  used_ = 0;
  return WriteOut(buf_.get(), n);
}

}  // namespace volp::platform
