#include "temp_dir.h"

#include <atomic>
#include <chrono>

namespace mktest {

TempDir::TempDir() {
    static std::atomic<int> counter{0};
    auto stamp = std::chrono::steady_clock::now().time_since_epoch().count();
    dir_ = std::filesystem::temp_directory_path() /
           ("mediakit-test-" + std::to_string(stamp) + "-" + std::to_string(counter++));
    std::filesystem::create_directories(dir_);
}

TempDir::~TempDir() {
    std::error_code ec;
    std::filesystem::remove_all(dir_, ec);
}

std::string data_path(const std::string& relative) { return std::string(MK_TEST_DATA_DIR) + "/" + relative; }

}  // namespace mktest
