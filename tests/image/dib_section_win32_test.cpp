// DIB-section records against the real GDI of the system, through pass-through fakes that
// record what the library asks of it and count the sections alive.
#include <gtest/gtest.h>
#include <windows.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "bmp_bytes.h"
#include "call_fake.h"
#include "guarded.h"
#include "image/bitmap_record.h"
#include "platform/gdi32_calls.h"
#include "platform/kernel32_calls.h"
#include "platform/user32_calls.h"
#include "temp_dir.h"

namespace {

using mktest::BmpFields;

bool is_empty(const BitmapData& bd) {
    static const BitmapData kEmpty{};
    return std::memcmp(&bd, &kEmpty, sizeof bd) == 0;
}

// What a DIB-section load must hold for a file image of these bytes: the pixels come from
// bfOffBits unchanged (also when it is 0), bounded by the image and zero after it.
std::string check_dib_record(const std::vector<uint8_t>& file, const BitmapData& bd) {
    mktest::ExpectedRecord e = mktest::expected_heap_load(file);
    uint32_t off_bits = mediakit::read_u32le(file.data() + 10);
    for (size_t i = 0; i < e.pixels.size(); ++i) e.pixels[i] = off_bits + i < file.size() ? file[off_bits + i] : 0;
    if (!bd.hBitmap || !bd.hdc) return "no section or device context";
    if (GetCurrentObject(bd.hdc, OBJ_BITMAP) != bd.hBitmap) return "section not selected";
    return mktest::check_record(e, bd);
}

using mediakit::Gdi32Calls;
using mediakit::Kernel32Calls;
using mediakit::User32Calls;

class DibSectionTest : public testing::Test {
protected:
    void TearDown() override {
        EXPECT_EQ(sections_alive_, 0) << "a DIB section leaked";
        DeleteDC(hdc_);
    }
    // The usage of each CreateDIBSection call.
    std::vector<int64_t> dib_usages() const {
        std::vector<int64_t> usages;
        for (const mktest::RecordedCall& c : log_.calls("CreateDIBSection")) usages.push_back(c.values()[2]);
        return usages;
    }
    // Loads an image from memory that ends exactly where readable memory ends, and checks
    // the record: consistent with the bytes when the load succeeds, empty when it fails.
    BOOL load_guarded(const std::vector<uint8_t>& bytes, const std::string& what) {
        mktest::GuardedBuffer image(bytes.size());
        std::memcpy(image.data(), bytes.data(), bytes.size());
        BitmapData bd{};
        BOOL ok = LoadDIBSectionIndirect(hdc_, image.data(), &bd);
        EXPECT_EQ(ok ? check_dib_record(bytes, bd) : is_empty(bd) ? "" : "record not cleared", "") << what;
        DeleteBitmapData(&bd);
        return ok;
    }
    bool fail_create_dib_ = false;
    DWORD last_error_ = 0;  // what GetLastError reports after a scripted failure
    int sections_alive_ = 0;
    mktest::CallLog log_;
    mktest::Fake<&Gdi32Calls::CreateDIBSection> create_dib_{log_, [this](auto... a) {
        HBITMAP h = fail_create_dib_ ? nullptr : mktest::Fake<&Gdi32Calls::CreateDIBSection>::system(a...);
        sections_alive_ += h != nullptr;
        return h;
    }};
    mktest::Fake<&Gdi32Calls::DeleteObject> delete_object_{log_, [this](HGDIOBJ h) {
        BOOL ok = mktest::Fake<&Gdi32Calls::DeleteObject>::system(h);
        sections_alive_ -= ok != 0;
        return ok;
    }};
    mktest::Fake<&Kernel32Calls::GetLastError> last_error_fake_{log_, [this] {
        return fail_create_dib_ ? last_error_ : mktest::Fake<&Kernel32Calls::GetLastError>::system();
    }};
    mktest::Fake<&User32Calls::MessageBoxA> message_box_{log_, [](auto...) { return IDOK; }};
    mktest::Fake<&User32Calls::LoadImageA> load_image_{log_};
    // Palettised sections take their colours from a device context's palette.
    HDC hdc_ = CreateCompatibleDC(nullptr);
    mktest::TempDir dir_;
};

TEST_F(DibSectionTest, EmptySectionsOfEachDepth) {
    RGBQUAD palette[256];
    for (int i = 0; i < 256; ++i) palette[i] = {BYTE(i), BYTE(255 - i), BYTE(i * 7), 0};
    struct Row { int width, height; WORD bits; DWORD off_bits; UINT usage; };
    const Row rows[] = {{640, 480, 24, 54, DIB_RGB_COLORS}, {37, 11, 8, 1078, DIB_PAL_COLORS},
                        {33, 5, 1, 62, DIB_PAL_COLORS},     {20, 20, 16, 54, DIB_RGB_COLORS}};
    for (const Row& r : rows) {
        SCOPED_TRACE(testing::Message() << r.width << "×" << r.height << "×" << r.bits);
        BitmapData bd{};
        ASSERT_EQ(BufferDIBSection(hdc_, r.width, r.height, r.bits, palette, &bd), 1);
        EXPECT_EQ(dib_usages().back(), r.usage);
        int stride = BytesPerLine(&bd.lpbmi->bmiHeader);
        EXPECT_EQ(bd.bmfHeader.bfType, 0x4D42);
        EXPECT_EQ(bd.bmfHeader.bfOffBits, r.off_bits);
        EXPECT_EQ(bd.bmfHeader.bfSize, r.off_bits + stride * r.height);
        EXPECT_EQ(std::memcmp(bd.lpbmi->bmiColors, palette, r.off_bits - 54), 0);
        // lpBits is the section's own memory, bottom-up: GDI's top-left pixel is the first
        // byte of the last stored row.
        DIBSECTION ds;
        ASSERT_EQ(GetObjectA(bd.hBitmap, sizeof ds, &ds), int(sizeof ds));
        EXPECT_EQ(ds.dsBm.bmBits, bd.lpBits);
        EXPECT_EQ(GetCurrentObject(bd.hdc, OBJ_BITMAP), bd.hBitmap);
        if (r.bits == 24) {
            SetPixel(bd.hdc, 0, 0, RGB(10, 20, 30));
            GdiFlush();
            const BYTE* top_left = bd.lpBits + (r.height - 1) * stride;
            EXPECT_EQ(std::vector<BYTE>(top_left, top_left + 3), (std::vector<BYTE>{30, 20, 10}));
            // Saved, it is a BMP file the heap loader reads back as it was.
            std::string file = dir_.path("section.bmp");
            ASSERT_EQ(SaveBitmapData(file.c_str(), &bd), 1);
            std::vector<uint8_t> bytes = mktest::read_file(file);
            EXPECT_EQ(bytes.size(), bd.bmfHeader.bfSize);
            EXPECT_EQ(std::memcmp(bytes.data() + 54, bd.lpBits, bytes.size() - 54), 0);
        }
        EXPECT_EQ(DeleteBitmapData(&bd), 0);
        EXPECT_TRUE(is_empty(bd));
    }
    EXPECT_EQ(DeleteBitmapData(nullptr), 0);
}

// Header variants and the shipped files, from memory at the end of readable memory and from
// disk, and every cut of one file in memory: consistent records or clean failures, no box.
TEST_F(DibSectionTest, LoadsFromMemoryAndFileWithinTheImage) {
    std::vector<std::pair<std::string, std::vector<uint8_t>>> files;
    auto add = [&](const char* what, void (*edit)(BmpFields&)) {
        BmpFields f;
        edit(f);
        files.emplace_back(what, mktest::make_bmp(f));
    };
    add("8-bit, biClrUsed 16", [](BmpFields& f) { f.bit_count = 8; f.clr_used = 16; });
    add("not BM", [](BmpFields& f) { f.magic = 0x5858; });
    add("top-down", [](BmpFields& f) { f.height = -4; });
    add("pixels past the end", [](BmpFields& f) { f.off_bits = 5000; });
    add("bfOffBits 0: pixels from the start", [](BmpFields& f) { f.off_bits = 0; });
    std::vector<uint8_t> full = files[0].second;
    for (size_t n = 0; n <= full.size(); ++n)
        EXPECT_EQ(load_guarded({full.begin(), full.begin() + n}, "cut at " + std::to_string(n)), n >= 14 + 40 + 64 ? 1 : 0);
    // The system refuses some shipped files, and says why in a message box; ours never do.
    for (const char* group : {"g", "q", "b"})
        for (const auto& entry : std::filesystem::directory_iterator(mktest::data_path(std::string("bmpsuite/") + group)))
            files.emplace_back(entry.path().string(), mktest::read_file(entry.path().string()));
    std::string file = dir_.path("in.bmp");
    for (const auto& [what, bytes] : files) {
        mktest::write_file(file, bytes);
        BitmapData bd{};
        BOOL from_file = LoadDIBSection(hdc_, file.c_str(), &bd);
        EXPECT_EQ(from_file ? check_dib_record(bytes, bd) : is_empty(bd) ? "" : "record not cleared", "") << what;
        DeleteBitmapData(&bd);
        EXPECT_EQ(load_guarded(bytes, what), from_file) << what;
        if (what.find("bmpsuite") == std::string::npos) {
            EXPECT_EQ(log_.count("MessageBoxA"), 0u) << what;
        }
    }

    BitmapData untouched{};
    untouched.bmfHeader.bfSize = 99;
    EXPECT_EQ(LoadDIBSection(hdc_, dir_.path("missing.bmp").c_str(), &untouched), 0);
    EXPECT_EQ(untouched.bmfHeader.bfSize, 99u);
}

TEST_F(DibSectionTest, SystemRefusalShowsItsTextInAMessageBoxOnlyWhenLoading) {
    fail_create_dib_ = true;
    last_error_ = ERROR_INVALID_PARAMETER;
    BitmapData bd{};
    EXPECT_EQ(BufferDIBSection(hdc_, 10, 10, 24, nullptr, &bd), 0);
    EXPECT_TRUE(is_empty(bd));
    EXPECT_EQ(log_.count("MessageBoxA"), 0u);
    std::vector<uint8_t> bytes = mktest::make_bmp(BmpFields{});
    EXPECT_EQ(LoadDIBSectionIndirect(hdc_, bytes.data(), &bd), 0);
    EXPECT_TRUE(is_empty(bd));
    const std::vector<mktest::RecordedCall> boxes = log_.calls("MessageBoxA");
    ASSERT_EQ(boxes.size(), 1u);
    char* expected = nullptr;
    FormatMessageA(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                   nullptr, ERROR_INVALID_PARAMETER, MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT),
                   reinterpret_cast<LPSTR>(&expected), 0, nullptr);
    ASSERT_NE(expected, nullptr);
    EXPECT_EQ(boxes[0].args[1].text, expected);
    EXPECT_EQ(boxes[0].args[2].text, "Error");
    EXPECT_EQ(boxes[0].args[3].value, UINT(MB_OK | MB_ICONINFORMATION));
    LocalFree(expected);
}

TEST_F(DibSectionTest, BitmapImageTriesTheProgramsResourcesThenTheFile) {
    std::string file = mktest::data_path("bmpsuite/g/rgb24.bmp");
    HBITMAP h = LoadBitmapImage(file.c_str());
    ASSERT_NE(h, nullptr);
    BITMAP bm;
    ASSERT_EQ(GetObjectA(h, sizeof bm, &bm), int(sizeof bm));
    EXPECT_EQ(std::make_pair(bm.bmWidth, bm.bmHeight), (std::pair<LONG, LONG>(127, 64)));
    EXPECT_NE(bm.bmBits, nullptr);  // a DIB section
    DeleteObject(h);
    const std::vector<mktest::RecordedCall> loads = log_.calls("LoadImageA");
    ASSERT_EQ(loads.size(), 2u);
    const int64_t module = reinterpret_cast<intptr_t>(GetModuleHandleA(nullptr));
    const struct { int64_t module, flags; } rows[] = {{module, 0x2000}, {0, 0x2010}};
    for (size_t i = 0; i < 2; ++i) {
        const std::vector<int64_t> v = loads[i].values();
        EXPECT_EQ(loads[i].args[1].text, file) << i;
        EXPECT_EQ(v[0], rows[i].module) << i;
        EXPECT_EQ(std::vector<int64_t>(v.begin() + 2, v.end()), (std::vector<int64_t>{IMAGE_BITMAP, 0, 0, rows[i].flags})) << i;
    }
    EXPECT_EQ(LoadBitmapImage(dir_.path("missing.bmp").c_str()), nullptr);
}

}  // namespace
