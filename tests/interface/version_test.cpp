// Windows versions of long ago, for real: there the temporary directory is known, and large replies go there.
// SPDX-License-Identifier: MIT
#include "support/dll/peer.h"
#include "support/dll/process.h"
#include "support/dll/request.h"
#include "support/dll/wire.h"

#include <gtest/gtest.h>

namespace wpk::harness {
namespace {

/// Wine takes the version that a program sees from here, by the name of the program's file.
std::string VersionKey(const std::string& program) {
    return "Software\\Wine\\AppDefaults\\" + program;
}

bool IsWine() {
    return GetProcAddress(GetModuleHandleA("ntdll.dll"), "wine_get_version") != nullptr;
}

void SetVersion(const std::string& program, const std::string& version) {
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKeyA(HKEY_CURRENT_USER, VersionKey(program).c_str(), &key), ERROR_SUCCESS);
    EXPECT_EQ(RegSetValueExA(key, "Version", 0, REG_SZ, reinterpret_cast<const BYTE*>(version.c_str()),
                             static_cast<DWORD>(version.size() + 1)),
              ERROR_SUCCESS);
    RegCloseKey(key);
}

std::string TemporaryDirectory() {
    char path[MAX_PATH] = {};
    GetTempPathA(sizeof path, path);
    return path;
}

/// Runs a spooled request and says where its file was: "temporary", "current", or something else that is wrong.
std::string WhereSpooled() {
    const std::string body = Pattern(50000);
    Peer peer(Answer(Ok(body)));
    const Library library = StartFresh();
    Request request(peer.Port());
    std::string where = "nowhere";
    request.inbox.inside = [&](const WPK_CALLBACKSTRUCT& record) {
        if (record.nReason != WPK_REASON_REPLY) return;
        const std::string name = "tmp" + std::to_string(GetCurrentThreadId());
        const bool current = FileExists(name);
        const bool temporary = FileExists(TemporaryDirectory() + name);
        where = current && temporary ? "both" : current ? "current" : temporary ? "temporary" : "nowhere";
    };
    if (!request.Run(library) || request.Final().bytes != body) return "broken";
    const std::string name = "tmp" + std::to_string(request.Handle());
    if (FileExists(name) || FileExists(TemporaryDirectory() + name)) return "left behind";
    return where;
}

/// `argument`: the major version that is expected, and where the spool file then is.
WPK_SCENARIO(SpoolOnThisVersion) {
    if ((GetVersion() & 0xFF) != static_cast<DWORD>(argument[0] - '0')) return 1;
    const std::string where = WhereSpooled();
    return where == argument.substr(2) ? 0 : 2;
}

TEST(WindowsVersion, DecidesWhereLargeRepliesAreSpooled) {
    if (!IsWine()) GTEST_SKIP() << "only Wine lets a program see another version";
    const struct {
        const char* version;
        const char* expectation;
    } kTable[] = {
        {"winxp64", "5 temporary"}, {"win2003", "5 temporary"}, {"vista", "6 current"},
        {"win7", "6 current"},      {"win10", "6 current"},
    };
    for (const auto& row : kTable) {
        SCOPED_TRACE(row.version);
        // By this process too: all programs of a user share the registry, and this one may run several times at once.
        const std::string program =
            std::string("interface_on_") + row.version + "_" + std::to_string(GetCurrentProcessId()) + ".exe";
        SetVersion(program, row.version);
        EXPECT_EQ(Child("SpoolOnThisVersion", row.expectation, program).Wait(), 0u);
        RegDeleteKeyA(HKEY_CURRENT_USER, VersionKey(program).c_str());
        DeleteFileA((ProgramFolder() + program).c_str());
    }
}

}  // namespace
}  // namespace wpk::harness
