#ifndef TESTS_SUPPORT_TEMPORARY_FOLDER_H
#define TESTS_SUPPORT_TEMPORARY_FOLDER_H

#include "World.h"
#include "WrappedCalls.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

/// A test with an empty folder of its own, in the world's.
class TemporaryFolder : public testing::Test {
protected:
    TemporaryFolder() : folder(World_folder() + "/files") {
        std::filesystem::remove_all(folder);
        std::filesystem::create_directories(folder);
    }
    ~TemporaryFolder() override {
        WrappedCalls_reset();
        std::filesystem::remove_all(folder);
    }

    std::string pathOf(const std::string& name) const {
        return folder + "/" + name;
    }
    void write(const std::string& name, const std::string& content) const {
        std::ofstream(pathOf(name), std::ios::binary | std::ios::trunc) << content;
    }
    std::string read(const std::string& name) const {
        const std::ifstream file(pathOf(name), std::ios::binary);
        std::ostringstream content;
        content << file.rdbuf();
        return content.str();
    }
    std::vector<std::string> names() const {
        std::vector<std::string> found;
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            found.push_back(entry.path().filename());
        }
        std::sort(found.begin(), found.end());
        return found;
    }

    const std::string folder;
};

#endif
