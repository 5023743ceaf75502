// The system functions that wpk/client.h declares for itself, led to the fake platform for native builds.
// SPDX-License-Identifier: MIT
#include <windows.h>

// The declarations of wpk/client/detail/platform.h, without its Windows spelling.
namespace wpk::client_test::bridge {

extern "C" {
unsigned long GetCurrentThreadId();
void* OpenThread(unsigned long access, int inherit, unsigned long id);
unsigned long WaitForSingleObject(void* object, unsigned long milliseconds);
int CloseHandle(void* object);
unsigned int GetACP();
int WideCharToMultiByte(unsigned int codePage, unsigned long flags, const wchar_t* wide, int wideLength, char* bytes,
                        int byteCount, const char* substitute, int* substituted);

unsigned long GetCurrentThreadId() {
    return ::GetCurrentThreadId();
}

void* OpenThread(unsigned long access, int inherit, unsigned long id) {
    return ::OpenThread(static_cast<DWORD>(access), inherit, static_cast<DWORD>(id));
}

unsigned long WaitForSingleObject(void* object, unsigned long milliseconds) {
    return ::WaitForSingleObject(object, static_cast<DWORD>(milliseconds));
}

int CloseHandle(void* object) {
    return ::CloseHandle(object);
}

unsigned int GetACP() {
    return 1252;
}

// Only ASCII; the rest is tested where there is a real one.
int WideCharToMultiByte(unsigned int, unsigned long, const wchar_t* wide, int wideLength, char* bytes, int, const char*,
                        int* substituted) {
    for (int i = 0; i < wideLength; ++i) {
        if (wide[i] > 127) *substituted = 1;
        if (bytes) bytes[i] = static_cast<char>(wide[i]);
    }
    return wideLength;
}
}

}  // namespace wpk::client_test::bridge
