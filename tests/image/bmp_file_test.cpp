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

bool is_empty(const BitmapData& bd) {
    static const BitmapData kEmpty{};
    return std::memcmp(&bd, &kEmpty, sizeof bd) == 0;
}

class BmpFileTest : public testing::Test {
protected:
    // Writes the bytes, loads them, and checks the record against the loading rule.
    void load_and_check(const std::vector<uint8_t>& bytes, const std::string& what) {
        std::string file = dir_.path("in.bmp");
        mktest::write_file(file, bytes);
        BitmapData bd{};
        mktest::ExpectedRecord expected = mktest::expected_heap_load(bytes);
        EXPECT_EQ(LoadBitmapData(file.c_str(), &bd), expected.ok ? 1 : 0) << what;
        EXPECT_EQ(mktest::check_record(expected, bd), "") << what;
        free_record(bd);
    }
    mktest::TempDir dir_;
};

TEST_F(BmpFileTest, MissingFileLeavesTheRecordAlone) {
    BitmapData bd{};
    bd.lpBits = reinterpret_cast<BYTE*>(0x1234);
    bd.bmfHeader.bfSize = 77;
    BitmapData before = bd;
    EXPECT_EQ(LoadBitmapData(dir_.path("missing.bmp").c_str(), &bd), 0);
    EXPECT_EQ(std::memcmp(&bd, &before, sizeof bd), 0);
    BITMAPINFO* info = reinterpret_cast<BITMAPINFO*>(0x5678);
    EXPECT_EQ(LoadBitmapInfo(dir_.path("missing.bmp").c_str(), &info), 0);
    EXPECT_EQ(info, reinterpret_cast<BITMAPINFO*>(0x5678));
}

TEST_F(BmpFileTest, HeaderCasesFollowTheLoadingRule) {
    struct Row { const char* what; BmpFields fields; };
    auto with = [](auto edit) { BmpFields s; edit(s); return s; };
    const Row rows[] = {
        {"24-bit", with([](BmpFields&) {})},
        {"magic MB", with([](BmpFields& s) { s.magic = 0x424D; })},
        {"reserved1", with([](BmpFields& s) { s.reserved1 = 1; })},
        {"reserved2", with([](BmpFields& s) { s.reserved2 = 0x8000; })},
        {"bfOffBits 0: pixels after the header", with([](BmpFields& s) { s.off_bits = 0; })},
        {"bfOffBits 0 with palette", with([](BmpFields& s) { s.bit_count = 8; s.off_bits = 0; })},
        {"8-bit, 256 entries", with([](BmpFields& s) { s.bit_count = 8; })},
        {"8-bit, biClrUsed 20", with([](BmpFields& s) { s.bit_count = 8; s.clr_used = 20; })},
        {"24-bit, biClrUsed 2", with([](BmpFields& s) { s.clr_used = 2; })},
        {"1-bit, 33 wide", with([](BmpFields& s) { s.bit_count = 1; s.width = 33; })},
        {"gap before pixels", with([](BmpFields& s) { s.gap = 10; })},
        {"bfOffBits past the end", with([](BmpFields& s) { s.off_bits = 100000; })},
        {"bfOffBits at 4 GiB - 1", with([](BmpFields& s) { s.off_bits = 0xFFFFFFFE; })},
        {"biSize 124 (read as 40)", with([](BmpFields& s) { s.info_size = 124; })},
        {"top-down", with([](BmpFields& s) { s.height = -3; })},
        {"negative width", with([](BmpFields& s) { s.width = -3; })},
        {"huge", with([](BmpFields& s) { s.width = 0x10000; s.height = 0x10000; })},
        {"wrapping width", with([](BmpFields& s) { s.width = 0x7FFFFFFF; })},
        {"zero height", with([](BmpFields& s) { s.height = 0; })},
        {"zero planes", with([](BmpFields& s) { s.planes = 0; })},
        {"biClrUsed 65535 without the entries", with([](BmpFields& s) { s.clr_used = 0xFFFF; s.palette_entries = 0; })},
    };
    for (const Row& r : rows) load_and_check(mktest::make_bmp(r.fields), r.what);
}

TEST_F(BmpFileTest, EveryTruncationLoadsWhatTheFileHolds) {
    BmpFields s;
    s.bit_count = 8;
    s.clr_used = 3;
    s.width = 5;
    s.gap = 2;
    std::vector<uint8_t> full = mktest::make_bmp(s);
    for (size_t n = 0; n <= full.size(); ++n)
        load_and_check({full.begin(), full.begin() + n}, "truncated to " + std::to_string(n));
}

TEST_F(BmpFileTest, ShippedGoodQuestionableAndBadFiles) {
    for (const char* group : {"g", "q", "b"}) {
        for (const auto& entry : std::filesystem::directory_iterator(mktest::data_path(std::string("bmpsuite/") + group))) {
            std::vector<uint8_t> bytes = mktest::read_file(entry.path().string());
            BitmapData bd{};
            mktest::ExpectedRecord expected = mktest::expected_heap_load(bytes);
            EXPECT_EQ(LoadBitmapData(entry.path().string().c_str(), &bd), expected.ok ? 1 : 0) << entry.path();
            EXPECT_EQ(mktest::check_record(expected, bd), "") << entry.path();
            free_record(bd);
        }
    }
}

TEST_F(BmpFileTest, SaveWritesTheRecordBackByteForByte) {
    BmpFields s;
    s.bit_count = 24;
    s.clr_used = 2;  // a 24-bit file with two palette entries keeps them
    s.width = 7;
    std::vector<uint8_t> original = mktest::make_bmp(s);
    std::string in = dir_.path("in.bmp"), out = dir_.path("out.bmp");
    mktest::write_file(in, original);
    BitmapData bd{};
    ASSERT_EQ(LoadBitmapData(in.c_str(), &bd), 1);
    ASSERT_EQ(NumOfPalletColors(&bd.lpbmi->bmiHeader), 2);
    ASSERT_EQ(SaveBitmapData(out.c_str(), &bd), 1);
    EXPECT_EQ(mktest::read_file(out), original);

    BitmapData again{};
    ASSERT_EQ(LoadBitmapData(out.c_str(), &again), 1);
    EXPECT_EQ(mktest::check_record(mktest::expected_heap_load(original), again), "");
    free_record(again);
    free_record(bd);
}

TEST_F(BmpFileTest, SaveRefusesRecordsThatHoldNoImage) {
    BitmapData empty{};
    std::string out = dir_.path("out.bmp");
    EXPECT_EQ(SaveBitmapData(out.c_str(), &empty), 0);
    EXPECT_FALSE(std::filesystem::exists(out));

    std::string in = dir_.path("in.bmp");
    mktest::write_file(in, mktest::make_bmp(BmpFields{}));
    BitmapData bd{};
    ASSERT_EQ(LoadBitmapData(in.c_str(), &bd), 1);
    bd.bmfHeader.bfReserved2 = 1;
    EXPECT_EQ(SaveBitmapData(out.c_str(), &bd), 0);
    EXPECT_FALSE(std::filesystem::exists(out));
    bd.bmfHeader.bfReserved2 = 0;
    EXPECT_EQ(SaveBitmapData(dir_.path("no/such/dir.bmp").c_str(), &bd), 0);
    free_record(bd);
}

TEST_F(BmpFileTest, BitmapInfoIsTheHeaderAndPalette) {
    struct Row { const char* what; uint16_t bits; uint32_t clr_used; uint32_t info_size; size_t block; };
    const Row rows[] = {{"24-bit", 24, 0, 40, 40}, {"8-bit", 8, 0, 40, 1064},
                        {"4-bit of 3 colours", 4, 3, 40, 52}, {"V5 header", 24, 0, 124, 40}};
    for (const Row& r : rows) {
        BmpFields s;
        s.bit_count = r.bits;
        s.clr_used = r.clr_used;
        s.info_size = r.info_size;
        std::vector<uint8_t> bytes = mktest::make_bmp(s);
        std::string in = dir_.path("in.bmp");
        mktest::write_file(in, bytes);
        BITMAPINFO* info = nullptr;
        ASSERT_EQ(LoadBitmapInfo(in.c_str(), &info), 1) << r.what;
        EXPECT_EQ(std::memcmp(info, bytes.data() + 14, r.block), 0) << r.what;
        std::free(info);
    }
    BmpFields bad;
    bad.magic = 0x424D;
    std::string in = dir_.path("bad.bmp");
    mktest::write_file(in, mktest::make_bmp(bad));
    BITMAPINFO* untouched = reinterpret_cast<BITMAPINFO*>(0x5678);
    EXPECT_EQ(LoadBitmapInfo(in.c_str(), &untouched), 0);
    EXPECT_EQ(untouched, reinterpret_cast<BITMAPINFO*>(0x5678));
}

TEST_F(BmpFileTest, FailedLoadClearsAFilledRecord) {
    std::string in = dir_.path("in.bmp");
    BmpFields bad;
    bad.reserved1 = 1;
    mktest::write_file(in, mktest::make_bmp(bad));
    BitmapData bd{};
    bd.bmfHeader.bfSize = 5;
    bd.hdc = reinterpret_cast<HDC>(0x10);
    EXPECT_EQ(LoadBitmapData(in.c_str(), &bd), 0);
    EXPECT_TRUE(is_empty(bd));
}

}  // namespace
