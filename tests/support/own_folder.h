// A folder of a test's own.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_SUPPORT_OWN_FOLDER_H
#define WPK_TESTS_SUPPORT_OWN_FOLDER_H

#include <filesystem>
#include <random>
#include <string>

#include <gtest/gtest.h>

namespace wpk::test {

/// An empty folder that no other run of the tests uses at the same time; gone with the object.
class OwnFolder {
public:
    OwnFolder() : path_(testing::TempDir()) {
        std::random_device random;
        path_ /= "wpk_tests_" + std::to_string(random()) + std::to_string(random());
        std::filesystem::create_directories(path_);
    }
    OwnFolder(const OwnFolder&) = delete;
    OwnFolder& operator=(const OwnFolder&) = delete;
    ~OwnFolder() { std::filesystem::remove_all(path_); }

    const std::filesystem::path& Path() const { return path_; }

private:
    std::filesystem::path path_;
};

/// For tests of code that names files without a folder: an own folder is the current one while the object exists.
class OwnCurrentFolder {
public:
    OwnCurrentFolder() : before_(std::filesystem::current_path()) { std::filesystem::current_path(folder_.Path()); }
    OwnCurrentFolder(const OwnCurrentFolder&) = delete;
    OwnCurrentFolder& operator=(const OwnCurrentFolder&) = delete;
    ~OwnCurrentFolder() { std::filesystem::current_path(before_); }

private:
    const std::filesystem::path before_;
    const OwnFolder folder_;
};

}  // namespace wpk::test

#endif  // WPK_TESTS_SUPPORT_OWN_FOLDER_H
