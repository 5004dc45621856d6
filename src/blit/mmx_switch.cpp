#include "blit/mmx_switch.h"

#include "base/cpu.h"
#include "platform/win32_types.h"
#include "mediakit.h"

namespace mediakit {

std::atomic<int32_t> g_mmxAvailable{0};
std::atomic<int32_t> g_mmxDisabled{0};

void init_mmx_switch() { g_mmxAvailable = cpu_has_mmx() ? 1 : 0; }

}  // namespace mediakit

extern "C" BOOL MEDIAKIT_CALL IsMMX(void) { return mediakit::cpu_has_mmx() ? 1 : 0; }

// Records the host's wish even on a processor without MMX; the plain paths run there anyway.
extern "C" BOOL MEDIAKIT_CALL SetUsageMMX(BOOL allow) {
    int32_t was_disabled = mediakit::g_mmxDisabled.exchange(allow ? 0 : 1);
    return was_disabled == 0 ? 1 : 0;
}
