#include "platform/image_calls.h"

#include "platform/call_table.h"

namespace mediakit {
namespace {

const ImageCalls kSystem = {
    ::CreateDIBSection, ::CreateCompatibleDC, ::SelectObject, ::DeleteDC,
    ::DeleteObject,     ::GetObjectA,         ::LoadImageA,   ::GetModuleHandleA,
    ::GetLastError,     ::FormatMessageA,     ::LocalFree,    ::MessageBoxA,
    ::CreateFileA,        ::GetFileSizeEx, ::ReadFile,
    ::CloseHandle,
};
CallTable<ImageCalls> table(&kSystem);

}  // namespace

const ImageCalls& image_calls() { return table.get(); }
void set_image_calls_for_test(const ImageCalls* calls) { table.set_for_test(calls); }

}  // namespace mediakit
