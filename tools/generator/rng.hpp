// The generator's random numbers: splitmix64, small and fast, seeded by the
// user's --seed. Independent streams come from mixing that seed with a label,
// so a part of the file can be replayed (the totals of a group are computed
// before its records are written) without keeping anything in memory.
#pragma once

#include <cstdint>

namespace volpgen {

class Rng {
 public:
  explicit Rng(uint64_t seed) : s_(seed) {}
  uint64_t Next() {
    uint64_t z = (s_ += 0x9E3779B97F4A7C15ull);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
  }
  // Uniform in [0, n); n > 0.
  uint64_t Below(uint64_t n) { return Next() % n; }
  // True with probability per_mille / 1000.
  bool Chance(uint32_t per_mille) { return Below(1000) < per_mille; }

 private:
  uint64_t s_;
};

// A seed for the stream labelled (a, b).
inline uint64_t Mix(uint64_t a, uint64_t b) {
  Rng r(a ^ (b * 0xD1B54A32D192ED03ull + 0x8CB92BA72F3D8DD7ull));
  r.Next();
  return r.Next();
}

}  // namespace volpgen
