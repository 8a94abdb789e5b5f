#ifndef TESTS_GUI_OTHER_RESOURCES_H
#define TESTS_GUI_OTHER_RESOURCES_H

#include "World.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <string>

/// Resources that are missing or broken, for as long as a test wants them so.

/// Stands in another folder until the end of its scope.
class InFolder {
public:
    explicit InFolder(const std::filesystem::path& folder) {
        std::filesystem::current_path(folder);
    }
    ~InFolder() {
        std::filesystem::current_path(before);
    }
    InFolder(const InFolder&) = delete;
    InFolder& operator=(const InFolder&) = delete;

private:
    const std::filesystem::path before = std::filesystem::current_path();
};

/// Stands in a folder without resources until the end of its scope.
class WithoutResources {
    const InFolder elsewhere{"/"};
};

/// Stands in a folder whose resources are the real ones, but for one with another content.
class WithResource {
public:
    WithResource(const std::string& name, const std::string& content)
        : elsewhere(makeFolder(name, content)) {}

private:
    static std::filesystem::path makeFolder(const std::string& name, const std::string& content) {
        const std::filesystem::path folder = World_folder() + "/with-resource";
        std::filesystem::remove_all(folder);
        std::filesystem::create_directories(folder / "resources");
        for (const auto& entry : std::filesystem::directory_iterator("resources")) {
            std::filesystem::create_symlink(std::filesystem::absolute(entry.path()),
                                            folder / "resources" / entry.path().filename());
        }
        EXPECT_TRUE(std::filesystem::remove(folder / "resources" / name)) << name;
        std::ofstream(folder / "resources" / name) << content;
        return folder;
    }
    const InFolder elsewhere;
};

/// Interface files that cannot serve: none at all, cut, and without the widgets.
constexpr std::array<const char*, 3> brokenInterfaces = {
    "no interface", "<interface><object class=\"GtkWindow\"", "<interface/>"};

/// A diagnostic has told that an interface file cannot serve.
inline bool isBrokenInterfaceTold() {
    return World_syslogContains("Error loading file: ") ||
           World_syslogContains("The interface has no widget ");
}

#endif
