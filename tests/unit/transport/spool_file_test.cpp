// The temporary file that a large reply is received into.
// SPDX-License-Identifier: MIT
#include "transport/spool_file.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "support/own_folder.h"

namespace wpk::core {
namespace {

constexpr uint32_t kId = 987654;

bool Exists(const std::string& name) {
    return std::filesystem::exists(name);
}

std::string NameOf(int fallback) {
    return "tmp987654" + (fallback ? "_" + std::to_string(fallback) : "");
}

bool Make(SpoolFile& file, uint32_t length, const char* directory = "") {
    const Connection connection;
    return file.Create(directory, kId, length, /*begun=*/{}, connection);
}

/// Files that stand in the way, removed at the end.
class Obstacles {
public:
    explicit Obstacles(int count) {
        for (int i = 0; i < count; ++i) {
            names_.push_back(NameOf(i));
            std::ofstream(names_.back()) << "someone else's";
        }
    }
    ~Obstacles() {
        for (const std::string& name : names_) std::remove(name.c_str());
    }

    bool Untouched() const {
        for (const std::string& name : names_) {
            std::string text;
            std::getline(std::ifstream(name), text);
            if (text != "someone else's") return false;
        }
        return true;
    }

private:
    std::vector<std::string> names_;
};

/// The names of the files are always the same: whatever another run has left, or makes now, must not be in the way.
class SpoolFileTest : public testing::Test {
    const test::OwnCurrentFolder folder_;
};

TEST_F(SpoolFileTest, HasTheWholeSizeAndIsZeroFilledAndWritable) {
    SpoolFile file;
    ASSERT_TRUE(Make(file, 10241));
    EXPECT_EQ(file.Data()[0], 0);
    EXPECT_EQ(file.Data()[10240], 0);
    std::memset(file.Data(), 'x', 10241);
    EXPECT_EQ(file.Data()[10240], 'x');
}

TEST_F(SpoolFileTest, ExistsOnlyAsLongAsItsOwner) {
    {
        SpoolFile file;
        ASSERT_TRUE(Make(file, 20000));
        EXPECT_TRUE(Exists(NameOf(0)));
    }
    EXPECT_FALSE(Exists(NameOf(0)));
}

TEST_F(SpoolFileTest, TheDirectoryIsPutInFrontAsItStands) {
    SpoolFile file;
    ASSERT_TRUE(Make(file, 20000, "./"));
    EXPECT_TRUE(Exists(NameOf(0)));
    SpoolFile nowhere;
    EXPECT_FALSE(Make(nowhere, 20000, "./no-such-directory/"));
}

TEST_F(SpoolFileTest, ATakenNameIsLeftAloneAndTheNextOneIsTried) {
    for (int taken : {1, 2, 5}) {
        const Obstacles obstacles(taken);
        {
            SpoolFile file;
            ASSERT_TRUE(Make(file, 20000));
            EXPECT_TRUE(Exists(NameOf(taken)));
        }
        EXPECT_FALSE(Exists(NameOf(taken)));
        EXPECT_TRUE(obstacles.Untouched());
    }
}

TEST_F(SpoolFileTest, GivesUpOnceTheNameWithOneThousandIsTaken) {
    {
        const Obstacles allButTheLast(1000);
        SpoolFile file;
        EXPECT_TRUE(Make(file, 20000));
        EXPECT_TRUE(Exists(NameOf(1000)));
    }
    const Obstacles all(1001);
    SpoolFile file;
    EXPECT_FALSE(Make(file, 20000));
    EXPECT_FALSE(Exists(NameOf(1001)));
    EXPECT_TRUE(all.Untouched());
}

TEST_F(SpoolFileTest, LengthsOfTwoGibibytesAndMoreAreMadeOrFailCleanly) {
    for (uint32_t length : {0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFEu}) {
        SpoolFile file;
        if (Make(file, length)) {
            file.Data()[length - 1] = 1;
            EXPECT_EQ(file.Data()[length - 1], 1) << length;
        }
    }
    EXPECT_FALSE(Exists(NameOf(0)));
}

TEST_F(SpoolFileTest, BeginsWithWhatIsThereAlready) {
    const Connection connection;
    SpoolFile file;
    ASSERT_TRUE(file.Create("", kId, 20000, "begun", connection));
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(file.Data()), 6), std::string("begun\0", 6));
    EXPECT_EQ(file.Data()[19999], 0);
}

TEST_F(SpoolFileTest, IsSharedWithNobody) {
    SpoolFile file;
    ASSERT_TRUE(Make(file, 20000));
    for (const DWORD access : {DWORD{GENERIC_READ}, DWORD{GENERIC_WRITE}}) {
        const UniqueFile other(CreateFileA(NameOf(0).c_str(), access,
                                           FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                           OPEN_EXISTING, 0, nullptr));
        EXPECT_FALSE(other);
    }
}

TEST_F(SpoolFileTest, ARequestThatIsGivenUpTriesNoFurtherNames) {
    const Obstacles obstacles(1);
    Connection connection;
    connection.Cancel();
    SpoolFile file;
    EXPECT_FALSE(file.Create("", kId, 20000, {}, connection));
    EXPECT_FALSE(Exists(NameOf(1)));
}

}  // namespace
}  // namespace wpk::core
