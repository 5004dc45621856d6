// The GDI32 functions the library calls: DIB sections, memory device contexts and copies
// between them.
#pragma once

#include <windows.h>

#include "platform/call_table.h"

#define MK_GDI32_CALLS(X)   \
    X(CreateDIBSection)     \
    X(CreateCompatibleDC)   \
    X(SelectObject)         \
    X(DeleteDC)             \
    X(DeleteObject)         \
    X(GetObjectA)           \
    X(BitBlt)

namespace mediakit {

MK_CALL_TABLE(Gdi32Calls, gdi32, MK_GDI32_CALLS)

}  // namespace mediakit
