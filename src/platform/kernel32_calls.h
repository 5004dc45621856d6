// The KERNEL32 functions the library calls: files, profiles and the debugger output,
// resources and modules, directory search, error texts, memory queries and code pages.
#pragma once

#include <windows.h>

#include "platform/call_table.h"

#define MK_KERNEL32_CALLS(X)      \
    X(CreateFileA)                \
    X(ReadFile)                   \
    X(SetFilePointer)             \
    X(GetFileSizeEx)              \
    X(CloseHandle)                \
    X(GetPrivateProfileStringA)   \
    X(WritePrivateProfileStringA) \
    X(OutputDebugStringA)         \
    X(FindResourceA)              \
    X(LoadResource)               \
    X(LockResource)               \
    X(SizeofResource)             \
    X(LoadLibraryA)               \
    X(GetProcAddress)             \
    X(FreeLibrary)                \
    X(GetModuleHandleA)           \
    X(FindFirstFileA)             \
    X(FindNextFileA)              \
    X(FindClose)                  \
    X(GetLastError)               \
    X(FormatMessageA)             \
    X(LocalFree)                  \
    X(VirtualQuery)               \
    X(IsDBCSLeadByte)

namespace mediakit {

MK_CALL_TABLE(Kernel32Calls, kernel32, MK_KERNEL32_CALLS)

}  // namespace mediakit
