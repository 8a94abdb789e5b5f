#ifndef TESTS_FLEET_SUPPORT_TEST_FOLDER_H
#define TESTS_FLEET_SUPPORT_TEST_FOLDER_H

#include <string>

/// A folder of a test's own, which goes with it.
class TestFolder {
public:
    TestFolder();
    ~TestFolder();
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;

    std::string file(const std::string& name) const {
        return path + "/" + name;
    }

private:
    std::string path;
};

std::string TestFolder_read(const std::string& file);
void TestFolder_write(const std::string& file, const std::string& content);

/// Lets no file of this process grow beyond a size, as a full disk does, until it is destroyed.
class FullDisk {
public:
    explicit FullDisk(size_t size);
    ~FullDisk();
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;
};

#endif
