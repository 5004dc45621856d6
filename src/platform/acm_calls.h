// The system calls of ACM decoding and codec drivers: the stream functions, driver
// installation, the driver files' modules and the directory search that finds them.
#pragma once

#include <windows.h>
#include <mmsystem.h>
#include <mmreg.h>
#include <msacm.h>

namespace mediakit {

struct AcmCalls {
    MMRESULT(ACMAPI* acmFormatSuggest)(HACMDRIVER, LPWAVEFORMATEX, LPWAVEFORMATEX, DWORD, DWORD);
    MMRESULT(ACMAPI* acmStreamOpen)(LPHACMSTREAM, HACMDRIVER, LPWAVEFORMATEX, LPWAVEFORMATEX,
                                    LPWAVEFILTER, DWORD_PTR, DWORD_PTR, DWORD);
    MMRESULT(ACMAPI* acmStreamSize)(HACMSTREAM, DWORD, LPDWORD, DWORD);
    MMRESULT(ACMAPI* acmStreamPrepareHeader)(HACMSTREAM, LPACMSTREAMHEADER, DWORD);
    MMRESULT(ACMAPI* acmStreamConvert)(HACMSTREAM, LPACMSTREAMHEADER, DWORD);
    MMRESULT(ACMAPI* acmStreamUnprepareHeader)(HACMSTREAM, LPACMSTREAMHEADER, DWORD);
    MMRESULT(ACMAPI* acmStreamClose)(HACMSTREAM, DWORD);
    MMRESULT(ACMAPI* acmDriverAddA)(LPHACMDRIVERID, HINSTANCE, LPARAM, DWORD, DWORD);
    MMRESULT(ACMAPI* acmDriverRemove)(HACMDRIVERID, DWORD);
    HMODULE(WINAPI* LoadLibraryA)(LPCSTR);
    FARPROC(WINAPI* GetProcAddress)(HMODULE, LPCSTR);
    BOOL(WINAPI* FreeLibrary)(HMODULE);
    HANDLE(WINAPI* FindFirstFileA)(LPCSTR, LPWIN32_FIND_DATAA);
    BOOL(WINAPI* FindNextFileA)(HANDLE, LPWIN32_FIND_DATAA);
    BOOL(WINAPI* FindClose)(HANDLE);
    BOOL(WINAPI* IsDBCSLeadByte)(BYTE);
};

const AcmCalls& acm_calls();
void set_acm_calls_for_test(const AcmCalls* calls);

}  // namespace mediakit
