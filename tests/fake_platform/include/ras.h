// The records of Windows' remote access interface that the library reads, for native builds.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_FAKE_PLATFORM_INCLUDE_RAS_H
#define WPK_TESTS_FAKE_PLATFORM_INCLUDE_RAS_H

#include "windows.h"

typedef struct HRASCONN__* HRASCONN;

enum RASCONNSTATE { RASCS_OpenPort = 0, RASCS_Authenticate = 5, RASCS_Connected = 0x2000, RASCS_Disconnected = 0x2001 };

#pragma pack(push, 4)
typedef struct tagRASCONNA {
    DWORD dwSize;
    HRASCONN hrasconn;
    CHAR szEntryName[257];
    CHAR szDeviceType[17];
    CHAR szDeviceName[129];
    CHAR szPhonebook[MAX_PATH];
    DWORD dwSubEntry;
    BYTE guidEntry[16];
    DWORD dwFlags;
    DWORD luid[2];
    BYTE guidCorrelationId[16];
} RASCONNA, *LPRASCONNA;

typedef struct tagRASCONNSTATUSA {
    DWORD dwSize;
    RASCONNSTATE rasconnstate;
    DWORD dwError;
    CHAR szDeviceType[17];
    CHAR szDeviceName[129];
    CHAR szPhoneNumber[129];
    DWORD localEndPoint[5];
    DWORD remoteEndPoint[5];
    DWORD rasconnsubstate;
} RASCONNSTATUSA, *LPRASCONNSTATUSA;
#pragma pack(pop)

static_assert(sizeof(RASCONNA) == 724 && offsetof(RASCONNA, szDeviceType) == 269, "layout of 64-bit Windows");
static_assert(sizeof(RASCONNSTATUSA) == 332, "layout of 64-bit Windows");

#endif  // WPK_TESTS_FAKE_PLATFORM_INCLUDE_RAS_H
