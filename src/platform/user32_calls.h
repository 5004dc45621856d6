// The USER32 functions the library calls: bitmap resources and message boxes.
#pragma once

#include <windows.h>

#include "platform/call_table.h"

#define MK_USER32_CALLS(X) \
    X(LoadImageA)          \
    X(MessageBoxA)

namespace mediakit {

MK_CALL_TABLE(User32Calls, user32, MK_USER32_CALLS)

}  // namespace mediakit
