// wpk.h in C++98, with the program's own records packed as PACKING says: the records lie where the library expects
// them, and the class has its virtual table in front.
// SPDX-License-Identifier: MIT
#include "wpk/wpk.h"

namespace {

template <bool Condition>
struct Holds;
template <>
struct Holds<true> {};

typedef Holds<sizeof(WPK_INITSTRUCT) == 80> InitSize;
typedef Holds<sizeof(WPK_SENDSTRUCT) == 64> SendSize;
typedef Holds<sizeof(WPK_CALLBACKSTRUCT) == 536> CallbackSize;

template <class Field>
unsigned int OffsetOf(const WPK_SENDSTRUCT& record, const Field& field) {
    return static_cast<unsigned int>(reinterpret_cast<const char*>(&field) - reinterpret_cast<const char*>(&record));
}

}  // namespace

#define JOIN(name, packing) name##packing
#define NAME(name, packing) JOIN(name, packing)

/// A class with a virtual destructor has no offsets at compile time; the test program calls this.
bool NAME(SendRecordFieldsLieWhereTheyShould, PACKING)();

bool NAME(SendRecordFieldsLieWhereTheyShould, PACKING)() {
    InitSize();
    SendSize();
    CallbackSize();
    const WPK_SENDSTRUCT record;
    return OffsetOf(record, record.reserved) == 8 && OffsetOf(record, record.nPort) == 12 &&
           OffsetOf(record, record.lpszServer) == 16 && OffsetOf(record, record.lpszServiceName) == 24 &&
           OffsetOf(record, record.lpfnCallback) == 32 && OffsetOf(record, record.lpUserData) == 40 &&
           OffsetOf(record, record.lpData) == 48 && OffsetOf(record, record.dwDataLength) == 56;
}
