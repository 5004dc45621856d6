#include "platform/blit_calls.h"

#include "platform/call_table.h"

namespace mediakit {
namespace {

// Without GDI no record has a device context, and the copy between them fails.
BOOL no_bitblt(HDC, int, int, int, int, HDC, int, int, DWORD) { return 0; }

const BlitCalls kNoGdi = {no_bitblt};
CallTable<BlitCalls> table(&kNoGdi);

}  // namespace

const BlitCalls& blit_calls() { return table.get(); }
void set_blit_calls_for_test(const BlitCalls* calls) { table.set_for_test(calls); }

}  // namespace mediakit
