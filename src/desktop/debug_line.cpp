#include "desktop/debug_line.h"

#include <cstring>

namespace mediakit {

void format_debug_line(const char* text, IsLeadByteFn is_lead, char* out) {
    constexpr size_t kMaxText = kErrorTextBytes - 2;  // room for "\n" and the NUL
    if (!text) text = "";
    size_t n = 0;
    while (text[n] && n < kMaxText) {
        // A lead byte right before the NUL has no trail byte and goes out as one byte.
        size_t step = is_lead(static_cast<unsigned char>(text[n])) && text[n + 1] ? 2 : 1;
        if (n + step > kMaxText) break;
        n += step;
    }
    std::memcpy(out, text, n);
    out[n] = '\n';
    out[n + 1] = '\0';
}

}  // namespace mediakit
