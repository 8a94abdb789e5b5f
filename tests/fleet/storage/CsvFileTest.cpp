#include "CsvFile.h"

#include "TestFolder.h"

#include <gtest/gtest.h>

namespace {

const std::string header = "time,meter\n";

struct CsvFileTest : testing::Test {
    TestFolder folder;
    std::string path = folder.file("log.csv");
    CsvFile file;
    std::string error;

    bool open() {
        return CsvFile_open(file, path, header, error);
    }
    std::string content() {
        return TestFolder_read(path);
    }
};

TEST_F(CsvFileTest, ANewFileBeginsWithItsHeader) {
    ASSERT_TRUE(open()) << error;
    EXPECT_TRUE(CsvFile_write(file, "1,a\n2,b\n", error));
    EXPECT_TRUE(CsvFile_close(file, error));
    EXPECT_EQ(header + "1,a\n2,b\n", content());
}

TEST_F(CsvFileTest, AFileThatIsThereGoesOn) {
    TestFolder_write(path, header + "1,a\n");
    ASSERT_TRUE(open()) << error;
    EXPECT_TRUE(CsvFile_write(file, "2,b\n", error));
    EXPECT_TRUE(CsvFile_close(file, error));
    EXPECT_EQ(header + "1,a\n2,b\n", content());
}

TEST_F(CsvFileTest, HalfARowAtTheEndIsTakenAway) {
    for (const std::string& rest : {std::string("2,"), std::string(10000, 'x')}) {
        TestFolder_write(path, header + "1,a\n" + rest);
        ASSERT_TRUE(open()) << error;
        EXPECT_TRUE(CsvFile_close(file, error));
        EXPECT_EQ(header + "1,a\n", content());
    }
}

TEST_F(CsvFileTest, AFileOfSomethingElseIsRefusedAndStaysAsItIs) {
    for (const char* other : {"hello\n", "time,meter", "time,meter,more\n1,2,3\n"}) {
        TestFolder_write(path, other);
        EXPECT_FALSE(open());
        EXPECT_NE("", error);
        EXPECT_EQ(other, content());
    }
}

TEST_F(CsvFileTest, OneFileHasOneWriter) {
    ASSERT_TRUE(open());
    CsvFile second;
    EXPECT_FALSE(CsvFile_open(second, path, header, error));
    EXPECT_NE(std::string::npos, error.find("another program writes to it")) << error;
    CsvFile_close(file, error);
}

TEST_F(CsvFileTest, AFolderThatIsNotThereIsSaid) {
    EXPECT_FALSE(CsvFile_open(file, folder.file("none/log.csv"), header, error));
    EXPECT_NE(std::string::npos, error.find("No such file")) << error;
}

TEST_F(CsvFileTest, AFullDiskLeavesWholeRowsAndTakesTheRestLater) {
    ASSERT_TRUE(open());
    ASSERT_TRUE(CsvFile_write(file, "1,a\n", error));
    {
        const FullDisk full(header.size() + 10);
        EXPECT_FALSE(CsvFile_write(file, "2,bbbbbbbbbbbbbbbbbbbbbbbb\n", error));
        EXPECT_NE("", error);
        EXPECT_EQ(header + "1,a\n", content());
    }
    EXPECT_TRUE(CsvFile_write(file, "2,b\n", error));
    EXPECT_TRUE(CsvFile_close(file, error));
    EXPECT_EQ(header + "1,a\n2,b\n", content());
}

TEST_F(CsvFileTest, ADeviceThatTakesNothingIsSaid) {
    EXPECT_FALSE(CsvFile_open(file, "/dev/full", header, error));
    EXPECT_NE(std::string::npos, error.find("No space left")) << error;
}

} // namespace
