// The process-wide ACM conversion and driver table, as tests look at them.
#pragma once

#include <windows.h>
#include <mmsystem.h>
#include <mmreg.h>
#include <msacm.h>

#include <cstdint>

#include "mediakit.h"

namespace mediakit {

struct AcmStateView {
    HACMSTREAM stream;
    ACMSTREAMHEADER header;
    const AcmDriverEntry* drivers;
    int32_t driver_count;
};

AcmStateView acm_state_for_test();

}  // namespace mediakit
