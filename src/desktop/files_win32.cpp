// File existence, 64-bit file positions and the debugger-output error line.
#include <windows.h>

#include <cstdint>

#include "desktop/debug_line.h"
#include "mediakit.h"
#include "platform/kernel32_calls.h"
#include "platform/lead_byte.h"

namespace mediakit {
namespace {

// The most recent error line. Process-wide and unlocked: two threads calling RegError at
// once may interleave their texts.
char g_errorText[kErrorTextBytes];

}  // namespace
}  // namespace mediakit

using namespace mediakit;

extern "C" void MEDIAKIT_CALL RegError(LPCSTR text) {
    format_debug_line(text, system_lead_byte, g_errorText);
    kernel32().OutputDebugStringA(g_errorText);
}

extern "C" int MEDIAKIT_CALL fl_IsExist(LPCSTR path) {
    if (!path) return 0;
    // Access 0 asks for no data access: only that the file exists and may be opened.
    HANDLE file = kernel32().CreateFileA(path, 0, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL,
                                         nullptr);
    if (file == INVALID_HANDLE_VALUE) return 0;
    kernel32().CloseHandle(file);
    return 1;
}

extern "C" LONGLONG MEDIAKIT_CALL fl_GetFilePointer(HANDLE file) {
    LONG high = 0;
    DWORD low = kernel32().SetFilePointer(file, 0, &high, FILE_CURRENT);
    // A failed call leaves a low part of 0xFFFFFFFF, which is passed on as it stands.
    return static_cast<LONGLONG>(static_cast<uint64_t>(static_cast<uint32_t>(high)) << 32 | low);
}

extern "C" int MEDIAKIT_CALL fl_SetFilePointer(HANDLE file, LONG low, LONG high) {
    LONG high_part = high;
    kernel32().SetFilePointer(file, low, &high_part, FILE_BEGIN);
    return 1;
}
