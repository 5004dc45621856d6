#include <gtest/gtest.h>
#include <windows.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "bmp_bytes.h"
#include "guarded.h"
#include "image/bitmap_record.h"
#include "image_calls_fake.h"
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

class DibSectionTest : public testing::Test {
protected:
    void TearDown() override {
        EXPECT_EQ(fake_.sections_alive, 0) << "a DIB section leaked";
        DeleteDC(hdc_);
    }
    // Palettised sections take their colours from a device context's palette.
    HDC hdc_ = CreateCompatibleDC(nullptr);
    mktest::ImageCallsFake fake_;
    mktest::TempDir dir_;
};

TEST_F(DibSectionTest, EmptySectionsOfEachDepth) {
    RGBQUAD palette[256];
    for (int i = 0; i < 256; ++i) palette[i] = {BYTE(i), BYTE(255 - i), BYTE(i * 7), 0};
    struct Row { int width, height; WORD bits; bool with_palette; DWORD off_bits; UINT usage; };
    const Row rows[] = {
        {640, 480, 24, false, 54, DIB_RGB_COLORS},  {37, 11, 8, true, 1078, DIB_PAL_COLORS},
        {37, 11, 8, false, 1078, DIB_PAL_COLORS},   {33, 5, 1, true, 62, DIB_PAL_COLORS},
        {20, 20, 16, false, 54, DIB_RGB_COLORS},    {20, 20, 32, false, 54, DIB_RGB_COLORS},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(testing::Message() << r.width << "×" << r.height << "×" << r.bits);
        BitmapData bd{};
        ASSERT_EQ(BufferDIBSection(hdc_, r.width, r.height, r.bits, r.with_palette ? palette : nullptr, &bd), 1);
        EXPECT_EQ(fake_.dib_usages.back(), r.usage);
        EXPECT_EQ(bd.bmfHeader.bfType, 0x4D42);
        EXPECT_EQ(bd.bmfHeader.bfOffBits, r.off_bits);
        int stride = BytesPerLine(&bd.lpbmi->bmiHeader);
        EXPECT_EQ(bd.bmfHeader.bfSize, r.off_bits + stride * r.height);
        const BITMAPINFOHEADER& h = bd.lpbmi->bmiHeader;
        EXPECT_EQ(h.biSize, 40u);
        EXPECT_EQ(h.biPlanes, 1);
        EXPECT_EQ(h.biClrUsed, 0u);
        EXPECT_EQ(h.biSizeImage, 0u);
        int entries = (r.off_bits - 54) / 4;
        if (r.with_palette) {
            EXPECT_EQ(std::memcmp(bd.lpbmi->bmiColors, palette, 4 * entries), 0);
        }

        // lpBits is the section's own memory, bottom-up: GDI's top-left pixel is the first
        // byte of the last stored row.
        DIBSECTION ds;
        ASSERT_EQ(GetObjectA(bd.hBitmap, sizeof ds, &ds), int(sizeof ds));
        EXPECT_EQ(ds.dsBm.bmBits, bd.lpBits);
        EXPECT_EQ(ds.dsBm.bmWidthBytes, stride);
        EXPECT_EQ(GetCurrentObject(bd.hdc, OBJ_BITMAP), bd.hBitmap);
        if (r.bits == 24) {
            SetPixel(bd.hdc, 0, 0, RGB(10, 20, 30));
            GdiFlush();
            const BYTE* top_left = bd.lpBits + (r.height - 1) * stride;
            EXPECT_EQ(top_left[0], 30);
            EXPECT_EQ(top_left[1], 20);
            EXPECT_EQ(top_left[2], 10);
        }
        EXPECT_EQ(DeleteBitmapData(&bd), 0);
        EXPECT_TRUE(is_empty(bd));
    }
}

TEST_F(DibSectionTest, FailedSectionFreesTheInfoAndShowsNothing) {
    fake_.fail_create_dib = true;
    BitmapData bd{};
    EXPECT_EQ(BufferDIBSection(hdc_, 10, 10, 24, nullptr, &bd), 0);
    EXPECT_TRUE(is_empty(bd));
    EXPECT_TRUE(fake_.message_boxes.empty());
}

TEST_F(DibSectionTest, SavedSectionLoadsBackWithTheSameHeaderAndPixels) {
    BitmapData bd{};
    ASSERT_EQ(BufferDIBSection(hdc_, 13, 7, 24, nullptr, &bd), 1);
    for (int i = 0; i < BytesPerLine(&bd.lpbmi->bmiHeader) * 7; ++i) bd.lpBits[i] = BYTE(i * 37 + 5);
    std::string file = dir_.path("section.bmp");
    ASSERT_EQ(SaveBitmapData(file.c_str(), &bd), 1);
    std::vector<uint8_t> bytes = mktest::read_file(file);
    ASSERT_EQ(bytes.size(), bd.bmfHeader.bfSize);

    BitmapData loaded{};
    ASSERT_EQ(LoadBitmapData(file.c_str(), &loaded), 1);
    EXPECT_EQ(std::memcmp(&loaded.bmfHeader, &bd.bmfHeader, 14), 0);
    EXPECT_EQ(std::memcmp(loaded.lpbmi, bd.lpbmi, 40), 0);
    EXPECT_EQ(std::memcmp(loaded.lpBits, bd.lpBits, bytes.size() - 54), 0);
    DeleteBitmapData(&loaded);
    DeleteBitmapData(&bd);
}

TEST_F(DibSectionTest, LoadFromMemoryAndFile) {
    struct Row { const char* what; BmpFields fields; int result; WORD entries; };
    auto with = [](auto edit) { BmpFields s; edit(s); return s; };
    const Row rows[] = {
        {"24-bit", with([](BmpFields& s) { s.width = 9; }), 1, 0},
        {"8-bit, biClrUsed 16", with([](BmpFields& s) { s.bit_count = 8; s.clr_used = 16; }), 1, 16},
        {"8-bit, 256 entries", with([](BmpFields& s) { s.bit_count = 8; }), 1, 256},
        {"not BM", with([](BmpFields& s) { s.magic = 0x5858; }), 0, 0},
        {"reserved word", with([](BmpFields& s) { s.reserved1 = 3; }), 0, 0},
        {"top-down", with([](BmpFields& s) { s.height = -4; }), 0, 0},
        {"pixels past the end", with([](BmpFields& s) { s.off_bits = 5000; }), 1, 0},
        {"bfOffBits 0: pixels from the start", with([](BmpFields& s) { s.off_bits = 0; }), 1, 0},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.what);
        std::vector<uint8_t> bytes = mktest::make_bmp(r.fields);
        std::string file = dir_.path("in.bmp");
        mktest::write_file(file, bytes);
        mktest::GuardedBuffer image(bytes.size());
        std::memcpy(image.data(), bytes.data(), bytes.size());
        for (int from_file = 0; from_file < 2; ++from_file) {
            BitmapData bd{};
            BOOL ok = from_file ? LoadDIBSection(hdc_, file.c_str(), &bd)
                                : LoadDIBSectionIndirect(hdc_, image.data(), &bd);
            ASSERT_EQ(ok, r.result) << (from_file ? "file" : "memory");
            if (ok) {
                EXPECT_EQ(NumOfPalletColors(&bd.lpbmi->bmiHeader), r.entries);
                EXPECT_EQ(fake_.dib_usages.back(), UINT(r.entries ? DIB_PAL_COLORS : DIB_RGB_COLORS));
                EXPECT_EQ(check_dib_record(bytes, bd), "");
            } else {
                EXPECT_TRUE(is_empty(bd));
            }
            DeleteBitmapData(&bd);
        }
    }
    EXPECT_TRUE(fake_.message_boxes.empty());
}

TEST_F(DibSectionTest, MissingFileLeavesTheRecordAlone) {
    BitmapData bd{};
    bd.bmfHeader.bfSize = 99;
    BitmapData before = bd;
    EXPECT_EQ(LoadDIBSection(hdc_, dir_.path("missing.bmp").c_str(), &bd), 0);
    EXPECT_EQ(std::memcmp(&bd, &before, sizeof bd), 0);
}

// The image lies at the very end of readable memory; every cut of it loads what is there
// (or fails on a cut header) without reading a byte past the end.
TEST_F(DibSectionTest, ImageEndingAtAGuardPageIsReadOnlyAsFarAsItGoes) {
    BmpFields s;
    s.bit_count = 8;
    s.clr_used = 2;
    s.width = 6;
    s.height = 5;
    std::vector<uint8_t> bytes = mktest::make_bmp(s);
    for (size_t n = 0; n <= bytes.size(); ++n) {
        mktest::GuardedBuffer image(n);
        std::memcpy(image.data(), bytes.data(), n);
        BitmapData bd{};
        BOOL ok = LoadDIBSectionIndirect(hdc_, image.data(), &bd);
        ASSERT_EQ(ok, n >= 62 ? 1 : 0) << "cut at " << n;
        std::vector<uint8_t> cut(bytes.begin(), bytes.begin() + n);
        if (ok) {
            EXPECT_EQ(check_dib_record(cut, bd), "") << "cut at " << n;
        } else {
            EXPECT_TRUE(is_empty(bd)) << "cut at " << n;
        }
        DeleteBitmapData(&bd);
    }
    EXPECT_TRUE(fake_.message_boxes.empty());
}

TEST_F(DibSectionTest, SystemRefusalShowsItsTextInAMessageBox) {
    fake_.fail_create_dib = true;
    fake_.last_error = ERROR_INVALID_PARAMETER;
    std::vector<uint8_t> bytes = mktest::make_bmp(BmpFields{});
    BitmapData bd{};
    EXPECT_EQ(LoadDIBSectionIndirect(hdc_, bytes.data(), &bd), 0);
    EXPECT_TRUE(is_empty(bd));
    ASSERT_EQ(fake_.message_boxes.size(), 1u);
    char* expected = nullptr;
    FormatMessageA(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                   nullptr, ERROR_INVALID_PARAMETER, MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT),
                   reinterpret_cast<LPSTR>(&expected), 0, nullptr);
    ASSERT_NE(expected, nullptr);
    EXPECT_EQ(fake_.message_boxes[0].text, expected);
    EXPECT_EQ(fake_.message_boxes[0].caption, "Error");
    EXPECT_EQ(fake_.message_boxes[0].flags, UINT(MB_OK | MB_ICONINFORMATION));
    LocalFree(expected);
}

// Good, questionable and bad files: each loads consistently or fails with an empty
// record; no section outlives DeleteBitmapData.
TEST_F(DibSectionTest, ShippedFilesLoadConsistentlyOrFailCleanly) {
    for (const char* group : {"g", "q", "b"}) {
        for (const auto& entry : std::filesystem::directory_iterator(mktest::data_path(std::string("bmpsuite/") + group))) {
            std::string path = entry.path().string();
            std::vector<uint8_t> bytes = mktest::read_file(path);
            BitmapData bd{};
            if (LoadDIBSection(hdc_, path.c_str(), &bd)) {
                EXPECT_EQ(check_dib_record(bytes, bd), "") << path;
            } else {
                EXPECT_TRUE(is_empty(bd)) << path;
            }
            DeleteBitmapData(&bd);
        }
    }
}

TEST_F(DibSectionTest, DeletingAnEmptyRecordReleasesNothing) {
    BitmapData bd{};
    EXPECT_EQ(DeleteBitmapData(&bd), 0);
    EXPECT_EQ(DeleteBitmapData(&bd), 0);
    EXPECT_TRUE(is_empty(bd));
    EXPECT_EQ(DeleteBitmapData(nullptr), 0);
}

TEST_F(DibSectionTest, BitmapImageTriesTheProgramsResourcesThenTheFile) {
    std::string file = mktest::data_path("bmpsuite/g/rgb24.bmp");
    HBITMAP h = LoadBitmapImage(file.c_str());
    ASSERT_NE(h, nullptr);
    BITMAP bm;
    ASSERT_EQ(GetObjectA(h, sizeof bm, &bm), int(sizeof bm));
    EXPECT_EQ(bm.bmWidth, 127);
    EXPECT_EQ(bm.bmHeight, 64);
    EXPECT_NE(bm.bmBits, nullptr);  // a DIB section
    DeleteObject(h);
    ASSERT_EQ(fake_.load_image_calls.size(), 2u);
    EXPECT_EQ(fake_.load_image_calls[0], "module|" + file + "|0|0|0|0x2000");
    EXPECT_EQ(fake_.load_image_calls[1], "none|" + file + "|0|0|0|0x2010");
    EXPECT_EQ(LoadBitmapImage(dir_.path("missing.bmp").c_str()), nullptr);
}

}  // namespace
