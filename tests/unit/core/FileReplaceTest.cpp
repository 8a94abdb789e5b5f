#include "Files.h"
#include "Leftovers.h"
#include "TemporaryFolder.h"
#include "Threads.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using testing::ElementsAre;

class FileReplace : public TemporaryFolder {
protected:
    bool replace(const std::string& name, const std::string& content) const {
        return File_replace(pathOf(name).c_str(), content);
    }
    ino_t inodeOf(const std::string& name) const {
        struct stat status {};
        EXPECT_EQ(stat(pathOf(name).c_str(), &status), 0);
        return status.st_ino;
    }
};

TEST_F(FileReplace, CreatesAMissingFile) {
    const mode_t mask = umask(0);
    EXPECT_TRUE(replace("settings", "one\n"));
    umask(mask);
    EXPECT_EQ(read("settings"), "one\n");
    EXPECT_THAT(names(), ElementsAre("settings"));
    struct stat status {};
    stat(pathOf("settings").c_str(), &status);
    EXPECT_EQ(status.st_mode & 07777U, 0666U) << "as the mask has it";
}

TEST_F(FileReplace, LeavesNothingOfALongerPredecessor) {
    write("settings", "a much longer text\n");
    EXPECT_TRUE(replace("settings", "short\n"));
    EXPECT_EQ(read("settings"), "short\n");
    EXPECT_THAT(names(), ElementsAre("settings"));
}

TEST_F(FileReplace, WritesAnEmptyContent) {
    write("settings", "old\n");
    EXPECT_TRUE(replace("settings", ""));
    EXPECT_EQ(read("settings"), "");
}

TEST_F(FileReplace, PutsANewFileInTheOldOnesPlace) {
    write("settings", "old\n");
    const ScopedFd old(open(pathOf("settings").c_str(), O_RDONLY | O_CLOEXEC));
    const ino_t before = inodeOf("settings");
    EXPECT_TRUE(replace("settings", "new\n"));
    EXPECT_NE(inodeOf("settings"), before);
    char text[8] = "";
    EXPECT_EQ(::read(old.get(), text, sizeof text), 4); // a reader keeps the whole old file
    EXPECT_STREQ(text, "old\n");
}

TEST_F(FileReplace, KeepsTheModeOfAnExistingFile) {
    write("settings", "old\n");
    chmod(pathOf("settings").c_str(), 0640);
    EXPECT_TRUE(replace("settings", "new\n"));
    struct stat status {};
    stat(pathOf("settings").c_str(), &status);
    EXPECT_EQ(status.st_mode & 07777U, 0640U);
}

TEST_F(FileReplace, KeepsTheOwnerOfAnExistingFile) {
    constexpr uid_t owner = 1234;
    constexpr gid_t group = 4321;
    write("settings", "old\n");
    if (chown(pathOf("settings").c_str(), owner, group) != 0) {
        GTEST_SKIP() << "only root can give files away";
    }
    EXPECT_TRUE(replace("settings", "new\n"));
    struct stat status {};
    stat(pathOf("settings").c_str(), &status);
    EXPECT_EQ(status.st_uid, owner);
    EXPECT_EQ(status.st_gid, group);
    WrappedCalls_fail(Call::setFileOwner, EPERM);
    EXPECT_FALSE(replace("settings", "other\n"));
    EXPECT_EQ(errno, EPERM);
    EXPECT_EQ(read("settings"), "new\n");
    EXPECT_THAT(names(), ElementsAre("settings"));
}

TEST_F(FileReplace, FollowsSymbolicLinksToTheFileAndKeepsThem) {
    struct Case {
        const char* legend;
        std::string link;
    };
    std::filesystem::create_directory(pathOf("data"));
    write("data/settings", "old\n");
    const Case cases[] = {
        {"relative", "data/settings"},
        {"absolute", pathOf("data/settings")},
        {"through another link", "second"},
        {"to a file that is still missing", "data/missing"},
    };
    std::filesystem::create_symlink("data/settings", pathOf("second"));
    for (const Case& row : cases) {
        std::filesystem::create_symlink(row.link, pathOf("link"));
        EXPECT_TRUE(replace("link", row.legend));
        EXPECT_TRUE(std::filesystem::is_symlink(pathOf("link"))) << row.legend;
        EXPECT_EQ(read("link"), row.legend);
        std::filesystem::remove(pathOf("link"));
    }
    EXPECT_TRUE(std::filesystem::is_symlink(pathOf("second")));
    EXPECT_EQ(read("data/settings"), "through another link");
    EXPECT_EQ(read("data/missing"), "to a file that is still missing");
}

TEST_F(FileReplace, FollowsThirtyNineLinksAndNoMore) {
    for (int number = 1; number <= 40; ++number) {
        std::filesystem::create_symlink(std::to_string(number - 1), pathOf(std::to_string(number)));
    }
    EXPECT_TRUE(replace("39", "new\n"));
    EXPECT_EQ(read("0"), "new\n");
    EXPECT_FALSE(replace("40", "newer\n"));
    EXPECT_EQ(errno, ELOOP);
    EXPECT_EQ(read("0"), "new\n");
}

TEST_F(FileReplace, RefusesLinksThatRunInACircle) {
    std::filesystem::create_symlink("two", pathOf("one"));
    std::filesystem::create_symlink("one", pathOf("two"));
    EXPECT_FALSE(replace("one", "new\n"));
    EXPECT_EQ(errno, ELOOP);
    EXPECT_THAT(names(), ElementsAre("one", "two"));
}

TEST_F(FileReplace, RefusesAPathThatIsTooLong) {
    EXPECT_FALSE(replace(std::string(5000, 'x'), "new\n"));
    EXPECT_EQ(errno, ENAMETOOLONG);
    EXPECT_FALSE(replace(std::string(250, 'x'), "new\n")); // the sibling's name does not fit
    EXPECT_EQ(errno, ENAMETOOLONG);
}

TEST_F(FileReplace, RemovesASiblingAtTheLongestPathThereIs) {
    const std::string sibling = "settings.new." + std::to_string(getpid()) + ".1";
    for (const size_t length : {size_t{PATH_MAX} - 2, size_t{PATH_MAX} - 1, size_t{PATH_MAX}}) {
        const std::string slashes(length - folder.size() - sibling.size(), '/');
        write(sibling, "");
        File_removeAbandonedSiblings((folder + slashes + "settings").c_str());
        EXPECT_EQ(names().empty(), length < PATH_MAX) << length;
    }
}

TEST_F(FileReplace, RefusesALinkWhoseTargetsPathIsTooLong) {
    std::filesystem::create_symlink(std::string(PATH_MAX - 8, 'x'), pathOf("link"));
    EXPECT_FALSE(replace("link", "new\n"));
    EXPECT_EQ(errno, ENAMETOOLONG);
    EXPECT_THAT(names(), ElementsAre("link"));
}

TEST_F(FileReplace, RefusesAPathWithoutRoomForTheSiblings) {
    const size_t length = pathOf("settings").size();
    const size_t detours = (PATH_MAX - 1 - length) / 2;
    std::string longName;
    for (size_t i = 0; i < detours; ++i) {
        longName += "./";
    }
    longName += "settings";
    write("settings", "old\n");
    EXPECT_FALSE(replace(longName, "new\n"));
    EXPECT_EQ(errno, ENAMETOOLONG);
    EXPECT_EQ(read("settings"), "old\n");
    EXPECT_THAT(names(), ElementsAre("settings"));
}

TEST_F(FileReplace, TellsThatTheFolderIsMissing) {
    EXPECT_FALSE(replace("missing/settings", "new\n"));
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(FileReplace, LeavesTheOldFileAndNoSiblingWhenAStepFails) {
    for (const ReplacingFailure& row : replacingFailures) {
        write("settings", "old\n");
        WrappedCalls_fail(row.call, row.error);
        EXPECT_FALSE(replace("settings", "new\n")) << row.legend;
        EXPECT_EQ(errno, row.error) << row.legend;
        EXPECT_EQ(read("settings"), "old\n") << row.legend;
        EXPECT_THAT(names(), ElementsAre("settings")) << row.legend;
        EXPECT_TRUE(replace("settings", "new\n")) << row.legend;
        EXPECT_EQ(read("settings"), "new\n") << row.legend;
    }
}

TEST_F(FileReplace, TakesUpShortAndInterruptedWrites) {
    WrappedCalls_shortenWrites(3);
    WrappedCalls_fail(Call::writeFile, EINTR, 2);
    EXPECT_TRUE(replace("settings", "more than three bytes\n"));
    EXPECT_EQ(read("settings"), "more than three bytes\n");
}

TEST_F(FileReplace, TakesUpAnInterruptedFlush) {
    WrappedCalls_fail(Call::syncFile, EINTR, 3);
    EXPECT_TRUE(replace("settings", "new\n"));
}

TEST_F(FileReplace, WritesInPlaceWhereARenameIsImpossible) {
    for (const int error : {EBUSY, EXDEV}) {
        write("settings", "a much longer text\n");
        const ino_t before = inodeOf("settings");
        WrappedCalls_fail(Call::renameFile, error);
        EXPECT_TRUE(replace("settings", "short\n"));
        EXPECT_EQ(read("settings"), "short\n");
        EXPECT_EQ(inodeOf("settings"), before);
        EXPECT_THAT(names(), ElementsAre("settings"));
    }
}

TEST_F(FileReplace, WritesAMountPointInPlaceWithoutTouchingItsFolder) {
    write("settings", "old\n");
    const ino_t before = inodeOf("settings");
    WrappedCalls_pretendMountPoints(true);
    WrappedCalls_fail(Call::renameFile, EIO); // is not called
    EXPECT_TRUE(replace("settings", "new and longer\n"));
    EXPECT_EQ(read("settings"), "new and longer\n");
    EXPECT_EQ(inodeOf("settings"), before);
}

TEST_F(FileReplace, TakesNoByteFromAMountPointOnAFullDisk) {
    write("settings", "old\n");
    WrappedCalls_pretendMountPoints(true);
    WrappedCalls_fail(Call::allocateFile, ENOSPC);
    EXPECT_FALSE(replace("settings", "new and longer\n"));
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_EQ(read("settings"), "old\n");
}

TEST_F(FileReplace, DoesNotInventAFileWhereTheRenameOfANewOneFails) {
    WrappedCalls_fail(Call::renameFile, EBUSY);
    EXPECT_FALSE(replace("settings", "new\n"));
    EXPECT_THAT(names(), ElementsAre());
}

TEST_F(FileReplace, WritesIntoSomethingThatIsNoRegularFile) {
    ASSERT_EQ(mkfifo(pathOf("pipe").c_str(), 0600), 0);
    const ScopedFd reader(open(pathOf("pipe").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    EXPECT_TRUE(replace("pipe", "new\n"));
    char text[8] = "";
    EXPECT_EQ(::read(reader.get(), text, sizeof text), 4);
    EXPECT_STREQ(text, "new\n");
    EXPECT_THAT(names(), ElementsAre("pipe"));
}

TEST_F(FileReplace, RefusesAFolder) {
    std::filesystem::create_directory(pathOf("folder"));
    EXPECT_FALSE(replace("folder", "new\n"));
    EXPECT_EQ(errno, EISDIR);
    EXPECT_THAT(names(), ElementsAre("folder"));
}

TEST_F(FileReplace, NeverWritesIntoASiblingThatIsThereAlready) {
    ASSERT_TRUE(replace("settings", "old\n"));
    const std::string lastSibling = WrappedCalls_lastRenamed();
    const size_t dot = lastSibling.rfind('.');
    const int number = std::stoi(lastSibling.substr(dot + 1));
    const std::string next =
        lastSibling.substr(folder.size() + 1, dot - folder.size()) + std::to_string(number + 1);
    write(next, "another writer's");
    EXPECT_TRUE(replace("settings", "new\n"));
    EXPECT_EQ(read("settings"), "new\n");
    EXPECT_EQ(read(next), "another writer's");
}

TEST_F(FileReplace, RemovesTheSiblingsOfDeadWritersOnly) {
    const pid_t dead = fork();
    ASSERT_GE(dead, 0);
    if (dead == 0) {
        _exit(0);
    }
    waitpid(dead, nullptr, 0);
    const std::string abandoned = "settings.new." + std::to_string(dead) + ".1";
    const std::string recycled = "settings.new." + std::to_string(getpid()) + ".7";
    const std::string living = "settings.new." + std::to_string(getppid()) + ".1";
    const std::string kept[] = {"settings",
                                living,
                                "settings.new.",
                                "settings.new.x.1",
                                "settings.new.0",
                                "settings.new.-1.1",
                                "settings.new.99999999999.1",
                                "other.new.1"};
    write(abandoned, "");
    write(recycled, "");
    for (const std::string& name : kept) {
        write(name, "");
    }
    File_removeAbandonedSiblings(pathOf("settings").c_str());
    EXPECT_THAT(names(), testing::UnorderedElementsAreArray(kept));
}

TEST_F(FileReplace, LeavesNothingBehindInTheProcess) {
    EXPECT_TRUE(leavesNothingBehind([this] {
        EXPECT_TRUE(replace("settings", "new\n"));
        EXPECT_EQ(File_readWhole(pathOf("settings").c_str(), 10), "new\n");
        File_removeAbandonedSiblings(pathOf("settings").c_str());
    }));
}

TEST_F(FileReplace, RemovesNothingWhereAPathLeadsNowhere) {
    write("one.new.1.1", "");
    std::filesystem::create_symlink("two", pathOf("one"));
    std::filesystem::create_symlink("one", pathOf("two"));
    for (const std::string& name :
         {std::string("one"), std::string("missing/settings"), std::string(5000, 'x')}) {
        File_removeAbandonedSiblings(pathOf(name).c_str());
        EXPECT_THAT(names(), ElementsAre("one", "one.new.1.1", "two")) << name;
    }
}

TEST_F(FileReplace, ReaderSeesTheOldOrTheNewContentWhole) {
    const std::string contents[] = {std::string(3000, 'a'), std::string(5000, 'b')};
    ASSERT_TRUE(replace("settings", contents[0]));
    std::atomic<bool> isDone{false};
    struct Shared {
        std::string path;
        const std::string* contents;
        std::atomic<bool>* isDone;
    } shared{pathOf("settings"), contents, &isDone};
    pthread_t writer{};
    ASSERT_EQ(Thread_startJoinable(
                  &writer, "writer",
                  [](void* context) -> void* {
                      const auto* task = static_cast<Shared*>(context);
                      for (int count = 0; count < 200; ++count) {
                          EXPECT_TRUE(File_replace(task->path.c_str(), task->contents[count % 2]));
                      }
                      *task->isDone = true;
                      return nullptr;
                  },
                  &shared),
              0);
    while (!isDone) {
        const std::string content = read("settings");
        EXPECT_TRUE(content == contents[0] || content == contents[1]);
    }
    pthread_join(writer, nullptr);
}

TEST_F(FileReplace, TwoWritersNeverMixTheirContents) {
    struct Task {
        std::string path;
        std::string content;
    } tasks[] = {{pathOf("settings"), std::string(4000, 'a')},
                 {pathOf("settings"), std::string(6000, 'b')}};
    pthread_t writers[2]{};
    for (int index = 0; index < 2; ++index) {
        ASSERT_EQ(Thread_startJoinable(
                      &writers[index], "writer",
                      [](void* context) -> void* {
                          const auto* task = static_cast<Task*>(context);
                          for (int count = 0; count < 100; ++count) {
                              EXPECT_TRUE(File_replace(task->path.c_str(), task->content));
                          }
                          return nullptr;
                      },
                      &tasks[index]),
                  0);
    }
    for (const pthread_t writer : writers) {
        pthread_join(writer, nullptr);
    }
    const std::string content = read("settings");
    EXPECT_TRUE(content == tasks[0].content || content == tasks[1].content);
    EXPECT_THAT(names(), ElementsAre("settings"));
}

} // namespace
