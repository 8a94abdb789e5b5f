#include "TestFolder.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/resource.h>

namespace {

void limitFiles(rlim_t size) {
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = size;
    setrlimit(RLIMIT_FSIZE, &limit);
}

} // namespace

TestFolder::TestFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "fleet-XXXXXX").string();
    path = mkdtemp(pattern.data());
}

TestFolder::~TestFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
}

std::string TestFolder_read(const std::string& file) {
    std::ostringstream content;
    content << std::ifstream(file).rdbuf();
    return content.str();
}

void TestFolder_write(const std::string& file, const std::string& content) {
    std::ofstream(file) << content;
}

FullDisk::FullDisk(size_t size) {
    std::signal(SIGXFSZ, SIG_IGN);
    limitFiles(size);
}

FullDisk::~FullDisk() {
    limitFiles(RLIM_INFINITY);
}
