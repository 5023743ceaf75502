// The part of the Windows programming interface that the library uses, played by the fake platform for native builds.
// SPDX-License-Identifier: MIT
//
// Spelling, widths and values are those of 64-bit Windows: LONG and DWORD have 32 bits although long has 64 here. What
// the calls do is described in tests/fake_platform/control.h, together with the ways to make them fail.
#ifndef WPK_TESTS_FAKE_PLATFORM_INCLUDE_WINDOWS_H
#define WPK_TESTS_FAKE_PLATFORM_INCLUDE_WINDOWS_H

#include <stddef.h>
#include <stdint.h>

#define WINAPI
#define APIENTRY
#define CALLBACK
#define __stdcall
#define __cdecl

typedef void VOID;
typedef void* PVOID;
typedef void* LPVOID;
typedef const void* LPCVOID;
typedef char CHAR;
typedef char* LPSTR;
typedef const char* LPCSTR;
typedef unsigned char BYTE;
typedef BYTE* LPBYTE;
typedef unsigned short WORD;
typedef int BOOL;
typedef int INT;
typedef unsigned int UINT;
typedef int LONG;
typedef LONG* PLONG;
typedef LONG* LPLONG;
typedef unsigned int ULONG;
typedef unsigned int DWORD;
typedef DWORD* PDWORD;
typedef DWORD* LPDWORD;
typedef long long LONGLONG;
typedef unsigned long long ULONGLONG;
typedef unsigned long long DWORD64;
typedef intptr_t INT_PTR;
typedef uintptr_t UINT_PTR;
typedef intptr_t LONG_PTR;
typedef uintptr_t ULONG_PTR;
typedef uintptr_t DWORD_PTR;
typedef uintptr_t SIZE_T;
typedef void* HANDLE;
typedef HANDLE* PHANDLE;
typedef HANDLE* LPHANDLE;
typedef struct HINSTANCE__* HINSTANCE;
typedef HINSTANCE HMODULE;
typedef struct HKEY__* HKEY;
typedef HKEY* PHKEY;
typedef DWORD REGSAM;
typedef LONG LSTATUS;
typedef void* PSID;
typedef INT_PTR (*FARPROC)();

typedef struct _SECURITY_ATTRIBUTES {
    DWORD nLength;
    LPVOID lpSecurityDescriptor;
    BOOL bInheritHandle;
} SECURITY_ATTRIBUTES, *LPSECURITY_ATTRIBUTES;

typedef struct _FILETIME {
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
} FILETIME, *LPFILETIME;

typedef struct _SYSTEMTIME {
    WORD wYear;
    WORD wMonth;
    WORD wDayOfWeek;
    WORD wDay;
    WORD wHour;
    WORD wMinute;
    WORD wSecond;
    WORD wMilliseconds;
} SYSTEMTIME, *LPSYSTEMTIME;

typedef union _LARGE_INTEGER {
    __extension__ struct {
        DWORD LowPart;
        LONG HighPart;
    };
    LONGLONG QuadPart;
} LARGE_INTEGER, *PLARGE_INTEGER;

typedef union _ULARGE_INTEGER {
    __extension__ struct {
        DWORD LowPart;
        DWORD HighPart;
    };
    ULONGLONG QuadPart;
} ULARGE_INTEGER, *PULARGE_INTEGER;

#define TRUE 1
#define FALSE 0
#define MAX_PATH 260
#define INFINITE 0xFFFFFFFFu
#define INVALID_HANDLE_VALUE ((HANDLE)(LONG_PTR)-1)

#define LOBYTE(w) ((BYTE)((DWORD_PTR)(w)&0xff))
#define HIBYTE(w) ((BYTE)(((DWORD_PTR)(w) >> 8) & 0xff))
#define LOWORD(l) ((WORD)((DWORD_PTR)(l)&0xffff))
#define HIWORD(l) ((WORD)(((DWORD_PTR)(l) >> 16) & 0xffff))
#define MAKEWORD(a, b) ((WORD)(((BYTE)((DWORD_PTR)(a)&0xff)) | ((WORD)((BYTE)((DWORD_PTR)(b)&0xff))) << 8))

// Errors.
#define NO_ERROR 0u
#define ERROR_SUCCESS 0
#define ERROR_FILE_NOT_FOUND 2
#define ERROR_PATH_NOT_FOUND 3
#define ERROR_ACCESS_DENIED 5
#define ERROR_INVALID_HANDLE 6
#define ERROR_NOT_ENOUGH_MEMORY 8
#define ERROR_GEN_FAILURE 31
#define ERROR_SHARING_VIOLATION 32
#define ERROR_FILE_EXISTS 80
#define ERROR_INVALID_PARAMETER 87
#define ERROR_DISK_FULL 112
#define ERROR_INSUFFICIENT_BUFFER 122
#define ERROR_MOD_NOT_FOUND 126
#define ERROR_PROC_NOT_FOUND 127
#define ERROR_NEGATIVE_SEEK 131
#define ERROR_ALREADY_EXISTS 183
#define ERROR_MORE_DATA 234
#define ERROR_TOO_MANY_POSTS 298
#define ERROR_INVALID_ADDRESS 487
#define ERROR_FILE_INVALID 1006
#define ERROR_NO_SYSTEM_RESOURCES 1450

DWORD GetLastError();
void SetLastError(DWORD error);

// Waiting.
#define WAIT_OBJECT_0 0u
#define WAIT_TIMEOUT 258u
#define WAIT_FAILED 0xFFFFFFFFu

HANDLE CreateSemaphoreA(LPSECURITY_ATTRIBUTES attributes, LONG initial, LONG maximum, LPCSTR name);
BOOL ReleaseSemaphore(HANDLE semaphore, LONG count, LPLONG previous);
DWORD WaitForSingleObject(HANDLE object, DWORD milliseconds);
BOOL CloseHandle(HANDLE object);
#define HANDLE_FLAG_INHERIT 1u
BOOL SetHandleInformation(HANDLE object, DWORD mask, DWORD flags);
void Sleep(DWORD milliseconds);
DWORD GetTickCount();
ULONGLONG GetTickCount64();

#define DUPLICATE_CLOSE_SOURCE 1u
#define DUPLICATE_SAME_ACCESS 2u
HANDLE GetCurrentProcess();
BOOL DuplicateHandle(HANDLE sourceProcess, HANDLE source, HANDLE targetProcess, LPHANDLE target, DWORD access,
                     BOOL inherit, DWORD options);

// Threads.
#define CREATE_SUSPENDED 4u
#define STILL_ACTIVE 259u
#define SYNCHRONIZE 0x00100000u
#define THREAD_TERMINATE 0x0001u
#define THREAD_SUSPEND_RESUME 0x0002u
#define THREAD_QUERY_INFORMATION 0x0040u
#define THREAD_ALL_ACCESS 0x001FFFFFu

HANDLE GetCurrentThread();
DWORD GetCurrentThreadId();
DWORD GetThreadId(HANDLE thread);
HANDLE OpenThread(DWORD access, BOOL inherit, DWORD id);
DWORD ResumeThread(HANDLE thread);
DWORD SuspendThread(HANDLE thread);
BOOL TerminateThread(HANDLE thread, DWORD exitCode);
BOOL GetExitCodeThread(HANDLE thread, LPDWORD exitCode);

// The event log.
#define EVENTLOG_ERROR_TYPE 1
HANDLE RegisterEventSourceA(LPCSTR server, LPCSTR source);
BOOL ReportEventA(HANDLE source, WORD type, WORD category, DWORD id, PSID user, WORD textCount, DWORD dataSize,
                  LPCSTR* texts, LPVOID data);
BOOL DeregisterEventSource(HANDLE source);

// Files.
#define GENERIC_READ 0x80000000u
#define GENERIC_WRITE 0x40000000u
#define DELETE 0x00010000u
#define FILE_SHARE_READ 1u
#define FILE_SHARE_WRITE 2u
#define FILE_SHARE_DELETE 4u
#define CREATE_NEW 1u
#define CREATE_ALWAYS 2u
#define OPEN_EXISTING 3u
#define OPEN_ALWAYS 4u
#define FILE_ATTRIBUTE_NORMAL 0x00000080u
#define FILE_ATTRIBUTE_TEMPORARY 0x00000100u
#define FILE_FLAG_OPEN_REPARSE_POINT 0x00200000u
#define FILE_FLAG_DELETE_ON_CLOSE 0x04000000u
#define FILE_FLAG_SEQUENTIAL_SCAN 0x08000000u
#define FILE_BEGIN 0u
#define FILE_CURRENT 1u
#define FILE_END 2u
#define INVALID_SET_FILE_POINTER 0xFFFFFFFFu
#define INVALID_FILE_SIZE 0xFFFFFFFFu
#define PAGE_READONLY 2u
#define PAGE_READWRITE 4u
#define FILE_MAP_WRITE 2u
#define FILE_MAP_READ 4u
#define FILE_MAP_ALL_ACCESS 0x000F001Fu

HANDLE CreateFileA(LPCSTR name, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES attributes, DWORD disposition,
                   DWORD flags, HANDLE pattern);
BOOL DeleteFileA(LPCSTR name);
DWORD SetFilePointer(HANDLE file, LONG distanceLow, PLONG distanceHigh, DWORD method);
BOOL SetFilePointerEx(HANDLE file, LARGE_INTEGER distance, PLARGE_INTEGER position, DWORD method);
BOOL SetEndOfFile(HANDLE file);
typedef struct _OVERLAPPED OVERLAPPED, *LPOVERLAPPED;
BOOL WriteFile(HANDLE file, LPCVOID bytes, DWORD size, LPDWORD written, LPOVERLAPPED overlapped);
BOOL SetFileTime(HANDLE file, const FILETIME* created, const FILETIME* accessed, const FILETIME* written);
DWORD GetFileSize(HANDLE file, LPDWORD sizeHigh);
BOOL GetFileSizeEx(HANDLE file, PLARGE_INTEGER size);
void GetSystemTimeAsFileTime(LPFILETIME now);
void GetSystemTime(LPSYSTEMTIME now);
BOOL SystemTimeToFileTime(const SYSTEMTIME* time, LPFILETIME fileTime);
HANDLE CreateFileMappingA(HANDLE file, LPSECURITY_ATTRIBUTES attributes, DWORD protection, DWORD sizeHigh,
                          DWORD sizeLow, LPCSTR name);
LPVOID MapViewOfFile(HANDLE mapping, DWORD access, DWORD offsetHigh, DWORD offsetLow, SIZE_T size);
BOOL UnmapViewOfFile(LPCVOID view);

/// The system.
DWORD GetVersion();
DWORD GetTempPathA(DWORD size, LPSTR buffer);
UINT GetWindowsDirectoryA(LPSTR buffer, UINT size);
UINT GetSystemDirectoryA(LPSTR buffer, UINT size);
BOOL GetUserNameA(LPSTR buffer, LPDWORD size);

// The registry.
#define HKEY_CURRENT_USER ((HKEY)(ULONG_PTR)(LONG)0x80000001)
#define HKEY_LOCAL_MACHINE ((HKEY)(ULONG_PTR)(LONG)0x80000002)
#define HKEY_USERS ((HKEY)(ULONG_PTR)(LONG)0x80000003)
#define KEY_READ 0x00020019u
#define KEY_QUERY_VALUE 1u
#define REG_SZ 1u
#define REG_EXPAND_SZ 2u
#define REG_BINARY 3u
#define REG_DWORD 4u

LSTATUS RegCreateKeyA(HKEY parent, LPCSTR path, PHKEY key);
LSTATUS RegOpenKeyExA(HKEY parent, LPCSTR path, DWORD options, REGSAM access, PHKEY key);
LSTATUS RegQueryValueExA(HKEY key, LPCSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data, LPDWORD size);
LSTATUS RegCloseKey(HKEY key);

// Modules.
#define GET_MODULE_HANDLE_EX_FLAG_PIN 1u
#define GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT 2u
#define GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS 4u

HMODULE LoadLibraryA(LPCSTR name);
BOOL FreeLibrary(HMODULE module);
FARPROC GetProcAddress(HMODULE module, LPCSTR name);
BOOL GetModuleHandleExA(DWORD flags, LPCSTR nameOrAddress, HMODULE* module);

#endif  // WPK_TESTS_FAKE_PLATFORM_INCLUDE_WINDOWS_H
