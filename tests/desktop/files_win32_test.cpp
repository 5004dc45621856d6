// The file services against Wine's real KERNEL32: real temp files and INI files.
#include <gtest/gtest.h>
#include <windows.h>

#include <climits>
#include <string>
#include <vector>

#include "bmp_bytes.h"
#include "call_fake.h"
#include "mediakit.h"
#include "platform/kernel32_calls.h"
#include "temp_dir.h"

namespace {

TEST(Files, IsExistAndRegError) {
    // Asking for no data access, fl_IsExist sees a file that another handle holds without
    // sharing: the system skips the sharing check for such an open.
    mktest::TempDir dir;
    mktest::write_file(dir.path("here.txt"), {'x'});
    HANDLE held = CreateFileA(dir.path("here.txt").c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_EQ(fl_IsExist(dir.path("here.txt").c_str()), 1);
    CloseHandle(held);
    EXPECT_TRUE(DeleteFileA(dir.path("here.txt").c_str())) << "fl_IsExist closed its handle";
    for (const char* missing : {"here.txt", "no-dir/x"}) EXPECT_EQ(fl_IsExist(dir.path(missing).c_str()), 0) << missing;
    EXPECT_EQ(fl_IsExist(nullptr), 0);
    // The debugger output cannot be read back without a debugger: a fake records it.
    mktest::CallLog log;
    mktest::Fake<&mediakit::Kernel32Calls::OutputDebugStringA> debug_output(log, [](LPCSTR) {});
    RegError("%s cannot open chime.wav");
    ASSERT_EQ(log.names(), "OutputDebugStringA");
    EXPECT_EQ(log.calls()[0].args[0].text, "%s cannot open chime.wav\n");
}

TEST(Files, FilePositionsAreSixtyFourBit) {
    mktest::TempDir dir;
    HANDLE file = CreateFileA(dir.path("pos.bin").c_str(), GENERIC_READ, 0, nullptr, CREATE_NEW, 0, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    EXPECT_EQ(fl_GetFilePointer(file), 0);
    const struct { LONG low, high; LONGLONG position; } rows[] = {
        {7, 0, 7}, {0, 1, 1LL << 32} /* past the end, as the system allows */, {-1, 0, 0xFFFFFFFFLL} /* unsigned low part */,
        {0x10, 2, 0x200000010LL}, {3, -1, 0x200000010LL} /* a negative position fails: the position stays */};
    for (const auto& row : rows) {
        EXPECT_EQ(fl_SetFilePointer(file, row.low, row.high), 1);
        EXPECT_EQ(fl_GetFilePointer(file), row.position) << row.low << ", " << row.high;
    }
    CloseHandle(file);
    EXPECT_EQ(fl_GetFilePointer(INVALID_HANDLE_VALUE) & 0xFFFFFFFF, 0xFFFFFFFF) << "the failed query's low part";
}

// The parsing itself is tested portably; here: what the system hands over and writes.
TEST(Files, ProfileNumbersThroughRealIniFiles) {
    mktest::TempDir dir;
    const std::string ini = dir.path("game.ini"), missing = dir.path("missing.ini"),
                      text = "[game]\r\nneg=  -42abc\r\nempty=\r\nlong=" + std::string(60, '0') + "12345\r\n";  // 63 of 65 seen
    mktest::write_file(ini, std::vector<uint8_t>(text.begin(), text.end()));
    const struct { const char *section, *key; int result, value; const char* file = nullptr; } rows[] = {
        {"game", "neg", 1, -42}, {"game", "empty", 0, 0x5EED}, {"game", "long", 1, 123}, {"game", "absent", 1, 0},
        {"other", "neg", 1, 0},  {"game", "neg", 1, 0, missing.c_str()}};
    for (const auto& row : rows) {
        int value = 0x5EED;
        EXPECT_EQ(GetPrivateProfileNumber(row.section, row.key, &value, row.file ? row.file : ini.c_str()), row.result) << row.key;
        EXPECT_EQ(value, row.value) << row.section << "/" << row.key;
    }
    for (int n : {INT_MIN, 0, INT_MAX, -7}) {
        EXPECT_NE(WritePrivateProfileNumber("numbers", "n", n, ini.c_str()), 0);
        WritePrivateProfileStringA(nullptr, nullptr, nullptr, ini.c_str());  // flush the system's cache
        std::vector<uint8_t> bytes = mktest::read_file(ini);
        EXPECT_NE(std::string(bytes.begin(), bytes.end()).find("n=" + std::to_string(n) + "\r\n"), std::string::npos);
        int back = 0x5EED;
        EXPECT_EQ(GetPrivateProfileNumber("numbers", "n", &back, ini.c_str()) * back, n);
    }
}

}  // namespace
