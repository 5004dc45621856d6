#include "platform/wave_calls.h"

#include "platform/call_table.h"

namespace mediakit {
namespace {

const WaveCalls kSystem = {::FindResourceA, ::LoadResource, ::LockResource, ::SizeofResource};
CallTable<WaveCalls> table(&kSystem);

}  // namespace

const WaveCalls& wave_calls() { return table.get(); }
void set_wave_calls_for_test(const WaveCalls* calls) { table.set_for_test(calls); }

}  // namespace mediakit
