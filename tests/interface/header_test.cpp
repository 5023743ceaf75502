// wpk.h seen from C and from C++98, and a request whose record was filled by C.
// SPDX-License-Identifier: MIT
#include "support/dll/peer.h"
#include "support/dll/process.h"
#include "support/dll/request.h"
#include "support/dll/wire.h"

#include <gtest/gtest.h>

// Each is compiled with records packed to the number in its name.
extern "C" {
void FillRecordInC1(WPK_SENDSTRUCT* message, unsigned int port, int* outcome);
void FillRecordInC2(WPK_SENDSTRUCT* message, unsigned int port, int* outcome);
void FillRecordInC4(WPK_SENDSTRUCT* message, unsigned int port, int* outcome);
void FillRecordInC8(WPK_SENDSTRUCT* message, unsigned int port, int* outcome);
void FillRecordInC16(WPK_SENDSTRUCT* message, unsigned int port, int* outcome);
}
bool SendRecordFieldsLieWhereTheyShould1();
bool SendRecordFieldsLieWhereTheyShould2();
bool SendRecordFieldsLieWhereTheyShould4();
bool SendRecordFieldsLieWhereTheyShould8();
bool SendRecordFieldsLieWhereTheyShould16();

namespace wpk::harness {
namespace {

TEST(CHeader, InCpp98WithAnyPackingLaysTheSendRecordOutAsDocumented) {
    EXPECT_TRUE(SendRecordFieldsLieWhereTheyShould1());
    EXPECT_TRUE(SendRecordFieldsLieWhereTheyShould2());
    EXPECT_TRUE(SendRecordFieldsLieWhereTheyShould4());
    EXPECT_TRUE(SendRecordFieldsLieWhereTheyShould8());
    EXPECT_TRUE(SendRecordFieldsLieWhereTheyShould16());
}

/// How C fills the record and reads the notification, with one packing.
class HeaderInC : public testing::TestWithParam<decltype(&FillRecordInC8)> {};

TEST_P(HeaderInC, RecordFilledInCIsCarriedLikeAnyOtherAndItsReplyIsRead) {
    const Library library = StartFresh();
    Peer peer(Answer(Ok("four")));
    const std::set<DWORD> before = ThreadIds();
    // The virtual table pointer stays null: the library must never call through it.
    alignas(WPK_SENDSTRUCT) char storage[sizeof(WPK_SENDSTRUCT)] = {};
    WPK_SENDSTRUCT* message = reinterpret_cast<WPK_SENDSTRUCT*>(storage);
    int outcome = 0;
    GetParam()(message, peer.Port(), &outcome);
    ASSERT_NE(library.Send(message), 0u);
    ASSERT_TRUE(WaitForOtherThreads(before));
    EXPECT_EQ(outcome, 4);
    EXPECT_EQ(MessageOf(peer.WaitForRequest()), "from C");
}

INSTANTIATE_TEST_SUITE_P(PackedTo, HeaderInC,
                         testing::Values(FillRecordInC1, FillRecordInC2, FillRecordInC4, FillRecordInC8,
                                         FillRecordInC16));

}  // namespace
}  // namespace wpk::harness
