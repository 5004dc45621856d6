#include "desktop/ini.h"

namespace mediakit {

int32_t parse_profile_number(const char* text) {
    const unsigned char* p = reinterpret_cast<const unsigned char*>(text);
    // White space as the C locale has it: blank, tab, and line feed to carriage return.
    while (*p == ' ' || (*p >= '\t' && *p <= '\r')) ++p;
    bool negative = *p == '-';
    if (*p == '-' || *p == '+') ++p;
    uint32_t magnitude = 0;  // unsigned, so that overflow wraps instead of being undefined
    for (; *p >= '0' && *p <= '9'; ++p) magnitude = magnitude * 10u + (*p - '0');
    return static_cast<int32_t>(negative ? 0u - magnitude : magnitude);
}

size_t format_profile_number(int32_t value, char* out) {
    // The magnitude of INT32_MIN does not fit an int32_t; in unsigned arithmetic it does.
    uint32_t magnitude = value < 0 ? 0u - static_cast<uint32_t>(value) : static_cast<uint32_t>(value);
    char digits[10];
    size_t n = 0;
    do {
        digits[n++] = static_cast<char>('0' + magnitude % 10);
        magnitude /= 10;
    } while (magnitude);
    size_t len = 0;
    if (value < 0) out[len++] = '-';
    while (n) out[len++] = digits[--n];
    out[len] = '\0';
    return len;
}

}  // namespace mediakit
