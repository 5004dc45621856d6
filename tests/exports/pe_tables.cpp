#include "pe_tables.h"

#include <cstring>
#include <sstream>

namespace mktest {
namespace {

struct Section {
    uint32_t rva, size, raw;
};

uint32_t u32(const std::vector<uint8_t>& f, size_t at) {
    if (at + 4 > f.size()) return 0;
    return f[at] | f[at + 1] << 8 | f[at + 2] << 16 | uint32_t(f[at + 3]) << 24;
}
uint16_t u16(const std::vector<uint8_t>& f, size_t at) {
    return at + 2 > f.size() ? 0 : uint16_t(f[at] | f[at + 1] << 8);
}

size_t rva_to_offset(const std::vector<Section>& sections, uint32_t rva) {
    for (const Section& s : sections)
        if (rva >= s.rva && rva < s.rva + s.size) return rva - s.rva + s.raw;
    return SIZE_MAX;
}

std::string c_string(const std::vector<uint8_t>& f, size_t at) {
    std::string s;
    while (at < f.size() && f[at]) s += char(f[at++]);
    return s;
}

}  // namespace

PeTables read_pe_tables(const std::vector<uint8_t>& f) {
    PeTables t;
    size_t pe = u32(f, 0x3C);
    if (u32(f, pe) != 0x4550 || u16(f, pe + 24) != 0x10B) return t;  // "PE\0\0", PE32
    uint16_t section_count = u16(f, pe + 6);
    size_t optional = pe + 24, directories = optional + 96;
    size_t table = optional + u16(f, pe + 20);
    std::vector<Section> sections;
    for (uint16_t i = 0; i < section_count; ++i) {
        size_t s = table + 40 * i;
        sections.push_back({u32(f, s + 12), std::max(u32(f, s + 8), u32(f, s + 16)), u32(f, s + 20)});
    }
    size_t exports = rva_to_offset(sections, u32(f, directories));
    if (exports != SIZE_MAX) {
        uint32_t names = u32(f, exports + 24);
        size_t name_table = rva_to_offset(sections, u32(f, exports + 32));
        for (uint32_t i = 0; i < names && name_table != SIZE_MAX; ++i)
            t.exports.push_back(c_string(f, rva_to_offset(sections, u32(f, name_table + 4 * i))));
    }
    size_t imports = rva_to_offset(sections, u32(f, directories + 8));
    for (size_t d = imports; d != SIZE_MAX && u32(f, d + 12) != 0; d += 20)
        t.imports.push_back(c_string(f, rva_to_offset(sections, u32(f, d + 12))));
    t.ok = true;
    return t;
}

std::vector<std::string> read_def_exports(const std::string& def_text) {
    std::vector<std::string> names;
    std::istringstream in(def_text);
    std::string line;
    bool in_exports = false;
    while (std::getline(in, line)) {
        std::istringstream words(line);
        std::string first;
        if (!(words >> first) || first[0] == ';') continue;
        if (first == "EXPORTS") in_exports = true;
        else if (in_exports) names.push_back(first);
    }
    return names;
}

}  // namespace mktest
