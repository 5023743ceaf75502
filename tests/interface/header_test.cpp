// wpk.h seen from C and from C++98, and a request whose record was filled by C.
// SPDX-License-Identifier: MIT
#include "interface/rig/peer.h"
#include "interface/rig/process.h"
#include "interface/rig/request.h"
#include "interface/rig/wire.h"

#include <gtest/gtest.h>

extern "C" void FillRecordInC(WPK_SENDSTRUCT* message, unsigned int port, int* outcome);
bool SendRecordFieldsLieWhereTheyShould();

namespace wpk::rig {
namespace {

TEST(Header, InCpp98_LaysTheSendRecordOutAsDocumented) {
    EXPECT_TRUE(SendRecordFieldsLieWhereTheyShould());
}

TEST(Header, RecordFilledInC_IsCarriedLikeAnyOther) {
    const Library library = StartFresh();
    Peer peer(Answer(Ok("four")));
    const std::set<DWORD> before = ThreadIds();
    // The virtual table pointer stays null: the library must never call through it.
    alignas(WPK_SENDSTRUCT) char storage[sizeof(WPK_SENDSTRUCT)] = {};
    WPK_SENDSTRUCT* message = reinterpret_cast<WPK_SENDSTRUCT*>(storage);
    int outcome = 0;
    FillRecordInC(message, peer.port(), &outcome);
    ASSERT_NE(library.Send(message), 0u);
    ASSERT_TRUE(WaitForOtherThreads(before));
    EXPECT_EQ(outcome, 4);
    EXPECT_EQ(MessageOf(peer.WaitForRequest()), "from C");
}

}  // namespace
}  // namespace wpk::rig
