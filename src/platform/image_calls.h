// The system calls of the image buffers: DIB sections and device contexts, bitmap
// resources, the error message box and whole-file reads.
#pragma once

#include <windows.h>

namespace mediakit {

struct ImageCalls {
    HBITMAP(WINAPI* CreateDIBSection)(HDC, const BITMAPINFO*, UINT, void**, HANDLE, DWORD);
    HDC(WINAPI* CreateCompatibleDC)(HDC);
    HGDIOBJ(WINAPI* SelectObject)(HDC, HGDIOBJ);
    BOOL(WINAPI* DeleteDC)(HDC);
    BOOL(WINAPI* DeleteObject)(HGDIOBJ);
    int(WINAPI* GetObjectA)(HANDLE, int, LPVOID);
    HANDLE(WINAPI* LoadImageA)(HINSTANCE, LPCSTR, UINT, int, int, UINT);
    HMODULE(WINAPI* GetModuleHandleA)(LPCSTR);
    DWORD(WINAPI* GetLastError)();
    DWORD(WINAPI* FormatMessageA)(DWORD, LPCVOID, DWORD, DWORD, LPSTR, DWORD, va_list*);
    HLOCAL(WINAPI* LocalFree)(HLOCAL);
    int(WINAPI* MessageBoxA)(HWND, LPCSTR, LPCSTR, UINT);
    HANDLE(WINAPI* CreateFileA)(LPCSTR, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD, HANDLE);
    BOOL(WINAPI* GetFileSizeEx)(HANDLE, PLARGE_INTEGER);
    BOOL(WINAPI* ReadFile)(HANDLE, LPVOID, DWORD, LPDWORD, LPOVERLAPPED);
    BOOL(WINAPI* CloseHandle)(HANDLE);
};

const ImageCalls& image_calls();
void set_image_calls_for_test(const ImageCalls* calls);

}  // namespace mediakit
