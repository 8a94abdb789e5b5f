#include "WorldFolder.h"

#include "LocalSocket.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

class WorldFolder : public testing::Test {
protected:
    void SetUp() override {
        world = WorldFolder_makeTemporary("quorvel-folder");
        ASSERT_NE(world, "");
    }
    void TearDown() override {
        WorldFolder_remove(world);
    }
    std::string world;
};

} // namespace

TEST_F(WorldFolder, HoldsTwoCurrentMonitorsWithTheirDeviceTreeAddresses) {
    ASSERT_TRUE(WorldFolder_create(world));
    const struct {
        uint32_t port;
        char address;
    } cases[] = {{0, 0x40}, {1, 0x45}};
    for (const auto& c : cases) {
        const fs::path monitor = fs::path(WorldFolder_currentFile(c.port)).parent_path();
        EXPECT_EQ(WorldFolder_read(world, monitor / "name"), "ina219\n");
        EXPECT_EQ(WorldFolder_read(world, monitor / "device/of_node/reg"),
                  std::string({'\0', '\0', '\0', c.address}));
    }
}

TEST_F(WorldFolder, HoldsTheAddressesOfTheNetwork) {
    ASSERT_TRUE(WorldFolder_create(world));
    EXPECT_NE(WorldFolder_readFile(world + "/ifaddrs").find("\neth0 192.168.1.50 255.255.255.0\n"),
              std::string::npos);
}

TEST_F(WorldFolder, KeepsFilesThatAreThereAlready) {
    fs::create_directories(world + "/root/etc/network");
    ASSERT_TRUE(WorldFolder_write(world, "/etc/network/interfaces", "mine\n"));
    ASSERT_TRUE(WorldFolder_create(world));
    EXPECT_EQ(WorldFolder_read(world, "/etc/network/interfaces"), "mine\n");
}

TEST_F(WorldFolder, ReplacesAFileWithoutLeavingAnother) {
    ASSERT_TRUE(WorldFolder_create(world));
    const fs::path folder = WorldFolder_path(world, "/sys/class/hwmon/hwmon1");
    const auto count = [&] {
        return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
    };
    const auto before = count();
    ASSERT_TRUE(WorldFolder_write(world, WorldFolder_currentFile(0), "300\n"));
    EXPECT_EQ(WorldFolder_read(world, WorldFolder_currentFile(0)), "300\n");
    EXPECT_EQ(count(), before);
}

TEST_F(WorldFolder, ATemporaryOneIsEmptyAndStandsWhereTheEnvironmentSays) {
    EXPECT_EQ(fs::path(world).parent_path(), fs::temp_directory_path());
    EXPECT_TRUE(fs::path(world).filename().string().starts_with("quorvel-folder-"));
    EXPECT_TRUE(fs::is_empty(world));
    const char* const place = getenv("TMPDIR");
    const std::string before = place != nullptr ? place : "/tmp";
    setenv("TMPDIR", (world + "/nowhere").c_str(), 1);
    errno = 0;
    EXPECT_EQ(WorldFolder_makeTemporary("quorvel-folder"), "");
    EXPECT_NE(errno, 0);
    setenv("TMPDIR", before.c_str(), 1);
}

TEST_F(WorldFolder, WritingWhereNoFolderIsFails) {
    EXPECT_FALSE(WorldFolder_write(world, "/no/such/folder", "x"));
    EXPECT_EQ(WorldFolder_read(world, "/no/such/file"), "");
    EXPECT_FALSE(WorldFolder_remove(world + "/nothing"));
}

TEST_F(WorldFolder, SocketsAreReachedThroughPathsOfAnyLength) {
    const std::string deep = world + "/" + std::string(90, 'a') + "/" + std::string(90, 'b');
    fs::create_directories(deep);
    const int listener = LocalSocket_listen(deep + "/daemon.sock", SOCK_STREAM);
    ASSERT_GE(listener, 0);
    const int client = LocalSocket_connect(deep + "/daemon.sock", SOCK_STREAM);
    EXPECT_GE(client, 0);
    close(client);
    close(listener);
}

TEST_F(WorldFolder, AQuestionThatNobodyAnswersHasItsLimit) {
    const int listener = LocalSocket_listen(world + "/silent.sock", SOCK_STREAM);
    ASSERT_GE(listener, 0);
    std::string answer;
    EXPECT_FALSE(LocalSocket_ask(world + "/silent.sock", "status", 50, answer));
    EXPECT_FALSE(LocalSocket_ask(world + "/missing.sock", "status", 50, answer));
    close(listener);
}
