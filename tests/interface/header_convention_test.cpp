// wpk.h in a program whose own functions have another calling convention: those of the library keep theirs.
// SPDX-License-Identifier: MIT
#include "wpk/wpk.h"

namespace {

template <class Left, class Right>
constexpr bool kSame = false;
template <class Type>
constexpr bool kSame<Type, Type> = true;

void OwnFunction(WPK_CALLBACKSTRUCT*) {}
void WPK_CALL Callback(WPK_CALLBACKSTRUCT*) {}

static_assert(kSame<decltype(&OwnFunction), void(__vectorcall*)(WPK_CALLBACKSTRUCT*)>, "the options have no effect");
static_assert(kSame<WPK_CALLBACK, void(__cdecl*)(WPK_CALLBACKSTRUCT*)>, "");
static_assert(kSame<WPK_CALLBACK, decltype(&Callback)>, "");
static_assert(kSame<decltype(&WPK_Init), int(__cdecl*)(const WPK_INITSTRUCT*)>, "");
static_assert(kSame<decltype(&WPK_Send), unsigned int(__cdecl*)(WPK_SENDSTRUCT*)>, "");
static_assert(kSame<decltype(&WPK_Cancel), int(__cdecl*)(unsigned int)>, "");

}  // namespace
