// The header alone, first in its translation unit; and what it must not accept.
// SPDX-License-Identifier: MIT
#include <wpk/client.h>

// No <windows.h> by the way.
#ifdef WINAPI
#error "wpk/client.h has brought in <windows.h>"
#endif

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <type_traits>
#include <utility>

namespace wpk::client_test {

/// In header_again_test.cpp, where <windows.h> comes first.
const std::error_category& CategoryThere();
Request EmptyRequestThere();

namespace {

template <class Function, class = void>
struct CanSendFor : std::false_type {};
template <class Function>
struct CanSendFor<Function, std::void_t<decltype(std::declval<const Client&>().Send(
                                std::declval<Message>(), std::declval<Function>()))>> : std::true_type {};

TEST(ClientHeader, RefusesWhatWouldBeAMistake) {
    static_assert(!std::is_constructible_v<AnsiText, std::nullptr_t>, "a null pointer for a text");
    static_assert(!CanSendFor<std::nullptr_t>::value, "nobody to get the outcome");
    static_assert(!CanSendFor<void (*)(const Reply&)>::value, "a function for replies cannot take outcomes");
    static_assert(CanSendFor<void (*)(const Outcome&)>::value);
    static_assert(!std::is_copy_constructible_v<Client> && !std::is_move_constructible_v<Client>);
    static_assert(!std::is_copy_constructible_v<Outcome> && !std::is_copy_constructible_v<Progress>);
    static_assert(!std::is_copy_constructible_v<ScopedRequest> && std::is_move_constructible_v<ScopedRequest>);
    static_assert(std::is_nothrow_destructible_v<ScopedRequest> && std::is_nothrow_destructible_v<Client>);
    static_assert(std::is_error_code_enum_v<Errc>);
}

TEST(ClientHeader, InTwoTranslationUnitsIsOneThing) {
    EXPECT_EQ(&ErrorCategory(), &CategoryThere());
    EXPECT_TRUE(EmptyRequestThere().Ended());
}

TEST(ClientHeader, VersionIsTheProjects) {
    EXPECT_STREQ(WPK_VERSION_STRING, WPK_PROJECT_VERSION);
    EXPECT_EQ(std::to_string(WPK_VERSION_MAJOR) + "." + std::to_string(WPK_VERSION_MINOR) + "." +
                  std::to_string(WPK_VERSION_PATCH),
              WPK_PROJECT_VERSION);
}

TEST(ClientHeader, IncludedFirstFindsTheLinkedLibrary) {
    const Functions linked = Functions::Linked();
    EXPECT_TRUE(linked.init && linked.send && linked.cancel);
}

}  // namespace
}  // namespace wpk::client_test
