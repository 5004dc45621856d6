// The angle is brought into [-π/4, π/4] by subtracting the nearest multiple n of π/2,
// with π/2 split into three parts; the first two hold 33 bits each, so n × part is exact
// for |n| < 2^20 and the first subtraction cancels exactly. Two Taylor polynomials, summed
// from the smallest term, then cover the reduced angle: at π/4 the first terms left out
// are below 2^-70.
#include "effects/trig.h"

#include <cmath>

namespace mediakit {
namespace {

constexpr double kTwoOverPi = 0.6366197723675814;
constexpr double kHalfPi1 = 0x1.921fb544p+0;
constexpr double kHalfPi2 = 0x1.0b4611a6p-34;
constexpr double kHalfPi3 = 0x1.3198a2e037073p-69;
constexpr double kReduceLimit = 823549.0;  // (2^19 - 5) × π/2: n stays below 2^19
constexpr double kTwoPi = 6.283185307179586;

// 1/n! for n = 2 .. 21.
constexpr double kInvFact[] = {
    0.5,                   0.16666666666666666,   0.041666666666666664,  0.008333333333333333,
    0.001388888888888889,  0.0001984126984126984, 2.48015873015873e-05,  2.7557319223985893e-06,
    2.755731922398589e-07, 2.505210838544172e-08, 2.08767569878681e-09,  1.6059043836821613e-10,
    1.1470745597729725e-11, 7.647163731819816e-13, 4.779477332387385e-14, 2.8114572543455206e-15,
    1.5619206968586225e-16, 8.22063524662433e-18, 4.110317623312165e-19, 1.9572941063391263e-20,
};
double inv_fact(int n) { return kInvFact[n - 2]; }

// sin y for |y| ≤ π/4: y + y z (-1/3! + z (1/5! - ... + z / 21!)), z = y².
double sin_kernel(double y) {
    const double z = y * y;
    double p = inv_fact(21);
    for (int n = 19; n >= 3; n -= 2) p = ((n / 2) % 2 ? -inv_fact(n) : inv_fact(n)) + z * p;
    return y + y * z * p;
}

// cos y for |y| ≤ π/4: 1 - z/2 + z² (1/4! - z (1/6! - ... + z / 20!)).
double cos_kernel(double y) {
    const double z = y * y;
    double p = inv_fact(20);
    for (int n = 18; n >= 4; n -= 2) p = ((n / 2) % 2 ? -inv_fact(n) : inv_fact(n)) + z * p;
    return (1 - z * 0.5) + z * z * p;
}

}  // namespace

void sin_cos(double x, double* s, double* c) {
    if (!std::isfinite(x)) {
        *s = *c = x - x;
        return;
    }
    if (std::fabs(x) > kReduceLimit) x = std::fmod(x, kTwoPi);  // fmod is exact
    const double n = std::floor(x * kTwoOverPi + 0.5);
    const double y = ((x - n * kHalfPi1) - n * kHalfPi2) - n * kHalfPi3;
    const double sy = sin_kernel(y), cy = cos_kernel(y);
    switch (static_cast<int>(n - 4 * std::floor(n * 0.25))) {
        case 0: *s = sy, *c = cy; break;
        case 1: *s = cy, *c = -sy; break;
        case 2: *s = -sy, *c = -cy; break;
        default: *s = -cy, *c = sy; break;
    }
}

}  // namespace mediakit
