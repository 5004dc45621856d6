#include "platform/file_calls.h"

#include "platform/call_table.h"

namespace mediakit {
namespace {

const FileCalls kSystem = {
    ::CreateFileA,
    ::ReadFile,
    ::SetFilePointer,
    ::CloseHandle,
    ::GetPrivateProfileStringA,
    ::WritePrivateProfileStringA,
    ::OutputDebugStringA,
    ::IsDBCSLeadByte,
};
CallTable<FileCalls> table(&kSystem);

}  // namespace

const FileCalls& file_calls() { return table.get(); }
void set_file_calls_for_test(const FileCalls* calls) { table.set_for_test(calls); }

}  // namespace mediakit
