// A codec driver with no formats: enough for the ACM to open it, ask for its details and
// close it again. It counts the messages it receives so that a test can see that the ACM
// really called it.
#include <windows.h>
#include <mmsystem.h>
#include <mmreg.h>
#include <msacm.h>

#include <cwchar>

namespace {

constexpr UINT kAcmDriverDetails = DRV_USER + 0x2000 + 10;  // ACMDM_DRIVER_DETAILS
LONG g_messages = 0;

LRESULT driver_details(ACMDRIVERDETAILSW* details) {
    if (!details || details->cbStruct < sizeof(ACMDRIVERDETAILSW)) return MMSYSERR_INVALPARAM;
    DWORD size = details->cbStruct;
    ZeroMemory(details, size);
    details->cbStruct = size;
    details->fccType = ACMDRIVERDETAILS_FCCTYPE_AUDIOCODEC;
    details->wMid = 0xFF;
    details->wPid = 1;
    details->vdwACM = 0x03320000;
    details->vdwDriver = 0x01000000;
    details->fdwSupport = ACMDRIVERDETAILS_SUPPORTF_CODEC;
    wcscpy(details->szShortName, L"mk test");
    wcscpy(details->szLongName, L"mediakit test driver");
    return MMSYSERR_NOERROR;
}

}  // namespace

extern "C" LONG driver_messages() { return g_messages; }

extern "C" LRESULT CALLBACK DriverProc(DWORD_PTR id, HDRVR driver, UINT msg,
                                                             LPARAM lp1, LPARAM lp2) {
    InterlockedIncrement(&g_messages);
    switch (msg) {
        case DRV_LOAD:
        case DRV_FREE:
        case DRV_ENABLE:
        case DRV_DISABLE:
        case DRV_CLOSE:
            return 1;
        case DRV_OPEN:
            return 0x5A5A;  // any nonzero instance
        case DRV_QUERYCONFIGURE:
            return 0;
        case kAcmDriverDetails:
            return driver_details(reinterpret_cast<ACMDRIVERDETAILSW*>(lp1));
        default:
            return msg < DRV_USER ? DefDriverProc(id, driver, msg, lp1, lp2) : MMSYSERR_NOTSUPPORTED;
    }
}
