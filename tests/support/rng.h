// A small deterministic generator for test cases: one seed per case, so a failure replays
// alone. Bytes lean towards 0x00 and 0xFF, where pixel arithmetic goes wrong.
#pragma once

#include <cstdint>

namespace mktest {

class Rng {
public:
    explicit Rng(uint64_t seed) : state_(seed * 0x9E3779B97F4A7C15ull + 1) {}

    uint64_t next() {
        // splitmix64
        uint64_t z = (state_ += 0x9E3779B97F4A7C15ull);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        return z ^ (z >> 31);
    }
    /// Uniform in [lo, hi].
    int range(int lo, int hi) {
        return lo + static_cast<int>(next() % static_cast<uint64_t>(static_cast<int64_t>(hi) - lo + 1));
    }
    uint8_t byte() { return static_cast<uint8_t>(next()); }
    /// A quarter 0x00, a quarter 0xFF, the rest uniform.
    uint8_t biased_byte() {
        uint64_t r = next();
        switch (r & 3) {
            case 0: return 0x00;
            case 1: return 0xFF;
            default: return static_cast<uint8_t>(r >> 8);
        }
    }

private:
    uint64_t state_;
};

}  // namespace mktest
