// The DLL entry point: at process attach, record whether the processor has MMX.
#include <windows.h>

#include "blit/mmx_switch.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH) mediakit::init_mmx_switch();
    return TRUE;
}
