// The per-record tick counter, the same on every platform: the processor's
// time-stamp counter where there is one, calibrated once against the
// monotonic clock; the monotonic clock itself elsewhere.
#include <chrono>
#include <thread>

#include "platform/platform.hpp"

namespace volp::platform {

#if defined(__x86_64__) || defined(_M_X64)
namespace {
// Nanoseconds per tick, measured once.
double TickPeriod() {
  static const double period = [] {
    const int64_t n0 = NowNs();
    const uint64_t t0 = Ticks();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    const int64_t n1 = NowNs();
    const uint64_t t1 = Ticks();
    return t1 > t0 ? static_cast<double>(n1 - n0) / static_cast<double>(t1 - t0) : 1.0;
  }();
  return period;
}
}  // namespace
int64_t TicksToNs(uint64_t ticks) { return static_cast<int64_t>(ticks * TickPeriod()); }
#else
uint64_t Ticks() { return static_cast<uint64_t>(NowNs()); }
int64_t TicksToNs(uint64_t ticks) { return static_cast<int64_t>(ticks); }
#endif

}  // namespace volp::platform
