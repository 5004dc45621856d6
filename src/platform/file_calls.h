// The system calls of files, INI files and the debugger output: the file services and the
// WAVE file reader use them.
#pragma once

#include <windows.h>

namespace mediakit {

struct FileCalls {
    HANDLE(WINAPI* CreateFileA)(LPCSTR, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD, HANDLE);
    BOOL(WINAPI* ReadFile)(HANDLE, LPVOID, DWORD, LPDWORD, LPOVERLAPPED);
    DWORD(WINAPI* SetFilePointer)(HANDLE, LONG, PLONG, DWORD);
    BOOL(WINAPI* CloseHandle)(HANDLE);
    DWORD(WINAPI* GetPrivateProfileStringA)(LPCSTR, LPCSTR, LPCSTR, LPSTR, DWORD, LPCSTR);
    BOOL(WINAPI* WritePrivateProfileStringA)(LPCSTR, LPCSTR, LPCSTR, LPCSTR);
    void(WINAPI* OutputDebugStringA)(LPCSTR);
    BOOL(WINAPI* IsDBCSLeadByte)(BYTE);
};

const FileCalls& file_calls();
void set_file_calls_for_test(const FileCalls* calls);

}  // namespace mediakit
