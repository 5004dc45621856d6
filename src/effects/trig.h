// Sine and cosine in plain double arithmetic, the same bits in every build: the particles'
// directions must not depend on which mathematical library the host process has.
#pragma once

namespace mediakit {

/// sin x and cos x to within about one unit in the last place for |x| up to about 800 000;
/// beyond that the angle is first reduced modulo a double near 2π (still the same bits in
/// every build, less accurate). A NaN or infinite x gives NaN for both.
void sin_cos(double x, double* s, double* c);

}  // namespace mediakit
