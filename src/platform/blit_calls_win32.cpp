#include "platform/blit_calls.h"

#include "platform/call_table.h"

namespace mediakit {
namespace {

const BlitCalls kSystem = {::BitBlt};
CallTable<BlitCalls> table(&kSystem);

}  // namespace

const BlitCalls& blit_calls() { return table.get(); }
void set_blit_calls_for_test(const BlitCalls* calls) { table.set_for_test(calls); }

}  // namespace mediakit
