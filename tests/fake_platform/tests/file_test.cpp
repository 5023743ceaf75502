// The fake platform's files, mappings and views.
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "fake_platform/control.h"

namespace wpk::host {
namespace {

constexpr DWORD kReadWrite = GENERIC_READ | GENERIC_WRITE;

class StandInFile : public testing::Test {
protected:
    void SetUp() override {
        Reset();
        before_ = CountLive();
        char folder[] = "/tmp/wpk-host-XXXXXX";
        ASSERT_NE(mkdtemp(folder), nullptr);
        folder_ = folder;
        name_ = folder_ + "\\file";
        path_ = folder_ + "/file";
    }
    void TearDown() override {
        EXPECT_EQ(CountLive(), before_);
        EXPECT_EQ(Misuses(), std::vector<std::string>());
        unlink(path_.c_str());
        rmdir(folder_.c_str());
    }
    HANDLE Open(DWORD disposition, DWORD access = kReadWrite, DWORD share = 0, DWORD flags = FILE_ATTRIBUTE_NORMAL) {
        return CreateFileA(name_.c_str(), access, share, nullptr, disposition, flags, nullptr);
    }
    bool Exists() const { return access(path_.c_str(), F_OK) == 0; }

    Live before_;
    std::string folder_;
    std::string name_;
    std::string path_;
};

TEST_F(StandInFile, MadeAsNewFailsWhenTheNameIsTaken) {
    const HANDLE file = Open(CREATE_NEW);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    EXPECT_EQ(Open(CREATE_NEW), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_EXISTS));
    CloseHandle(file);
    EXPECT_TRUE(Exists());
    EXPECT_TRUE(DeleteFileA(name_.c_str()));
    EXPECT_FALSE(Exists());
}

TEST_F(StandInFile, OpenedWithoutSharingRefusesOthersAndDeletion) {
    const HANDLE file = Open(CREATE_NEW);
    EXPECT_EQ(Open(OPEN_EXISTING, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_SHARING_VIOLATION));
    EXPECT_FALSE(DeleteFileA(name_.c_str()));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_SHARING_VIOLATION));
    CloseHandle(file);
}

TEST_F(StandInFile, IsDeletedByItsLastCloseWhenAskedTo) {
    const HANDLE file = Open(CREATE_NEW, kReadWrite, 0, FILE_FLAG_DELETE_ON_CLOSE);
    EXPECT_TRUE(Exists());
    CloseHandle(file);
    EXPECT_FALSE(Exists());
}

TEST_F(StandInFile, ToBeDeletedByItsLastCloseStaysUntilItsMappingsAndViewsAreGone) {
    const HANDLE file = Open(CREATE_NEW, kReadWrite, 0, FILE_FLAG_DELETE_ON_CLOSE);
    const HANDLE mapping = CreateFileMappingA(file, nullptr, PAGE_READWRITE, 0, 100, nullptr);
    const void* view = MapViewOfFile(mapping, FILE_MAP_WRITE, 0, 0, 0);
    ASSERT_NE(view, nullptr);
    CloseHandle(file);
    EXPECT_TRUE(Exists());
    EXPECT_EQ(Open(CREATE_NEW), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    CloseHandle(mapping);
    EXPECT_TRUE(Exists());
    UnmapViewOfFile(view);
    EXPECT_FALSE(Exists());
}

TEST_F(StandInFile, MappedWholeHoldsWhatTheViewWrote) {
    const HANDLE file = Open(CREATE_NEW);
    EXPECT_EQ(SetFilePointer(file, 5000, nullptr, FILE_BEGIN), 5000u);
    EXPECT_TRUE(SetEndOfFile(file));
    const HANDLE mapping = CreateFileMappingA(file, nullptr, PAGE_READWRITE, 0, 0, nullptr);
    ASSERT_NE(mapping, nullptr);
    auto* view = static_cast<char*>(MapViewOfFile(mapping, FILE_MAP_WRITE, 0, 0, 0));
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(CountLive().views, before_.views + 1);
    EXPECT_EQ(view[4999], 0);
    std::memcpy(view + 4990, "written", 8);
    EXPECT_FALSE(DeleteFileA(name_.c_str()));
    EXPECT_TRUE(UnmapViewOfFile(view));
    const auto* again = static_cast<const char*>(MapViewOfFile(mapping, FILE_MAP_READ, 0, 0, 0));
    EXPECT_STREQ(again + 4990, "written");
    UnmapViewOfFile(again);
    CloseHandle(mapping);
    CloseHandle(file);
}

TEST_F(StandInFile, OfNearlyFourGibibytesIsSizedThroughBothHalvesOfThePointer) {
    const HANDLE file = Open(CREATE_NEW, kReadWrite, 0, FILE_FLAG_DELETE_ON_CLOSE);
    LONG high = 0;
    const auto low = static_cast<LONG>(0xFFFFFFFEu);
    EXPECT_EQ(SetFilePointer(file, low, &high, FILE_BEGIN), 0xFFFFFFFEu);
    EXPECT_TRUE(SetEndOfFile(file));
    LARGE_INTEGER size{};
    EXPECT_TRUE(GetFileSizeEx(file, &size));
    EXPECT_EQ(size.QuadPart, 0xFFFFFFFELL);
    // Without the upper half it is a negative distance.
    EXPECT_EQ(SetFilePointer(file, low, nullptr, FILE_BEGIN), INVALID_SET_FILE_POINTER);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NEGATIVE_SEEK));
    CloseHandle(file);
}

TEST_F(StandInFile, OpenedForWritingAloneCannotBeMapped) {
    const HANDLE file = Open(CREATE_NEW, GENERIC_WRITE);
    SetFilePointer(file, 10, nullptr, FILE_BEGIN);
    SetEndOfFile(file);
    EXPECT_EQ(CreateFileMappingA(file, nullptr, PAGE_READWRITE, 0, 0, nullptr), nullptr);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    CloseHandle(file);
}

TEST_F(StandInFile, FailsToBeSizedWhenTheDiskIsMadeFull) {
    const HANDLE file = Open(CREATE_NEW);
    FailCall("SetEndOfFile", 1);
    EXPECT_FALSE(SetEndOfFile(file));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_DISK_FULL));
    CloseHandle(file);
}

}  // namespace
}  // namespace wpk::host
