// The temporary file that a large reply is received into.
// SPDX-License-Identifier: MIT
#include "transport/spool_file.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

namespace wpk::core {

namespace {

constexpr int kFallbackNames = 1000;

/// Room after the directory for "tmp", an id, "_" and a number.
constexpr size_t kNameRoom = 32;

UniqueFile CreateNew(const char* name) {
    // Deleted by its last close, however that comes about: no path out of an exchange leaves a file behind, not even
    // the end of the process. A link that somebody has put in the way is a name that is taken: it is not followed.
    return UniqueFile(CreateFileA(
        name, GENERIC_READ | GENERIC_WRITE, /*dwShareMode=*/0,
        /*lpSecurityAttributes=*/nullptr, CREATE_NEW,
        FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN | FILE_FLAG_DELETE_ON_CLOSE | FILE_FLAG_OPEN_REPARSE_POINT,
        /*hTemplateFile=*/nullptr));
}

/// Each try may be slow, on a network drive above all: a connection that is given up ends them.
UniqueFile CreateUnderFreeName(const char* directory, uint32_t threadId, const Connection& connection) {
    const size_t size = std::strlen(directory) + kNameRoom;
    const std::unique_ptr<char[]> name(new (std::nothrow) char[size]);
    if (!name) return UniqueFile();

    const int base = std::snprintf(name.get(), size, "%stmp%ld", directory, static_cast<long>(threadId));
    UniqueFile file = CreateNew(name.get());
    for (int n = 1; !file && n <= kFallbackNames && !connection.GivenUp(); ++n) {
        std::snprintf(name.get() + base, size - static_cast<size_t>(base), "_%ld", static_cast<long>(n));
        file = CreateNew(name.get());
    }
    return file;
}

/// Written, not copied into the view: a disk that is full or gone fails the write, but would fault the copy.
bool Write(HANDLE file, std::string_view bytes) {
    if (bytes.empty()) return true;
    const auto size = static_cast<DWORD>(bytes.size());
    DWORD written = 0;
    return WriteFile(file, bytes.data(), size, &written, /*lpOverlapped=*/nullptr) && written == size;
}

bool SetSize(HANDLE file, uint32_t length) {
    // Lengths of 2 GiB and more would read as negative distances without their upper half.
    LONG upper = 0;
    const DWORD lower = SetFilePointer(file, static_cast<LONG>(length), &upper, FILE_BEGIN);
    return lower == length && upper == 0 && SetEndOfFile(file);
}

}  // namespace

bool SpoolFile::Create(const char* directory, uint32_t threadId, uint32_t length, std::string_view begun,
                       const Connection& connection) {
    file_ = CreateUnderFreeName(directory, threadId, connection);
    if (!file_) return false;
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    SetFileTime(file_.Get(), /*lpCreationTime=*/nullptr, /*lpLastAccessTime=*/nullptr, &now);
    if (!Write(file_.Get(), begun) || !SetSize(file_.Get(), length)) return false;

    mapping_.Reset(CreateFileMappingA(file_.Get(), /*lpFileMappingAttributes=*/nullptr, PAGE_READWRITE,
                                      /*dwMaximumSizeHigh=*/0, length, /*lpName=*/nullptr));
    if (!mapping_) return false;
    view_.Reset(MapViewOfFile(mapping_.Get(), FILE_MAP_WRITE, /*dwFileOffsetHigh=*/0, /*dwFileOffsetLow=*/0, length));
    return static_cast<bool>(view_);
}

}  // namespace wpk::core
