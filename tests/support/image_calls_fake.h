// A pass-through fake of the image family's system calls: every call reaches the real
// system unless a test scripts a failure, and the fake records what tests look at (the
// usage and header given to CreateDIBSection, message boxes, sections made and deleted).
#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "platform/image_calls.h"

namespace mktest {

struct MessageBoxCall {
    std::string text, caption;
    UINT flags;
};

class ImageCallsFake {
public:
    ImageCallsFake();   ///< installs itself
    ~ImageCallsFake();  ///< restores the real calls

    bool fail_create_dib = false;
    DWORD last_error = ERROR_NOT_ENOUGH_MEMORY;  ///< what GetLastError reports after a scripted failure

    std::vector<UINT> dib_usages;
    std::vector<MessageBoxCall> message_boxes;
    std::vector<std::string> load_image_calls;  ///< "module|name|flags"
    int sections_alive = 0;

private:
    static ImageCallsFake* active_;
    mediakit::ImageCalls table_;
    static HBITMAP WINAPI create_dib(HDC, const BITMAPINFO*, UINT, void**, HANDLE, DWORD);
    static BOOL WINAPI delete_object(HGDIOBJ);
    static DWORD WINAPI get_last_error();
    static int WINAPI message_box(HWND, LPCSTR, LPCSTR, UINT);
    static HANDLE WINAPI load_image(HINSTANCE, LPCSTR, UINT, int, int, UINT);
};

}  // namespace mktest
