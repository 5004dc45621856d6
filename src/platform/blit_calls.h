// The system calls of the blits: the GDI copy that FastBlt falls back on. The native build
// has no GDI; its stand-in fails as GDI does for records without device contexts.
#pragma once

#include "platform/win32_types.h"

namespace mediakit {

struct BlitCalls {
    BOOL(WINAPI* BitBlt)(HDC, int, int, int, int, HDC, int, int, DWORD);
};

const BlitCalls& blit_calls();
void set_blit_calls_for_test(const BlitCalls* calls);

}  // namespace mediakit
