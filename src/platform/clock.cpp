// The per-record tick counter, the same on every platform: the processor's
// time-stamp counter where there is one, its rate measured against the
// monotonic clock over the run; the monotonic clock itself elsewhere.
#include "platform/platform.hpp"

namespace volp::platform {

#if defined(__x86_64__) || defined(_M_X64)
namespace {
// The counter's rate is measured between the first reading in the process
// and the moment a conversion asks for it: a run calls StartTicks() when it
// starts and converts its timers when it ends, so the rate comes from the
// run's own duration, and nothing waits for a calibration interval on the
// way. The counter's rate is constant on every processor this runs on.
struct Anchor {
  int64_t ns;
  uint64_t ticks;
};
const Anchor& First() {
  static const Anchor a{NowNs(), Ticks()};
  return a;
}
double TickPeriod() {
  const Anchor& a = First();
  int64_t ns = NowNs() - a.ns;
  // Under 100 microseconds the clocks' own granularity would show in the
  // ratio; the first run of a process may be that short, so wait the rest.
  while (ns < 100000) ns = NowNs() - a.ns;
  const uint64_t ticks = Ticks() - a.ticks;
  return ticks > 0 ? static_cast<double>(ns) / static_cast<double>(ticks) : 1.0;
}
}  // namespace
void StartTicks() { (void)First(); }
int64_t TicksToNs(uint64_t ticks) { return static_cast<int64_t>(ticks * TickPeriod()); }
#else
void StartTicks() {}
uint64_t Ticks() { return static_cast<uint64_t>(NowNs()); }
int64_t TicksToNs(uint64_t ticks) { return static_cast<int64_t>(ticks); }
#endif

}  // namespace volp::platform
