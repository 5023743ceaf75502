// Files, mappings and views: the calls.
// SPDX-License-Identifier: MIT
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>

#include "fake_platform/src/call.h"
#include "fake_platform/src/file_objects.h"

using namespace wpk::host;

namespace {

template <class T>
std::shared_ptr<T> Use(const char* call, HANDLE handle, Kind kind) {
    return std::static_pointer_cast<T>(UseHandle(call, handle, kind));
}

constexpr int64_t kSecondsFrom1601To1970 = 11644473600;

timespec ToTimespec(const FILETIME* time) {
    if (!time) return {0, UTIME_OMIT};
    const auto ticks = static_cast<int64_t>(uint64_t{time->dwHighDateTime} << 32 | time->dwLowDateTime);
    return {ticks / 10000000 - kSecondsFrom1601To1970, ticks % 10000000 * 100};
}

FILETIME FromTimespec(const timespec& time) {
    const auto ticks = static_cast<uint64_t>((time.tv_sec + kSecondsFrom1601To1970) * 10000000 + time.tv_nsec / 100);
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

}  // namespace

HANDLE CreateFileA(LPCSTR name, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES, DWORD disposition, DWORD flags,
                   HANDLE) {
    const CallScope call(Call::kCreateFileA);
    if (call.Fails()) return INVALID_HANDLE_VALUE;
    return OpenFile(name, access, share, disposition, flags);
}

BOOL DeleteFileA(LPCSTR name) {
    const CallScope call(Call::kDeleteFileA);
    if (call.Fails()) return FALSE;
    return RemoveFile(name);
}

DWORD SetFilePointer(HANDLE handle, LONG distanceLow, PLONG distanceHigh, DWORD method) {
    const CallScope call(Call::kSetFilePointer);
    if (call.Fails()) return INVALID_SET_FILE_POINTER;
    const auto file = Use<File>("SetFilePointer", handle, Kind::kFile);
    if (!file) return INVALID_SET_FILE_POINTER;
    // Without the upper half the lower one has a sign.
    const int64_t distance =
        distanceHigh
            ? static_cast<int64_t>(uint64_t{static_cast<DWORD>(*distanceHigh)} << 32 | static_cast<DWORD>(distanceLow))
            : distanceLow;
    const int64_t position = file->Seek(distance, method);
    if (position < 0) return INVALID_SET_FILE_POINTER;
    if (distanceHigh) *distanceHigh = static_cast<LONG>(position >> 32);
    SetLastError(NO_ERROR);
    return static_cast<DWORD>(position);
}

BOOL SetFilePointerEx(HANDLE handle, LARGE_INTEGER distance, PLARGE_INTEGER position, DWORD method) {
    const CallScope call(Call::kSetFilePointerEx);
    if (call.Fails()) return FALSE;
    const auto file = Use<File>("SetFilePointerEx", handle, Kind::kFile);
    if (!file) return FALSE;
    const int64_t reached = file->Seek(distance.QuadPart, method);
    if (reached < 0) return FALSE;
    if (position) position->QuadPart = reached;
    return TRUE;
}

BOOL SetEndOfFile(HANDLE handle) {
    const CallScope call(Call::kSetEndOfFile);
    if (call.Fails()) return FALSE;
    const auto file = Use<File>("SetEndOfFile", handle, Kind::kFile);
    if (!file) return FALSE;
    if (!file->Has(GENERIC_WRITE)) return Refuse(ERROR_ACCESS_DENIED, FALSE);
    const off_t end = lseek(file->Descriptor(), 0, SEEK_CUR);
    return ftruncate(file->Descriptor(), end) == 0 ? TRUE : Refuse(FileErrorOf(errno), FALSE);
}

BOOL WriteFile(HANDLE handle, LPCVOID bytes, DWORD size, LPDWORD written, LPOVERLAPPED) {
    const CallScope call(Call::kWriteFile);
    *written = 0;
    if (call.Fails()) return FALSE;
    const auto file = Use<File>("WriteFile", handle, Kind::kFile);
    if (!file) return FALSE;
    if (!file->Has(GENERIC_WRITE)) return Refuse(ERROR_ACCESS_DENIED, FALSE);
    const ssize_t done = write(file->Descriptor(), bytes, size);
    if (done < 0) return Refuse(FileErrorOf(errno), FALSE);
    *written = static_cast<DWORD>(done);
    return TRUE;
}

BOOL SetFileTime(HANDLE handle, const FILETIME*, const FILETIME* accessed, const FILETIME* written) {
    const CallScope call(Call::kSetFileTime);
    if (call.Fails()) return FALSE;
    const auto file = Use<File>("SetFileTime", handle, Kind::kFile);
    if (!file) return FALSE;
    if (!file->Has(GENERIC_WRITE)) return Refuse(ERROR_ACCESS_DENIED, FALSE);
    const timespec times[] = {ToTimespec(accessed), ToTimespec(written)};
    return futimens(file->Descriptor(), times) == 0 ? TRUE : Refuse(FileErrorOf(errno), FALSE);
}

DWORD GetFileSize(HANDLE handle, LPDWORD sizeHigh) {
    const CallScope call(Call::kGetFileSize);
    if (call.Fails()) return INVALID_FILE_SIZE;
    const auto file = Use<File>("GetFileSize", handle, Kind::kFile);
    if (!file) return INVALID_FILE_SIZE;
    const int64_t size = file->Size();
    if (sizeHigh) *sizeHigh = static_cast<DWORD>(size >> 32);
    SetLastError(NO_ERROR);
    return static_cast<DWORD>(size);
}

BOOL GetFileSizeEx(HANDLE handle, PLARGE_INTEGER size) {
    const CallScope call(Call::kGetFileSizeEx);
    if (call.Fails()) return FALSE;
    const auto file = Use<File>("GetFileSizeEx", handle, Kind::kFile);
    if (!file) return FALSE;
    size->QuadPart = file->Size();
    return TRUE;
}

void GetSystemTimeAsFileTime(LPFILETIME now) {
    const CallScope call(Call::kGetSystemTimeAsFileTime);
    timespec time{};
    clock_gettime(CLOCK_REALTIME, &time);
    *now = FromTimespec(time);
}

void GetSystemTime(LPSYSTEMTIME now) {
    const CallScope call(Call::kGetSystemTime);
    timespec time{};
    clock_gettime(CLOCK_REALTIME, &time);
    tm parts{};
    gmtime_r(&time.tv_sec, &parts);
    *now = {static_cast<WORD>(parts.tm_year + 1900), static_cast<WORD>(parts.tm_mon + 1),
            static_cast<WORD>(parts.tm_wday),        static_cast<WORD>(parts.tm_mday),
            static_cast<WORD>(parts.tm_hour),        static_cast<WORD>(parts.tm_min),
            static_cast<WORD>(parts.tm_sec),         static_cast<WORD>(time.tv_nsec / 1000000)};
}

BOOL SystemTimeToFileTime(const SYSTEMTIME* time, LPFILETIME fileTime) {
    const CallScope call(Call::kSystemTimeToFileTime);
    if (call.Fails()) return FALSE;
    tm parts{};
    parts.tm_year = time->wYear - 1900;
    parts.tm_mon = time->wMonth - 1;
    parts.tm_mday = time->wDay;
    parts.tm_hour = time->wHour;
    parts.tm_min = time->wMinute;
    parts.tm_sec = time->wSecond;
    *fileTime = FromTimespec({timegm(&parts), time->wMilliseconds * 1000000L});
    return TRUE;
}

HANDLE CreateFileMappingA(HANDLE handle, LPSECURITY_ATTRIBUTES, DWORD protection, DWORD sizeHigh, DWORD sizeLow,
                          LPCSTR) {
    const CallScope call(Call::kCreateFileMappingA);
    if (call.Fails()) return nullptr;
    const auto file = Use<File>("CreateFileMappingA", handle, Kind::kFile);
    if (!file) return nullptr;
    return MapFile(*file, protection, uint64_t{sizeHigh} << 32 | sizeLow);
}

LPVOID MapViewOfFile(HANDLE handle, DWORD access, DWORD offsetHigh, DWORD offsetLow, SIZE_T size) {
    const CallScope call(Call::kMapViewOfFile);
    if (call.Fails()) return nullptr;
    auto mapping = Use<Mapping>("MapViewOfFile", handle, Kind::kMapping);
    if (!mapping) return nullptr;
    return ViewMapping(std::move(mapping), access, uint64_t{offsetHigh} << 32 | offsetLow, size);
}

BOOL UnmapViewOfFile(LPCVOID view) {
    const CallScope call(Call::kUnmapViewOfFile);
    return Unmap(view) && !call.Fails();
}
