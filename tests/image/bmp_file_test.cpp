// BMP files read into and written from heap records, checked against the loading rule
// computed from the file's bytes (tests/support/bmp_bytes).
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "bmp_bytes.h"
#include "image/bitmap_record.h"
#include "temp_dir.h"

namespace {

using mktest::BmpFields;

// Frees what a heap load allocated (DeleteBitmapData needs GDI and lives in the DLL layer).
void free_record(BitmapData& bd) {
    std::free(bd.lpbmi);
    std::free(bd.lpBits);
    bd = BitmapData{};
}

BmpFields with(void (*edit)(BmpFields&)) {
    BmpFields f;
    edit(f);
    return f;
}

class BmpFileTest : public testing::Test {
protected:
    mktest::TempDir dir_;
};

// Header variants, every truncation of a palettised file, and the shipped good, questionable
// and bad files: each loads exactly what the rule says, or fails with the record cleared
// (the record starts filled, as a host's reused record would be).
TEST_F(BmpFileTest, LoadsEveryFileByTheLoadingRule) {
    std::vector<std::pair<std::string, std::vector<uint8_t>>> files;
    const std::pair<const char*, BmpFields> rows[] = {
        {"24-bit", with([](BmpFields&) {})},
        {"magic MB", with([](BmpFields& f) { f.magic = 0x424D; })},
        {"reserved1", with([](BmpFields& f) { f.reserved1 = 1; })},
        {"reserved2", with([](BmpFields& f) { f.reserved2 = 0x8000; })},
        {"bfOffBits 0: pixels after the palette", with([](BmpFields& f) { f.bit_count = 8; f.off_bits = 0; })},
        {"8-bit, biClrUsed 20", with([](BmpFields& f) { f.bit_count = 8; f.clr_used = 20; })},
        {"24-bit, biClrUsed 2", with([](BmpFields& f) { f.clr_used = 2; })},
        {"1-bit, 33 wide", with([](BmpFields& f) { f.bit_count = 1; f.width = 33; })},
        {"gap before pixels", with([](BmpFields& f) { f.gap = 10; })},
        {"bfOffBits at 4 GiB - 2", with([](BmpFields& f) { f.off_bits = 0xFFFFFFFE; })},
        {"biSize 124 (read as 40)", with([](BmpFields& f) { f.info_size = 124; })},
        {"top-down", with([](BmpFields& f) { f.height = -3; })},
        {"huge", with([](BmpFields& f) { f.width = 0x10000; f.height = 0x10000; })},
        {"stride wraps to 0", with([](BmpFields& f) { f.width = 0x7FFFFFFF; })},
        {"zero planes", with([](BmpFields& f) { f.planes = 0; })},
        {"biClrUsed 65535, no entries", with([](BmpFields& f) { f.clr_used = 0xFFFF; f.palette_entries = 0; })},
    };
    for (const auto& [what, fields] : rows) files.emplace_back(what, mktest::make_bmp(fields));
    std::vector<uint8_t> full = mktest::make_bmp(with([](BmpFields& f) { f.bit_count = 8; f.clr_used = 3; f.width = 5; f.gap = 2; }));
    for (size_t n = 0; n < full.size(); ++n) files.emplace_back("cut at " + std::to_string(n), std::vector<uint8_t>(full.begin(), full.begin() + n));
    for (const char* group : {"g", "q", "b"})
        for (const auto& entry : std::filesystem::directory_iterator(mktest::data_path(std::string("bmpsuite/") + group)))
            files.emplace_back(entry.path().string(), mktest::read_file(entry.path().string()));

    std::string file = dir_.path("in.bmp");
    for (const auto& [what, bytes] : files) {
        mktest::write_file(file, bytes);
        BitmapData bd{};
        std::memset(&bd, 0x5A, sizeof bd);
        mktest::ExpectedRecord expected = mktest::expected_heap_load(bytes);
        EXPECT_EQ(LoadBitmapData(file.c_str(), &bd), expected.ok ? 1 : 0) << what;
        EXPECT_EQ(mktest::check_record(expected, bd), "") << what;
        if (expected.ok) free_record(bd);
    }
}

TEST_F(BmpFileTest, MissingFilesTouchNothing) {
    BitmapData bd{};
    std::memset(&bd, 0x5A, sizeof bd);
    BitmapData before = bd;
    EXPECT_EQ(LoadBitmapData(dir_.path("missing.bmp").c_str(), &bd), 0);
    EXPECT_EQ(std::memcmp(&bd, &before, sizeof bd), 0);
    BITMAPINFO* info = reinterpret_cast<BITMAPINFO*>(0x5678);
    EXPECT_EQ(LoadBitmapInfo(dir_.path("missing.bmp").c_str(), &info), 0);
    EXPECT_EQ(info, reinterpret_cast<BITMAPINFO*>(0x5678));
}

TEST_F(BmpFileTest, SaveWritesTheRecordBackAndRefusesNonImages) {
    std::vector<uint8_t> original = mktest::make_bmp(with([](BmpFields& f) { f.clr_used = 2; f.width = 7; }));
    std::string in = dir_.path("in.bmp"), out = dir_.path("out.bmp");
    mktest::write_file(in, original);
    BitmapData bd{}, empty{};
    ASSERT_EQ(LoadBitmapData(in.c_str(), &bd), 1);
    ASSERT_EQ(SaveBitmapData(out.c_str(), &bd), 1);
    EXPECT_EQ(mktest::read_file(out), original);
    std::filesystem::remove(out);

    EXPECT_EQ(SaveBitmapData(out.c_str(), &empty), 0);
    bd.bmfHeader.bfReserved2 = 1;
    EXPECT_EQ(SaveBitmapData(out.c_str(), &bd), 0);
    EXPECT_FALSE(std::filesystem::exists(out));
    bd.bmfHeader.bfReserved2 = 0;
    EXPECT_EQ(SaveBitmapData(dir_.path("no/such/dir.bmp").c_str(), &bd), 0);
    free_record(bd);
}

TEST_F(BmpFileTest, BitmapInfoIsTheHeaderAndPalette) {
    struct Row { uint16_t bits; uint32_t clr_used, info_size; size_t block; uint16_t magic; };
    const Row rows[] = {{24, 0, 40, 40, 0x4D42}, {8, 0, 40, 1064, 0x4D42}, {4, 3, 40, 52, 0x4D42},
                        {24, 0, 124, 40, 0x4D42}, {24, 0, 40, 0, 0x424D}};
    for (const Row& r : rows) {
        BmpFields f;
        f.bit_count = r.bits;
        f.clr_used = r.clr_used;
        f.info_size = r.info_size;
        f.magic = r.magic;
        std::vector<uint8_t> bytes = mktest::make_bmp(f);
        std::string in = dir_.path("in.bmp");
        mktest::write_file(in, bytes);
        BITMAPINFO* info = reinterpret_cast<BITMAPINFO*>(0x5678);
        ASSERT_EQ(LoadBitmapInfo(in.c_str(), &info), r.block ? 1 : 0) << r.bits << " bits";
        if (!r.block) {
            EXPECT_EQ(info, reinterpret_cast<BITMAPINFO*>(0x5678));
            continue;
        }
        EXPECT_EQ(std::memcmp(info, bytes.data() + 14, r.block), 0) << r.bits << " bits";
        std::free(info);
    }
}

}  // namespace
