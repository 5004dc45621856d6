// The DLL as a host sees it: linked through its import library, loaded by name, its export
// and import tables, and its entry points called through a stack aligned to 4 bytes only.
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <set>
#include <vector>

#include "mediakit.h"
#include "platform/gdi32_calls.h"
#include "platform/kernel32_calls.h"
#include "platform/msacm32_calls.h"
#include "platform/user32_calls.h"
#include "platform/winmm_calls.h"

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

// The names listed after EXPORTS in the module definition.
std::vector<std::string> def_exports() {
    std::ifstream in(MK_DEF_FILE);
    std::vector<std::string> names;
    std::string word;
    while (in >> word && word != "EXPORTS") {}
    while (in >> word) names.push_back(word);
    return names;
}

using Imports = std::map<std::string, std::set<std::string>>;

// Every function of a call table is imported by name from the DLL whose table it is in.
template <class Calls>
void expect_listed_under(const Imports& imports, const std::string& dll) {
    const auto found = imports.find(dll);
    ASSERT_NE(found, imports.end()) << dll;
    Calls::for_each([&](auto, const char* name) { EXPECT_EQ(found->second.count(name), 1u) << name << " from " << dll; });
}

// The export table holds exactly the names of the module definition, undecorated, each of
// them resolves by name, and the imports are system DLLs only, the call tables' functions
// each from its own. The tables are read from the loaded image, where every RVA is an
// offset from the module's base.
TEST(Dll, TablesNameTheDefinedExportsAndSystemImportsOnly) {
    HMODULE dll = LoadLibraryA("mediakit.dll");
    ASSERT_NE(dll, nullptr);
    const BYTE* base = reinterpret_cast<const BYTE*>(dll);
    auto nt = reinterpret_cast<const IMAGE_NT_HEADERS32*>(base + reinterpret_cast<const IMAGE_DOS_HEADER*>(base)->e_lfanew);
    const IMAGE_DATA_DIRECTORY* dirs = nt->OptionalHeader.DataDirectory;
    auto exports = reinterpret_cast<const IMAGE_EXPORT_DIRECTORY*>(base + dirs[IMAGE_DIRECTORY_ENTRY_EXPORT].VirtualAddress);
    auto names = reinterpret_cast<const DWORD*>(base + exports->AddressOfNames);
    std::vector<std::string> exported;
    for (DWORD i = 0; i < exports->NumberOfNames; ++i) exported.emplace_back(reinterpret_cast<const char*>(base + names[i]));

    std::vector<std::string> expected = def_exports();
    for (const std::string& name : expected) {
        EXPECT_TRUE(std::isalpha(static_cast<unsigned char>(name[0]))) << "decorated name " << name;
        EXPECT_EQ(name.find_first_of("@?$."), std::string::npos) << "decorated name " << name;
        EXPECT_NE(GetProcAddress(dll, name.c_str()), nullptr) << name;
    }
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(exported, expected);  // the export name table is sorted

    const std::set<std::string> system = {"kernel32.dll", "user32.dll",   "gdi32.dll", "winmm.dll",
                                          "msacm32.dll",  "avifil32.dll", "imm32.dll", "msvcrt.dll"};
    auto import = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + dirs[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress);
    ASSERT_NE(import->Name, 0u);
    Imports imports;
    for (; import->Name; ++import) {
        std::string name = reinterpret_cast<const char*>(base + import->Name);
        std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return char(std::tolower(c)); });
        EXPECT_TRUE(system.count(name)) << name;
        auto thunk = reinterpret_cast<const IMAGE_THUNK_DATA32*>(base + import->OriginalFirstThunk);
        for (; thunk->u1.AddressOfData; ++thunk)
            if (!(thunk->u1.Ordinal & IMAGE_ORDINAL_FLAG32))
                imports[name].insert(reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + thunk->u1.AddressOfData)->Name);
    }
    expect_listed_under<mediakit::Kernel32Calls>(imports, "kernel32.dll");
    expect_listed_under<mediakit::User32Calls>(imports, "user32.dll");
    expect_listed_under<mediakit::Gdi32Calls>(imports, "gdi32.dll");
    expect_listed_under<mediakit::WinmmCalls>(imports, "winmm.dll");
    expect_listed_under<mediakit::Msacm32Calls>(imports, "msacm32.dll");
}

// Heap-style 24-bit records with no device context: FastBlt can only copy them on the MMX
// path, which the entry point enabled when it found MMX at process attach.
struct Image {
    Image(int w, int h, uint32_t seed) : pixels(size_t(((w * 24 + 31) >> 3) & ~3) * h) {
        for (size_t i = 0; i < pixels.size(); ++i) pixels[i] = seed ? BYTE((i * seed + i / 7) % 251) : 0x55;
        info.biSize = 40;
        info.biWidth = w;
        info.biHeight = h;
        info.biPlanes = 1;
        info.biBitCount = 24;
        bd.bmfHeader.bfType = 0x4D42;
        bd.lpbmi = reinterpret_cast<BITMAPINFO*>(&info);
        bd.lpBits = pixels.data();
    }
    uint32_t arg() { return uint32_t(&bd); }
    BITMAPINFOHEADER info{};
    std::vector<BYTE> pixels;
    BitmapData bd{};
};

TEST(Dll, EntryPointEnablesTheMmxPaths) {
    ASSERT_EQ(IsMMX(), 1);
    Image dst(64, 8, 0), src(64, 8, 3);
    FastBlt(&dst.bd, 0, 0, 64, 8, &src.bd, 0, 0);
    EXPECT_EQ(dst.pixels, src.pixels);
}

uint32_t call_at(int offset, const void* fn, std::vector<uint32_t> args) {
    return call_with_stack_at(fn, args.data(), int(args.size()), offset);
}

// Doubles go on the stack as two words, low word first.
std::vector<uint32_t> words(std::initializer_list<double> values) {
    std::vector<uint32_t> out;
    for (double d : values) {
        uint32_t w[2];
        std::memcpy(w, &d, 8);
        out.insert(out.end(), {w[0], w[1]});
    }
    return out;
}

std::vector<uint32_t> operator+(std::vector<uint32_t> a, const std::vector<uint32_t>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

// What a run did: every result and every byte it wrote, folded into one number.
struct Digest {
    uint64_t h = 1469598103934665603ull;
    Digest& add(const void* p, size_t n) {
        for (size_t i = 0; i < n; ++i) h = (h ^ static_cast<const uint8_t*>(p)[i]) * 1099511628211ull;
        return *this;
    }
    Digest& add(uint32_t v) { return add(&v, 4); }
};

// Sources shared by the rows: varied pixels, a mask, and black runs for the colour key.
struct Sources {
    Image src{1920, 9, 7}, src2{1920, 9, 13}, mask{1920, 9, 3}, keyed{1920, 9, 11};
    Sources() {
        for (size_t i = 0; i < keyed.pixels.size(); i += 15) std::memset(&keyed.pixels[i], 0, 6);
    }
};

// A blit into a fresh 1920x4 destination of varied pixels; the digest is its bytes.
std::function<uint64_t(int)> blit(const void* fn, std::vector<uint32_t> args) {
    return [=](int offset) {
        Image dst(1920, 4, 5);
        call_at(offset, fn, std::vector<uint32_t>{dst.arg()} + args);
        return Digest().add(dst.pixels.data(), dst.pixels.size()).h;
    };
}

#define FN(f) reinterpret_cast<const void*>(&f)

// Every export that reaches vector or floating-point code, called through a stack aligned
// to 4, 8 and 12 bytes, does exactly what it does when called from this program's stack.
TEST(Dll, EntryPointsRunOnAStackAlignedToFourBytes) {
    Sources in;
    const uint32_t s = in.src.arg(), s2 = in.src2.arg(), m = in.mask.arg(), k = in.keyed.arg();
    // A RIFF image of one 8-bit mu-law "fmt " chunk (18 bytes) and 4 bytes of data.
    static const uint8_t riff[] = {'R', 'I', 'F', 'F', 42, 0, 0, 0, 'W', 'A', 'V', 'E', 'f', 'm', 't', ' ', 18, 0, 0,
                                   0, 7, 0, 1, 0, 0x40, 0x1F, 0, 0, 0x40, 0x1F, 0, 0, 1, 0, 8, 0, 0, 0,
                                   'd', 'a', 't', 'a', 4, 0, 0, 0, 0xFF, 0x80, 0x00, 0x7F};
    const std::pair<const char*, std::function<uint64_t(int)>> rows[] = {
        {"FastBlt", blit(FN(FastBlt), {0, 0, 1920, 4, s, 0, 0})},
        {"MaskAlphaBlt", blit(FN(MaskAlphaBlt), {0, 0, 1920, 4, s, 0, 0, m, 0, 0})},
        {"MaskAlphaBlt2", blit(FN(MaskAlphaBlt2), {0, 0, 1920, 4, s, 0, 0, m, 0, 0, 200})},
        {"MaskTimeAlphaBlt", blit(FN(MaskTimeAlphaBlt), {0, 0, 1920, 4, s, 0, 0, s2, 0, 0, m, 0, 0, 300})},
        {"MaskKeyBlt", blit(FN(MaskKeyBlt), {0, 0, 1920, 4, s, 0, 0, m, 0, 0, 100})},
        {"MaskKeyBlt2", blit(FN(MaskKeyBlt2), {0, 0, 1920, 4, s, 0, 0, m, 0, 0, 100, 77})},
        {"MaskTimeKeyBlt", blit(FN(MaskTimeKeyBlt), {0, 0, 1920, 4, s, 0, 0, m, 0, 0, 150})},
        {"AlphaBlendBlt", blit(FN(AlphaBlendBlt), {0, 0, 1920, 4, s, 0, 0, s2, 0, 0, 99})},
        {"FillAlpha", blit(FN(FillAlpha), {0, 0, 1920, 4, 0x123456, 99})},
        {"ColorKeyBlt", blit(FN(ColorKeyBlt), {0, 0, 1920, 4, k, 0, 0})},
        {"ColorKeyBlt2", blit(FN(ColorKeyBlt2), {0, 0, 1920, 4, k, 0, 0, 99})},
        {"AddColorValue", blit(FN(AddColorValue), {0, 0, 5760, 4, 30})},
        {"BilinearBlt", blit(FN(BilinearBlt), {0, 0, 640, 3, s, 0, 0, 1920, 9})},
        {"ReviseHSB", blit(FN(ReviseHSB), std::vector<uint32_t>{0, 0, 1920, 4} + words({1.0 / 3, -0.5, 123.0}) + std::vector<uint32_t>{0})},
        {"ColorEllipse", blit(FN(ColorEllipse), {8, 0, 300, 40, 0x0000FF00, m, 0, 0, 200})},
        {"ImageEllipse", blit(FN(ImageEllipse), {8, 0, 300, 40, s, 0, 0, 0, 0, 0, 256})},
        {"BufferDIBSection", [](int offset) {
             BitmapData section{};
             uint32_t made = call_at(offset, FN(BufferDIBSection), {0, 300, 20, 24, 0, uint32_t(&section)});
             Digest d;
             d.add(made).add(&section.bmfHeader, 14).add(section.lpbmi, 40);
             call_at(offset, FN(DeleteBitmapData), {uint32_t(&section)});
             return d.add(section.hdc == nullptr).h;
         }},
        {"WAVE and ACM", [](int offset) {
             WAVEFORMATEX pcm{}, target{};
             const WAVEFORMATEX* format = nullptr;
             BYTE* data = nullptr;
             DWORD size = 0, fact = 0, bytes = 0;
             Digest d;
             call_at(offset, FN(wav_SetWaveFormat), {2, 16, 44100, uint32_t(&pcm)});
             d.add(&pcm, sizeof pcm);
             d.add(call_at(offset, FN(wav_ParseWaveResource), {uint32_t(riff), uint32_t(&format), uint32_t(&fact), uint32_t(&data), uint32_t(&size)}));
             d.add(call_at(offset, FN(acm_BeginDecode), {uint32_t(format), 4, 4, uint32_t(&target), uint32_t(&bytes)}));
             std::vector<BYTE> out(bytes);
             d.add(call_at(offset, FN(acm_Decode), {uint32_t(data), uint32_t(out.data())}));
             call_at(offset, FN(acm_EndDecode), {});
             int value = 5;
             d.add(call_at(offset, FN(GetPrivateProfileNumber), {uint32_t("s"), uint32_t("k"), uint32_t(&value), uint32_t("Z:\\no\\such.ini")}));
             WaveForFile record{};
             d.add(call_at(offset, FN(wav_OpenWaveForFile), {uint32_t(MK_DLL_PATH), uint32_t(&record), 1}));
             call_at(offset, FN(RegError), {uint32_t("")});
             return d.add(size).add(bytes).add(out.data(), out.size()).add(uint32_t(value)).h;
         }},
        {"particles", [&in](int offset) {
             Image dst(64, 64, 0);
             call_at(offset, FN(ptc_SetCondition), words({10.0, 20.0}) + std::vector<uint32_t>{0, 0, 0, 0, 0});
             auto make = std::vector<uint32_t>{PTC_ALLATONCE, 0, 32, 32, 8, 6, 1, 256, 100, 50} + words({45.0}) +
                         std::vector<uint32_t>{180} + words({1.0}) + std::vector<uint32_t>{0, 100, 10, 3, 2, 2};
             auto* powder = reinterpret_cast<PowderData*>(call_at(offset, FN(ptc_CreatePowder), make));
             if (!powder) return uint64_t{0};
             call_at(offset, FN(ptc_ColorEraseParticle), {16, uint32_t(powder), dst.arg(), 0x000000FF, 0, 0});
             Digest d;
             d.add(call_at(offset, FN(ptc_Move), {100, uint32_t(powder)}));
             d.add(uint32_t(powder->nAlive)).add(dst.pixels.data(), dst.pixels.size());
             ptc_DeleteParticleMatters(powder);
             return d.h;
         }},
        {"spline", [](int offset) {
             SplineData spline{};
             InitSpline(&spline, 3);
             for (int i = 0; i <= 3; ++i) spline.lpX[i] = spline.lpY[i] = float(i * i);
             call_at(offset, FN(BuildSpline), {uint32_t(&spline)});
             float t = 2.5f, value = 0;
             uint32_t t_word;
             std::memcpy(&t_word, &t, 4);
             call_at(offset, FN(CalcSpline), {uint32_t(&spline), t_word});
             __asm__ volatile("fstps %0" : "=m"(value));  // the float result is left in st(0)
             DeleteSpline(&spline);
             return Digest().add(&value, 4).h;
         }},
    };
    const uint64_t untouched = blit(FN(SetUsageMMX), {})(0);  // a destination nothing drew on
    for (BOOL mmx : {1, 0}) {
        SetUsageMMX(mmx);
        for (const auto& [name, run] : rows) {
            uint64_t direct = run(0);
            // Without the MMX paths FastBlt goes through GDI, and these records have no DCs.
            if (mmx) EXPECT_NE(direct, untouched) << name << " did nothing";
            for (int offset : {4, 8, 12}) EXPECT_EQ(run(offset), direct) << name << ", offset " << offset << ", MMX " << mmx;
        }
    }
    SetUsageMMX(1);
}

}  // namespace
