// The library takes its settings once: what becomes of a second Client.
// SPDX-License-Identifier: MIT
#include "client/fixture.h"
#include "client/scripted_library.h"

#include <gtest/gtest.h>

#include <cstring>

namespace wpk::client_test {
namespace {

std::error_code CodeOfAClient(const Functions& functions) {
    return CodeThrownBy([&] { const Client client(ToLoopback(), functions); });
}

TEST(SecondClient, BesideTheFirstIsRefusedAndLeavesItAlone) {
    harness::Peer peer(harness::Answer(harness::Ok("world")));
    const Functions functions = FreshLibrary();
    const Client first(ToLoopback(peer.Port()), functions);
    EXPECT_EQ(CodeOfAClient(functions), Errc::kAlreadyInitialised);
    EXPECT_EQ(first.Send({"Echo", "hello"}).get().body, "world");
}

TEST(SecondClient, AfterTheFirstIsRefused) {
    const Functions functions = FreshLibrary();
    EXPECT_FALSE(CodeOfAClient(functions));
    EXPECT_EQ(CodeOfAClient(functions), Errc::kAlreadyInitialised);
}

TEST(ClientTest, WhereOtherCodeHasInitialisedTheLibraryIsRefused) {
    const Functions functions = FreshLibrary();
    WPK_INITSTRUCT settings = {};
    settings.nConnectionType = WPK_CONNECTION_PERMANENT;
    settings.lpfnCallback = [](WPK_CALLBACKSTRUCT*) {};
    ASSERT_EQ(functions.init(&settings), 1);
    EXPECT_EQ(CodeOfAClient(functions), Errc::kAlreadyInitialised);
}

TEST(ClientTest, MadeWhileAnotherOneIsBeingMadeIsRefused) {
    ScriptedLibrary library;
    std::error_code second;
    Functions functions = library.TheFunctions();
    static std::function<void()> during;
    static Functions real;
    during = [&] { harness::Thread([&] { second = CodeOfAClient(functions); }).Join(); };
    real = library.TheFunctions();
    functions.init = [](const WPK_INITSTRUCT* settings) {
        during();
        return real.init(settings);
    };
    EXPECT_FALSE(CodeOfAClient(functions));
    EXPECT_EQ(second, Errc::kAlreadyInitialised);
}

TEST(ClientTest, OfALibraryThatDoesNotStartIsRefusedAndMayBeTriedAgain) {
    ScriptedLibrary library;
    library.initAnswer = 0;
    EXPECT_EQ(CodeOfAClient(library.TheFunctions()), Errc::kNotInitialised);
    library.initAnswer = 1;
    EXPECT_FALSE(CodeOfAClient(library.TheFunctions()));
}

TEST(ClientTest, OfALibraryOfWhichAFunctionIsMissingIsRefused) {
    ScriptedLibrary library;
    for (const auto forget : {+[](Functions& functions) { functions.init = nullptr; },
                              +[](Functions& functions) { functions.send = nullptr; },
                              +[](Functions& functions) { functions.cancel = nullptr; }}) {
        Functions functions = library.TheFunctions();
        forget(functions);
        EXPECT_EQ(CodeOfAClient(functions), Errc::kNoFunction);
    }
}

TEST(ClientTest, WithDefaultOptionsAsksForAPermanentNetworkWithoutAProxy) {
    ScriptedLibrary library;
    const Client client(Options(), library.TheFunctions());
    EXPECT_EQ(library.settings.nConnectionType, WPK_CONNECTION_PERMANENT);
    EXPECT_EQ(library.settings.bBehindProxy, 0);
    EXPECT_EQ(library.settings.hInstance, nullptr);
    EXPECT_NE(library.settings.lpfnCallback, nullptr);
}

TEST(ClientTest, WithEveryOptionHandsAllOfThemOver) {
    ScriptedLibrary library;
    static std::string texts;
    static Functions real;
    real = library.TheFunctions();
    Functions functions = real;
    // The texts need to live only during the call.
    functions.init = [](const WPK_INITSTRUCT* settings) {
        texts =
            std::string(settings->lpszProxyServer) + " " + settings->lpszProxyUser + " " + settings->lpszProxyPassword;
        return real.init(settings);
    };
    int instance = 0;
    Options options;
    options.connection = Connection::kDialUp;
    options.proxy = Proxy{L"proxy.example", 3128, {"user", L"w\u00F6rd"}};
    options.instance = &instance;
    const Client client(std::move(options), functions);
    EXPECT_EQ(library.settings.nConnectionType, WPK_CONNECTION_DIAL_UP);
    EXPECT_EQ(library.settings.bBehindProxy, 1);
    EXPECT_EQ(library.settings.nProxyPort, 3128);
    EXPECT_EQ(library.settings.hInstance, &instance);
    EXPECT_EQ(texts, "proxy.example user w\xF6rd");
}

}  // namespace
}  // namespace wpk::client_test
