// The export names and imported DLL names of a 32-bit PE file, read from its bytes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace mktest {

struct PeTables {
    bool ok = false;
    std::vector<std::string> exports;
    std::vector<std::string> imports;
};

PeTables read_pe_tables(const std::vector<uint8_t>& file);

/// The names after EXPORTS in a module-definition file ("name" or "name = other").
std::vector<std::string> read_def_exports(const std::string& def_text);

}  // namespace mktest
