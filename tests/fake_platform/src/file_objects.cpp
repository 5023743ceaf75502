// Files, mappings and views, and what is open of each file.
// SPDX-License-Identifier: MIT
#include "fake_platform/src/file_objects.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "fake_platform/src/call.h"

namespace wpk::host {

/// What is open of one file. Guarded by the mutex of the files.
struct Openings {
    std::string path;
    /// Access and share mode of every handle's opening.
    std::vector<std::pair<DWORD, DWORD>> modes;
    int mappings = 0;
    bool deleteOnClose = false;
};

namespace {

/// Never destroyed: static objects of the library end after it.
struct Files {
    std::mutex mutex;
    std::map<std::string, std::shared_ptr<Openings>> byPath;
    std::map<const void*, std::pair<size_t, std::shared_ptr<Object>>> views;
};

Files& TheFiles() {
    static Files& files = *new Files;
    return files;
}

/// Once nothing is open of a file. A view keeps its mapping, and a mapping keeps the file, even one that its last close
/// was to delete. With the mutex of the files held.
void ForgetUnused(const Openings& openings) {
    if (!openings.modes.empty() || openings.mappings > 0) return;
    if (openings.deleteOnClose) unlink(openings.path.c_str());
    TheFiles().byPath.erase(openings.path);
}

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

}  // namespace

DWORD FileErrorOf(int error) {
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

File::File(int descriptor, DWORD access, DWORD share, std::shared_ptr<Openings> openings)
    : Object(Kind::kFile), descriptor_(descriptor), mode_(access, share), openings_(std::move(openings)) {
    openings_->modes.push_back(mode_);
}

File::~File() {
    close(descriptor_);
}

void File::LastHandleClosed() {
    const std::lock_guard lock(TheFiles().mutex);
    auto& modes = openings_->modes;
    modes.erase(std::find(modes.begin(), modes.end(), mode_));
    ForgetUnused(*openings_);
}

Mapping::Mapping(const File& file, uint64_t size, bool writable)
    : Object(Kind::kMapping),
      descriptor_(dup(file.Descriptor())),
      size_(size),
      writable_(writable),
      openings_(file.GetOpenings()) {
    const std::lock_guard lock(TheFiles().mutex);
    ++openings_->mappings;
}

Mapping::~Mapping() {
    close(descriptor_);
    const std::lock_guard lock(TheFiles().mutex);
    --openings_->mappings;
    ForgetUnused(*openings_);
}

HANDLE OpenFile(const char* name, DWORD access, DWORD share, DWORD disposition, DWORD flags) {
    const std::string path = PathOf(name);
    Files& files = TheFiles();
    const std::lock_guard lock(files.mutex);
    std::shared_ptr<Openings>& openings = files.byPath[path];
    if (!openings) openings = std::make_shared<Openings>();
    openings->path = path;
    if (openings->deleteOnClose && openings->modes.empty()) {
        return Refuse(ERROR_ACCESS_DENIED, INVALID_HANDLE_VALUE);  // only its mappings keep it from being deleted
    }
    const bool deleteOnClose = (flags & FILE_FLAG_DELETE_ON_CLOSE) != 0;
    if (deleteOnClose) access |= DELETE;
    if (disposition != CREATE_NEW && !Shareable(*openings, access, share)) {
        return Refuse(ERROR_SHARING_VIOLATION, INVALID_HANDLE_VALUE);
    }
    const int descriptor = OpenDescriptor(path, access, disposition);
    if (descriptor < 0) {
        const DWORD error = FileErrorOf(errno);
        if (openings->modes.empty() && openings->mappings == 0) files.byPath.erase(path);
        return Refuse(error, INVALID_HANDLE_VALUE);
    }
    openings->deleteOnClose = openings->deleteOnClose || deleteOnClose;
    return OpenHandle(std::make_shared<File>(descriptor, access, share, openings));
}

BOOL RemoveFile(const char* name) {
    const std::string path = PathOf(name);
    Files& files = TheFiles();
    const std::lock_guard lock(files.mutex);
    const auto found = files.byPath.find(path);
    if (found != files.byPath.end()) {
        if (found->second->mappings > 0) return Refuse(ERROR_ACCESS_DENIED, FALSE);
        if (!Shareable(*found->second, DELETE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE)) {
            return Refuse(ERROR_SHARING_VIOLATION, FALSE);
        }
    }
    return unlink(path.c_str()) == 0 ? TRUE : Refuse(FileErrorOf(errno), FALSE);
}

int64_t File::Size() const {
    struct stat state {};
    return fstat(descriptor_, &state) == 0 ? state.st_size : -1;
}

int64_t File::Seek(int64_t distance, DWORD method) const {
    const int64_t from = method == FILE_BEGIN ? 0 : method == FILE_CURRENT ? lseek(descriptor_, 0, SEEK_CUR) : Size();
    if (from + distance < 0) return Refuse(ERROR_NEGATIVE_SEEK, int64_t{-1});
    const off_t position = lseek(descriptor_, from + distance, SEEK_SET);
    return position >= 0 ? position : Refuse(FileErrorOf(errno), int64_t{-1});
}

HANDLE MapFile(const File& file, DWORD protection, uint64_t size) {
    const bool writable = protection == PAGE_READWRITE;
    if (!file.Has(writable ? GENERIC_READ | GENERIC_WRITE : GENERIC_READ)) {
        return Refuse<HANDLE>(ERROR_ACCESS_DENIED, nullptr);
    }
    const auto fileSize = static_cast<uint64_t>(file.Size());
    if (size == 0) size = fileSize;
    if (size == 0) return Refuse<HANDLE>(ERROR_FILE_INVALID, nullptr);
    if (size > fileSize && (!writable || ftruncate(file.Descriptor(), static_cast<off_t>(size)) != 0)) {
        return Refuse<HANDLE>(ERROR_DISK_FULL, nullptr);
    }
    return OpenHandle(std::make_shared<Mapping>(file, size, writable));
}

LPVOID ViewMapping(std::shared_ptr<Mapping> mapping, DWORD access, uint64_t offset, size_t size) {
    const bool write = (access & FILE_MAP_WRITE) != 0;
    if (write && !mapping->Writable()) return Refuse<LPVOID>(ERROR_ACCESS_DENIED, nullptr);
    if (offset > mapping->Size() || size > mapping->Size() - offset) {
        return Refuse<LPVOID>(ERROR_ACCESS_DENIED, nullptr);
    }
    if (size == 0) size = mapping->Size() - offset;
    void* view = mmap(nullptr, size, write ? PROT_READ | PROT_WRITE : PROT_READ, MAP_SHARED, mapping->Descriptor(),
                      static_cast<off_t>(offset));
    if (view == MAP_FAILED) return Refuse<LPVOID>(FileErrorOf(errno), nullptr);
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

int64_t LiveViews() {
    Files& files = TheFiles();
    const std::lock_guard lock(files.mutex);
    return static_cast<int64_t>(files.views.size());
}

}  // namespace wpk::host
