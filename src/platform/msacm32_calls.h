// The MSACM32 functions the library calls: whole-buffer conversions and codec drivers.
#pragma once

#include <windows.h>
#include <mmsystem.h>
#include <mmreg.h>
#include <msacm.h>

#include "platform/call_table.h"

#define MK_MSACM32_CALLS(X)     \
    X(acmFormatSuggest)         \
    X(acmStreamOpen)            \
    X(acmStreamSize)            \
    X(acmStreamPrepareHeader)   \
    X(acmStreamConvert)         \
    X(acmStreamUnprepareHeader) \
    X(acmStreamClose)           \
    X(acmDriverAddA)            \
    X(acmDriverRemove)

namespace mediakit {

MK_CALL_TABLE(Msacm32Calls, msacm32, MK_MSACM32_CALLS)

}  // namespace mediakit
