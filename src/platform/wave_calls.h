// The system calls of "WAVE" resources: finding, loading and locking one, and its size.
#pragma once

#include <windows.h>

namespace mediakit {

struct WaveCalls {
    HRSRC(WINAPI* FindResourceA)(HMODULE, LPCSTR, LPCSTR);
    HGLOBAL(WINAPI* LoadResource)(HMODULE, HRSRC);
    LPVOID(WINAPI* LockResource)(HGLOBAL);
    DWORD(WINAPI* SizeofResource)(HMODULE, HRSRC);
};

const WaveCalls& wave_calls();
void set_wave_calls_for_test(const WaveCalls* calls);

}  // namespace mediakit
