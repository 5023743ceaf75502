// Files, mappings and views: the calls.
// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "host/standin/call.h"
#include "host/standin/files.h"
#include "host/standin/object.h"
#include "windows.h"

namespace wpk::host {

namespace {

/// What is open of one file. Guarded by the mutex of the files.
struct Openings {
    std::string path;
    /// Access and share mode of every handle's opening.
    std::vector<std::pair<DWORD, DWORD>> modes;
    int mappings = 0;
    bool delete_on_close = false;
};

// Never destroyed: static objects of the library end after it.
struct Files {
    std::mutex mutex;
    std::map<std::string, std::shared_ptr<Openings>> by_path;
    std::map<const void*, std::pair<size_t, std::shared_ptr<Object>>> views;
};

Files& TheFiles() {
    static Files& files = *new Files;
    return files;
}

DWORD ErrorOf(int error) {
    switch (error) {
        case ENOENT:
            return ERROR_FILE_NOT_FOUND;
        case ENOTDIR:
            return ERROR_PATH_NOT_FOUND;
        case EEXIST:
            return ERROR_FILE_EXISTS;
        case ENOSPC:
        case EFBIG:
            return ERROR_DISK_FULL;
        case ENOMEM:
            return ERROR_NOT_ENOUGH_MEMORY;
        case EINVAL:
            return ERROR_INVALID_PARAMETER;
        default:
            return ERROR_ACCESS_DENIED;
    }
}

class File : public Object {
public:
    File(int descriptor, DWORD access, DWORD share, std::shared_ptr<Openings> openings)
        : Object(Kind::kFile), descriptor_(descriptor), mode_(access, share), openings_(std::move(openings)) {
        openings_->modes.push_back(mode_);
    }
    ~File() override { close(descriptor_); }

    int Descriptor() const { return descriptor_; }
    bool Has(DWORD access) const { return (mode_.first & access) == access; }
    const std::shared_ptr<Openings>& GetOpenings() const { return openings_; }

protected:
    void LastHandleClosed() override {
        Files& files = TheFiles();
        const std::lock_guard lock(files.mutex);
        auto& modes = openings_->modes;
        modes.erase(std::find(modes.begin(), modes.end(), mode_));
        if (!modes.empty()) return;
        if (openings_->delete_on_close) unlink(openings_->path.c_str());
        if (openings_->mappings == 0) files.by_path.erase(openings_->path);
    }

private:
    const int descriptor_;
    const std::pair<DWORD, DWORD> mode_;
    const std::shared_ptr<Openings> openings_;
};

class Mapping : public Object {
public:
    Mapping(const File& file, uint64_t size, bool writable)
        : Object(Kind::kMapping),
          descriptor_(dup(file.Descriptor())),
          size_(size),
          writable_(writable),
          openings_(file.GetOpenings()) {
        const std::lock_guard lock(TheFiles().mutex);
        ++openings_->mappings;
    }
    ~Mapping() override {
        close(descriptor_);
        Files& files = TheFiles();
        const std::lock_guard lock(files.mutex);
        --openings_->mappings;
        if (openings_->mappings == 0 && openings_->modes.empty()) files.by_path.erase(openings_->path);
    }

    int Descriptor() const { return descriptor_; }
    uint64_t Size() const { return size_; }
    bool Writable() const { return writable_; }

private:
    const int descriptor_;
    const uint64_t size_;
    const bool writable_;
    const std::shared_ptr<Openings> openings_;
};

std::string PathOf(const char* name) {
    std::string path(name);
    std::replace(path.begin(), path.end(), '\\', '/');
    return path;
}

/// The access that a share mode has to allow.
DWORD SharesFor(DWORD access) {
    DWORD shares = 0;
    if (access & GENERIC_READ) shares |= FILE_SHARE_READ;
    if (access & GENERIC_WRITE) shares |= FILE_SHARE_WRITE;
    if (access & DELETE) shares |= FILE_SHARE_DELETE;
    return shares;
}

bool Shareable(const Openings& openings, DWORD access, DWORD share) {
    return std::all_of(openings.modes.begin(), openings.modes.end(), [&](const auto& mode) {
        return (SharesFor(access) & ~mode.second) == 0 && (SharesFor(mode.first) & ~share) == 0;
    });
}

int OpenDescriptor(const std::string& path, DWORD access, DWORD disposition) {
    int flags = O_CLOEXEC | (access & GENERIC_WRITE ? O_RDWR : O_RDONLY);
    if (disposition == CREATE_NEW) flags |= O_CREAT | O_EXCL;
    if (disposition == CREATE_ALWAYS) flags |= O_CREAT | O_TRUNC;
    if (disposition == OPEN_ALWAYS) flags |= O_CREAT;
    return open(path.c_str(), flags, 0600);
}

template <class T>
std::shared_ptr<T> Use(const char* call, HANDLE handle, Kind kind) {
    return std::static_pointer_cast<T>(UseHandle(call, handle, kind));
}

template <class Result>
Result Refuse(DWORD error, Result result) {
    SetLastError(error);
    return result;
}

HANDLE Open(const char* name, DWORD access, DWORD share, DWORD disposition, DWORD flags) {
    const std::string path = PathOf(name);
    Files& files = TheFiles();
    const std::lock_guard lock(files.mutex);
    std::shared_ptr<Openings>& openings = files.by_path[path];
    if (!openings) openings = std::make_shared<Openings>();
    openings->path = path;
    const bool delete_on_close = (flags & FILE_FLAG_DELETE_ON_CLOSE) != 0;
    if (delete_on_close) access |= DELETE;
    if (disposition != CREATE_NEW && !Shareable(*openings, access, share)) {
        return Refuse(ERROR_SHARING_VIOLATION, INVALID_HANDLE_VALUE);
    }
    const int descriptor = OpenDescriptor(path, access, disposition);
    if (descriptor < 0) {
        const DWORD error = ErrorOf(errno);
        if (openings->modes.empty() && openings->mappings == 0) files.by_path.erase(path);
        return Refuse(error, INVALID_HANDLE_VALUE);
    }
    openings->delete_on_close = openings->delete_on_close || delete_on_close;
    return OpenHandle(std::make_shared<File>(descriptor, access, share, openings));
}

BOOL Remove(const char* name) {
    const std::string path = PathOf(name);
    Files& files = TheFiles();
    const std::lock_guard lock(files.mutex);
    const auto found = files.by_path.find(path);
    if (found != files.by_path.end()) {
        if (found->second->mappings > 0) return Refuse(ERROR_ACCESS_DENIED, FALSE);
        if (!Shareable(*found->second, DELETE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE)) {
            return Refuse(ERROR_SHARING_VIOLATION, FALSE);
        }
    }
    return unlink(path.c_str()) == 0 ? TRUE : Refuse(ErrorOf(errno), FALSE);
}

int64_t FileSize(const File& file) {
    struct stat state {};
    return fstat(file.Descriptor(), &state) == 0 ? state.st_size : -1;
}

/// The new position, or -1.
int64_t Seek(const File& file, int64_t distance, DWORD method) {
    const int64_t from = method == FILE_BEGIN     ? 0
                         : method == FILE_CURRENT ? lseek(file.Descriptor(), 0, SEEK_CUR)
                                                  : FileSize(file);
    if (from + distance < 0) return Refuse(ERROR_NEGATIVE_SEEK, int64_t{-1});
    const off_t position = lseek(file.Descriptor(), from + distance, SEEK_SET);
    return position >= 0 ? position : Refuse(ErrorOf(errno), int64_t{-1});
}

/// A mapping may be larger than its file, which then grows.
HANDLE Map(const File& file, DWORD protection, uint64_t size) {
    const bool writable = protection == PAGE_READWRITE;
    if (!file.Has(writable ? GENERIC_READ | GENERIC_WRITE : GENERIC_READ)) {
        return Refuse<HANDLE>(ERROR_ACCESS_DENIED, nullptr);
    }
    const auto file_size = static_cast<uint64_t>(FileSize(file));
    if (size == 0) size = file_size;
    if (size == 0) return Refuse<HANDLE>(ERROR_FILE_INVALID, nullptr);
    if (size > file_size && (!writable || ftruncate(file.Descriptor(), static_cast<off_t>(size)) != 0)) {
        return Refuse<HANDLE>(ERROR_DISK_FULL, nullptr);
    }
    return OpenHandle(std::make_shared<Mapping>(file, size, writable));
}

LPVOID View(std::shared_ptr<Mapping> mapping, DWORD access, uint64_t offset, size_t size) {
    const bool write = (access & FILE_MAP_WRITE) != 0;
    if (write && !mapping->Writable()) return Refuse<LPVOID>(ERROR_ACCESS_DENIED, nullptr);
    if (offset > mapping->Size() || size > mapping->Size() - offset) {
        return Refuse<LPVOID>(ERROR_ACCESS_DENIED, nullptr);
    }
    if (size == 0) size = mapping->Size() - offset;
    void* view = mmap(nullptr, size, write ? PROT_READ | PROT_WRITE : PROT_READ, MAP_SHARED, mapping->Descriptor(),
                      static_cast<off_t>(offset));
    if (view == MAP_FAILED) return Refuse<LPVOID>(ErrorOf(errno), nullptr);
    Files& files = TheFiles();
    const std::lock_guard lock(files.mutex);
    files.views[view] = {size, std::move(mapping)};
    return view;
}

BOOL Unmap(const void* view) {
    Files& files = TheFiles();
    std::unique_lock lock(files.mutex);
    const auto found = files.views.find(view);
    if (found == files.views.end()) {
        lock.unlock();
        RecordMisuse("UnmapViewOfFile: no view");
        return Refuse(ERROR_INVALID_ADDRESS, FALSE);
    }
    const auto entry = std::move(found->second);
    files.views.erase(found);
    lock.unlock();
    munmap(const_cast<void*>(view), entry.first);
    return TRUE;
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

int64_t LiveViews() {
    Files& files = TheFiles();
    const std::lock_guard lock(files.mutex);
    return static_cast<int64_t>(files.views.size());
}

}  // namespace wpk::host

using namespace wpk::host;

HANDLE CreateFileA(LPCSTR name, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES, DWORD disposition, DWORD flags,
                   HANDLE) {
    const CallScope call(Call::kCreateFileA);
    if (call.Fails()) return INVALID_HANDLE_VALUE;
    return Open(name, access, share, disposition, flags);
}

BOOL DeleteFileA(LPCSTR name) {
    const CallScope call(Call::kDeleteFileA);
    if (call.Fails()) return FALSE;
    return Remove(name);
}

DWORD SetFilePointer(HANDLE handle, LONG distance_low, PLONG distance_high, DWORD method) {
    const CallScope call(Call::kSetFilePointer);
    if (call.Fails()) return INVALID_SET_FILE_POINTER;
    const auto file = Use<File>("SetFilePointer", handle, Kind::kFile);
    if (!file) return INVALID_SET_FILE_POINTER;
    // Without the upper half the lower one has a sign.
    const int64_t distance = distance_high ? static_cast<int64_t>(uint64_t{static_cast<DWORD>(*distance_high)} << 32 |
                                                                  static_cast<DWORD>(distance_low))
                                           : distance_low;
    const int64_t position = Seek(*file, distance, method);
    if (position < 0) return INVALID_SET_FILE_POINTER;
    if (distance_high) *distance_high = static_cast<LONG>(position >> 32);
    SetLastError(NO_ERROR);
    return static_cast<DWORD>(position);
}

BOOL SetFilePointerEx(HANDLE handle, LARGE_INTEGER distance, PLARGE_INTEGER position, DWORD method) {
    const CallScope call(Call::kSetFilePointerEx);
    if (call.Fails()) return FALSE;
    const auto file = Use<File>("SetFilePointerEx", handle, Kind::kFile);
    if (!file) return FALSE;
    const int64_t reached = Seek(*file, distance.QuadPart, method);
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
    return ftruncate(file->Descriptor(), end) == 0 ? TRUE : Refuse(ErrorOf(errno), FALSE);
}

BOOL SetFileTime(HANDLE handle, const FILETIME*, const FILETIME* accessed, const FILETIME* written) {
    const CallScope call(Call::kSetFileTime);
    if (call.Fails()) return FALSE;
    const auto file = Use<File>("SetFileTime", handle, Kind::kFile);
    if (!file) return FALSE;
    if (!file->Has(GENERIC_WRITE)) return Refuse(ERROR_ACCESS_DENIED, FALSE);
    const timespec times[] = {ToTimespec(accessed), ToTimespec(written)};
    return futimens(file->Descriptor(), times) == 0 ? TRUE : Refuse(ErrorOf(errno), FALSE);
}

DWORD GetFileSize(HANDLE handle, LPDWORD size_high) {
    const CallScope call(Call::kGetFileSize);
    if (call.Fails()) return INVALID_FILE_SIZE;
    const auto file = Use<File>("GetFileSize", handle, Kind::kFile);
    if (!file) return INVALID_FILE_SIZE;
    const int64_t size = FileSize(*file);
    if (size_high) *size_high = static_cast<DWORD>(size >> 32);
    SetLastError(NO_ERROR);
    return static_cast<DWORD>(size);
}

BOOL GetFileSizeEx(HANDLE handle, PLARGE_INTEGER size) {
    const CallScope call(Call::kGetFileSizeEx);
    if (call.Fails()) return FALSE;
    const auto file = Use<File>("GetFileSizeEx", handle, Kind::kFile);
    if (!file) return FALSE;
    size->QuadPart = FileSize(*file);
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

BOOL SystemTimeToFileTime(const SYSTEMTIME* time, LPFILETIME file_time) {
    const CallScope call(Call::kSystemTimeToFileTime);
    if (call.Fails()) return FALSE;
    tm parts{};
    parts.tm_year = time->wYear - 1900;
    parts.tm_mon = time->wMonth - 1;
    parts.tm_mday = time->wDay;
    parts.tm_hour = time->wHour;
    parts.tm_min = time->wMinute;
    parts.tm_sec = time->wSecond;
    *file_time = FromTimespec({timegm(&parts), time->wMilliseconds * 1000000L});
    return TRUE;
}

HANDLE CreateFileMappingA(HANDLE handle, LPSECURITY_ATTRIBUTES, DWORD protection, DWORD size_high, DWORD size_low,
                          LPCSTR) {
    const CallScope call(Call::kCreateFileMappingA);
    if (call.Fails()) return nullptr;
    const auto file = Use<File>("CreateFileMappingA", handle, Kind::kFile);
    if (!file) return nullptr;
    return Map(*file, protection, uint64_t{size_high} << 32 | size_low);
}

LPVOID MapViewOfFile(HANDLE handle, DWORD access, DWORD offset_high, DWORD offset_low, SIZE_T size) {
    const CallScope call(Call::kMapViewOfFile);
    if (call.Fails()) return nullptr;
    auto mapping = Use<Mapping>("MapViewOfFile", handle, Kind::kMapping);
    if (!mapping) return nullptr;
    return View(std::move(mapping), access, uint64_t{offset_high} << 32 | offset_low, size);
}

BOOL UnmapViewOfFile(LPCVOID view) {
    const CallScope call(Call::kUnmapViewOfFile);
    return Unmap(view) && !call.Fails();
}
