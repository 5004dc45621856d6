// The call tables bound to the system's functions.
#include "platform/gdi32_calls.h"
#include "platform/kernel32_calls.h"
#include "platform/msacm32_calls.h"
#include "platform/user32_calls.h"
#include "platform/winmm_calls.h"

namespace mediakit {

MK_DEFINE_CALL_TABLE(Kernel32Calls, MK_KERNEL32_CALLS)
MK_DEFINE_CALL_TABLE(User32Calls, MK_USER32_CALLS)
MK_DEFINE_CALL_TABLE(Gdi32Calls, MK_GDI32_CALLS)
MK_DEFINE_CALL_TABLE(Msacm32Calls, MK_MSACM32_CALLS)
MK_DEFINE_CALL_TABLE(WinmmCalls, MK_WINMM_CALLS)

}  // namespace mediakit
