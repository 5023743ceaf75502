// A folder of a test's own.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_UNIT_XML_HELPERS_OWN_FOLDER_H
#define WPK_TESTS_UNIT_XML_HELPERS_OWN_FOLDER_H

#include <filesystem>
#include <random>
#include <string>

#include <gtest/gtest.h>

namespace xml_tests {

/// An empty folder that no other run of the tests uses at the same time; gone with the object.
class OwnFolder {
public:
    OwnFolder() : path_(testing::TempDir()) {
        std::random_device random;
        path_ /= "wpk_xml_helpers_" + std::to_string(random()) + std::to_string(random());
        std::filesystem::create_directories(path_);
    }
    OwnFolder(const OwnFolder&) = delete;
    OwnFolder& operator=(const OwnFolder&) = delete;
    ~OwnFolder() { std::filesystem::remove_all(path_); }

    const std::filesystem::path& Path() const { return path_; }

private:
    std::filesystem::path path_;
};

}  // namespace xml_tests

#endif  // WPK_TESTS_UNIT_XML_HELPERS_OWN_FOLDER_H
