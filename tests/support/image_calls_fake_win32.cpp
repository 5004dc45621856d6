#include "image_calls_fake.h"

#include <cstdio>

namespace mktest {

ImageCallsFake* ImageCallsFake::active_ = nullptr;

ImageCallsFake::ImageCallsFake() {
    table_ = mediakit::image_calls();
    table_.CreateDIBSection = create_dib;
    table_.DeleteObject = delete_object;
    table_.GetLastError = get_last_error;
    table_.MessageBoxA = message_box;
    table_.LoadImageA = load_image;
    active_ = this;
    mediakit::set_image_calls_for_test(&table_);
}

ImageCallsFake::~ImageCallsFake() {
    mediakit::set_image_calls_for_test(nullptr);
    active_ = nullptr;
}

HBITMAP WINAPI ImageCallsFake::create_dib(HDC hdc, const BITMAPINFO* info, UINT usage, void** bits,
                                          HANDLE section, DWORD offset) {
    active_->dib_usages.push_back(usage);
    if (active_->fail_create_dib) return nullptr;
    HBITMAP h = ::CreateDIBSection(hdc, info, usage, bits, section, offset);
    if (h) ++active_->sections_alive;
    return h;
}

BOOL WINAPI ImageCallsFake::delete_object(HGDIOBJ h) {
    BOOL ok = ::DeleteObject(h);
    if (ok) --active_->sections_alive;
    return ok;
}

DWORD WINAPI ImageCallsFake::get_last_error() {
    return active_->fail_create_dib ? active_->last_error : ::GetLastError();
}

int WINAPI ImageCallsFake::message_box(HWND, LPCSTR text, LPCSTR caption, UINT flags) {
    active_->message_boxes.push_back({text ? text : "(null)", caption ? caption : "(null)", flags});
    return IDOK;
}

HANDLE WINAPI ImageCallsFake::load_image(HINSTANCE module, LPCSTR name, UINT type, int cx, int cy,
                                         UINT flags) {
    char line[512];
    std::snprintf(line, sizeof line, "%s|%s|%u|%d|%d|%#x", module ? "module" : "none", name, type, cx,
                  cy, flags);
    active_->load_image_calls.push_back(line);
    return ::LoadImageA(module, name, type, cx, cy, flags);
}

}  // namespace mktest
