#include "platform/acm_calls.h"

#include "platform/call_table.h"

namespace mediakit {
namespace {

const AcmCalls kSystem = {
    ::acmFormatSuggest,
    ::acmStreamOpen,
    ::acmStreamSize,
    ::acmStreamPrepareHeader,
    ::acmStreamConvert,
    ::acmStreamUnprepareHeader,
    ::acmStreamClose,
    ::acmDriverAddA,
    ::acmDriverRemove,
    ::LoadLibraryA,
    ::GetProcAddress,
    ::FreeLibrary,
    ::FindFirstFileA,
    ::FindNextFileA,
    ::FindClose,
    ::IsDBCSLeadByte,
};
CallTable<AcmCalls> table(&kSystem);

}  // namespace

const AcmCalls& acm_calls() { return table.get(); }
void set_acm_calls_for_test(const AcmCalls* calls) { table.set_for_test(calls); }

}  // namespace mediakit
