// The DLL as a host sees it: linked through its import library, loaded by name, its export
// and import tables, and its entry points called through a stack aligned to 4 bytes only.
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <fstream>
#include <iterator>
#include <set>
#include <vector>

#include "mediakit.h"
#include "pe_tables.h"

// Calls fn(args[0..n-1]), cdecl, with the stack pointer at offset (mod 16) at the call.
extern "C" uint32_t call_with_stack_at(const void* fn, const uint32_t* args, int n, int offset);
__asm__(
    ".text\n"
    ".globl _call_with_stack_at\n"
    "_call_with_stack_at:\n"
    "  push %ebp\n"
    "  mov %esp, %ebp\n"
    "  push %esi\n"
    "  push %edi\n"
    "  mov 16(%ebp), %ecx\n"
    "  lea (,%ecx,4), %eax\n"
    "  mov %esp, %edi\n"
    "  sub %eax, %edi\n"
    "  sub $64, %edi\n"
    "  and $-16, %edi\n"
    "  add 20(%ebp), %edi\n"
    "  mov %edi, %esp\n"
    "  mov 12(%ebp), %esi\n"
    "  cld\n"
    "  rep movsl\n"
    "  call *8(%ebp)\n"
    "  lea -8(%ebp), %esp\n"
    "  pop %edi\n"
    "  pop %esi\n"
    "  pop %ebp\n"
    "  ret\n");

namespace {

std::vector<uint8_t> read_bytes(const char* path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::string lower(std::string s) {
    std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return char(std::tolower(c)); });
    return s;
}

TEST(DllTables, ExportsExactlyTheDefinedPlainNames) {
    mktest::PeTables t = mktest::read_pe_tables(read_bytes(MK_DLL_PATH));
    ASSERT_TRUE(t.ok);
    std::vector<uint8_t> def = read_bytes(MK_DEF_FILE);
    std::vector<std::string> expected = mktest::read_def_exports(std::string(def.begin(), def.end()));
    ASSERT_FALSE(expected.empty());
    for (const std::string& name : t.exports) {
        EXPECT_TRUE(std::isalpha(static_cast<unsigned char>(name[0])) &&
                    name.find_first_of("@?$.") == std::string::npos)
            << "decorated export " << name;
    }
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(t.exports, expected);  // the export name table is sorted
}

TEST(DllTables, ImportsSystemDllsOnly) {
    mktest::PeTables t = mktest::read_pe_tables(read_bytes(MK_DLL_PATH));
    ASSERT_TRUE(t.ok);
    const std::set<std::string> system = {"kernel32.dll", "user32.dll",   "gdi32.dll",  "winmm.dll",
                                          "msacm32.dll",  "avifil32.dll", "imm32.dll",  "msvcrt.dll"};
    ASSERT_FALSE(t.imports.empty());
    for (const std::string& dll : t.imports) EXPECT_TRUE(system.count(lower(dll))) << dll;
}

TEST(Dll, EveryNameResolvesWhenLoadedByName) {
    HMODULE dll = LoadLibraryA("mediakit.dll");
    ASSERT_NE(dll, nullptr);
    std::vector<uint8_t> def = read_bytes(MK_DEF_FILE);
    for (const std::string& name : mktest::read_def_exports(std::string(def.begin(), def.end())))
        EXPECT_NE(GetProcAddress(dll, name.c_str()), nullptr) << name;
}

// Heap-style records with no device context: FastBlt can only copy them on the MMX path,
// which the entry point enabled when it found MMX at process attach.
struct Image {
    explicit Image(int w, int h, BYTE fill) : pixels(size_t(((w * 24 + 31) >> 3) & ~3) * h, fill) {
        info.biSize = 40;
        info.biWidth = w;
        info.biHeight = h;
        info.biPlanes = 1;
        info.biBitCount = 24;
        bd.bmfHeader.bfType = 0x4D42;
        bd.lpbmi = reinterpret_cast<BITMAPINFO*>(&info);
        bd.lpBits = pixels.data();
    }
    BITMAPINFOHEADER info{};
    std::vector<BYTE> pixels;
    BitmapData bd{};
};

TEST(Dll, EntryPointEnablesTheMmxPaths) {
    ASSERT_EQ(IsMMX(), 1);
    Image dst(64, 8, 0), src(64, 8, 0xC3);
    FastBlt(&dst.bd, 0, 0, 64, 8, &src.bd, 0, 0);
    EXPECT_EQ(dst.pixels, src.pixels);
}

TEST(Dll, EntryPointsRunOnAStackAlignedToFourBytes) {
    for (int offset : {4, 8, 12, 0}) {
        SCOPED_TRACE(offset);
        Image dst(1920, 4, 0), src(1920, 4, 0x7E);
        const uint32_t blt[] = {uint32_t(&dst.bd), 0, 0, 1920, 4, uint32_t(&src.bd), 0, 0};
        call_with_stack_at(reinterpret_cast<const void*>(&FastBlt), blt, 8, offset);
        EXPECT_EQ(dst.pixels, src.pixels);

        BitmapData section{};
        const uint32_t make[] = {0, 300, 20, 24, 0, uint32_t(&section)};
        EXPECT_EQ(call_with_stack_at(reinterpret_cast<const void*>(&BufferDIBSection), make, 6, offset), 1u);
        const uint32_t del[] = {uint32_t(&section)};
        call_with_stack_at(reinterpret_cast<const void*>(&DeleteBitmapData), del, 1, offset);
        const uint32_t flag[] = {1};
        EXPECT_EQ(call_with_stack_at(reinterpret_cast<const void*>(&SetUsageMMX), flag, 1, offset), 1u);
    }
}

// Ellipse stamps, particles and splines all run double arithmetic in SSE registers.
TEST(Dll, EffectsAndSplinesRunOnAStackAlignedToFourBytes) {
    auto args_with = [](std::initializer_list<uint32_t> head, double d) {
        std::vector<uint32_t> a(head);
        uint32_t w[2];
        std::memcpy(w, &d, 8);
        a.push_back(w[0]);
        a.push_back(w[1]);
        return a;
    };
    for (int offset : {4, 8, 12, 0}) {
        SCOPED_TRACE(offset);
        Image dst(64, 64, 0), src(64, 64, 0x7E);
        const uint32_t colour[] = {uint32_t(&dst.bd), 8, 8, 32, 32, 0x0000FF00, 0, 0, 0, 256};
        call_with_stack_at(reinterpret_cast<const void*>(&ColorEllipse), colour, 10, offset);
        const BYTE* centre = dst.pixels.data() + 39 * 192 + 24 * 3;
        EXPECT_TRUE(centre[0] == 0 && centre[1] == 0xFF && centre[2] == 0);
        const uint32_t image[] = {uint32_t(&dst.bd), 0, 0, 64, 64, uint32_t(&src.bd), 0, 0, 0, 0, 0, 256};
        call_with_stack_at(reinterpret_cast<const void*>(&ImageEllipse), image, 12, offset);
        EXPECT_EQ(centre[1], 0x7E);

        std::vector<uint32_t> cond = args_with({}, 10.0);
        std::vector<uint32_t> more = args_with({}, 20.0);
        cond.insert(cond.end(), more.begin(), more.end());
        cond.insert(cond.end(), {0, 0, 0, 0, 0});
        call_with_stack_at(reinterpret_cast<const void*>(&ptc_SetCondition), cond.data(), int(cond.size()), offset);
        std::vector<uint32_t> make = args_with({PTC_ALLATONCE, 0, 32, 32, 8, 6, 1, 256, 100, 50}, 45.0);
        std::vector<uint32_t> tail = args_with({180}, 1.0);
        make.insert(make.end(), tail.begin(), tail.end());
        make.insert(make.end(), {0, 100, 10, 3, 2, 2});
        auto* powder = reinterpret_cast<PowderData*>(call_with_stack_at(
            reinterpret_cast<const void*>(&ptc_CreatePowder), make.data(), int(make.size()), offset));
        ASSERT_NE(powder, nullptr);
        EXPECT_EQ(powder->nCount, 8);
        EXPECT_EQ(powder->dAngle, 45.0);
        const uint32_t frame[] = {16, uint32_t(powder), uint32_t(&dst.bd), 0x000000FF, 0, 0};
        call_with_stack_at(reinterpret_cast<const void*>(&ptc_ColorEraseParticle), frame, 6, offset);
        EXPECT_EQ(powder->nAlive, 8);
        const uint32_t move[] = {100, uint32_t(powder)};
        EXPECT_EQ(call_with_stack_at(reinterpret_cast<const void*>(&ptc_Move), move, 2, offset), 1u);
        ptc_DeleteParticleMatters(powder);

        SplineData spline{};
        ASSERT_EQ(InitSpline(&spline, 3), 1);
        for (int i = 0; i <= 3; ++i) spline.lpX[i] = spline.lpY[i] = float(i);
        const uint32_t build[] = {uint32_t(&spline)};
        call_with_stack_at(reinterpret_cast<const void*>(&BuildSpline), build, 1, offset);
        float t = 1.5f, value = 0;
        uint32_t calc[2] = {uint32_t(&spline)};
        std::memcpy(&calc[1], &t, 4);
        call_with_stack_at(reinterpret_cast<const void*>(&CalcSpline), calc, 2, offset);
        __asm__ volatile("fstps %0" : "=m"(value));  // the float result is left in st(0)
        EXPECT_FLOAT_EQ(value, 1.5f);
        DeleteSpline(&spline);
    }
}

}  // namespace
