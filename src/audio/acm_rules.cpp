#include "audio/acm_rules.h"

#include <cstring>

namespace mediakit {

bool build_driver_pattern(const char* path, IsLeadByteFn is_lead, char* out) {
    static const char kWildcard[] = "\\*.acm";
    out[0] = '\0';
    size_t drive = path[0] && path[1] == ':' ? 2 : 0;
    size_t dir_end = drive;  // one past the last separator
    for (size_t i = drive; path[i];) {
        if (is_lead(static_cast<unsigned char>(path[i])) && path[i + 1]) {
            i += 2;
            continue;
        }
        if (path[i] == '\\' || path[i] == '/') dir_end = i + 1;
        ++i;
    }
    // The directory's trailing separator gives way to the one the wildcard brings.
    size_t keep = dir_end > drive ? dir_end - 1 : drive;
    if (keep + sizeof kWildcard > kDriverPatternChars) return false;
    std::memcpy(out, path, keep);
    std::memcpy(out + keep, kWildcard, sizeof kWildcard);
    return true;
}

}  // namespace mediakit
