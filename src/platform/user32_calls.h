// The USER32 functions the library calls: bitmap resources, message boxes, menus and window
// geometry.
#pragma once

#include <windows.h>

#include "platform/call_table.h"

#define MK_USER32_CALLS(X) \
    X(LoadImageA)          \
    X(MessageBoxA)         \
    X(CreateMenu)          \
    X(AppendMenuA)         \
    X(DestroyMenu)         \
    X(SetWindowPos)

namespace mediakit {

MK_CALL_TABLE(User32Calls, user32, MK_USER32_CALLS)

}  // namespace mediakit
