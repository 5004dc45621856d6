// A fresh directory for a test's files, removed with everything in it at the end.
#pragma once

#include <filesystem>
#include <string>

namespace mktest {

class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    std::string path(const std::string& name) const { return (dir_ / name).string(); }

private:
    std::filesystem::path dir_;
};

/// A file of the shipped test data.
std::string data_path(const std::string& relative);

}  // namespace mktest
