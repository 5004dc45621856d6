// A codec driver with no formats: enough for the ACM to open it, ask for its details and
// close it again. It counts the messages it receives so that a test can see that the ACM
// really called it.
#include <windows.h>
#include <mmsystem.h>
#include <mmreg.h>
#include <msacm.h>

static LONG g_messages = 0;

extern "C" LONG driver_messages() { return g_messages; }

extern "C" LRESULT CALLBACK DriverProc(DWORD_PTR id, HDRVR driver, UINT msg, LPARAM lp1, LPARAM lp2) {
    InterlockedIncrement(&g_messages);
    auto* details = reinterpret_cast<ACMDRIVERDETAILSW*>(lp1);
    if (msg == DRV_OPEN) return 0x5A5A;  // any nonzero instance
    if (msg == DRV_QUERYCONFIGURE) return 0;
    if (msg < DRV_USER) return msg <= DRV_FREE ? 1 : DefDriverProc(id, driver, msg, lp1, lp2);
    if (msg != DRV_USER + 0x2000 + 10) return MMSYSERR_NOTSUPPORTED;  // all but ACMDM_DRIVER_DETAILS
    if (!details || details->cbStruct < sizeof *details) return MMSYSERR_INVALPARAM;
    ZeroMemory(details, sizeof *details);
    details->cbStruct = sizeof *details;
    details->fccType = ACMDRIVERDETAILS_FCCTYPE_AUDIOCODEC;
    details->wMid = 0xFF, details->wPid = 1, details->vdwACM = 0x03320000, details->vdwDriver = 0x01000000;
    details->fdwSupport = ACMDRIVERDETAILS_SUPPORTF_CODEC;
    lstrcpyW(details->szShortName, L"mk test");
    return MMSYSERR_NOERROR;
}
