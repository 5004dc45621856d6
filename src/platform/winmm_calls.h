// The WINMM functions the library calls: MCI commands, MIDI output ports, mixer lines and
// controls, and the multimedia clock.
#pragma once

#include <windows.h>
#include <mmsystem.h>

#include "platform/call_table.h"

#define MK_WINMM_CALLS(X)         \
    X(mciSendCommandA)            \
    X(midiOutGetNumDevs)          \
    X(midiOutGetDevCapsA)         \
    X(mixerGetNumDevs)            \
    X(mixerGetDevCapsA)           \
    X(mixerOpen)                  \
    X(mixerClose)                 \
    X(mixerGetLineInfoA)          \
    X(mixerGetLineControlsA)      \
    X(mixerGetControlDetailsA)    \
    X(mixerSetControlDetails)     \
    X(timeGetTime)

namespace mediakit {

MK_CALL_TABLE(WinmmCalls, winmm, MK_WINMM_CALLS)

}  // namespace mediakit
