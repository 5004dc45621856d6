// The system calls of the blits: the GDI copy that FastBlt falls back on.
#pragma once

#include <windows.h>

namespace mediakit {

struct BlitCalls {
    BOOL(WINAPI* BitBlt)(HDC, int, int, int, int, HDC, int, int, DWORD);
};

const BlitCalls& blit_calls();
void set_blit_calls_for_test(const BlitCalls* calls);

}  // namespace mediakit
