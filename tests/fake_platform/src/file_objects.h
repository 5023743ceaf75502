// Files, mappings and views, and what is open of each file.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_FAKE_PLATFORM_SRC_FILE_OBJECTS_H
#define WPK_TESTS_FAKE_PLATFORM_SRC_FILE_OBJECTS_H

#include <cstdint>
#include <memory>
#include <utility>

#include "fake_platform/src/object.h"
#include "windows.h"

namespace wpk::host {

struct Openings;

class File : public Object {
public:
    /// With the mutex of the files held.
    File(int descriptor, DWORD access, DWORD share, std::shared_ptr<Openings> openings);
    ~File() override;

    int Descriptor() const { return descriptor_; }
    bool Has(DWORD access) const { return (mode_.first & access) == access; }
    const std::shared_ptr<Openings>& GetOpenings() const { return openings_; }
    int64_t Size() const;
    /// The new position, or -1.
    int64_t Seek(int64_t distance, DWORD method) const;

protected:
    void LastHandleClosed() override;

private:
    const int descriptor_;
    const std::pair<DWORD, DWORD> mode_;
    const std::shared_ptr<Openings> openings_;
};

class Mapping : public Object {
public:
    Mapping(const File& file, uint64_t size, bool writable);
    ~Mapping() override;

    int Descriptor() const { return descriptor_; }
    uint64_t Size() const { return size_; }
    bool Writable() const { return writable_; }

private:
    const int descriptor_;
    const uint64_t size_;
    const bool writable_;
    const std::shared_ptr<Openings> openings_;
};

// All set the last error when they fail.

HANDLE OpenFile(const char* name, DWORD access, DWORD share, DWORD disposition, DWORD flags);
BOOL RemoveFile(const char* name);
/// A mapping may be larger than its file, which then grows.
HANDLE MapFile(const File& file, DWORD protection, uint64_t size);
LPVOID ViewMapping(std::shared_ptr<Mapping> mapping, DWORD access, uint64_t offset, size_t size);
BOOL Unmap(const void* view);
int64_t LiveViews();

/// The Windows code of an errno.
DWORD FileErrorOf(int error);

template <class Result>
Result Refuse(DWORD error, Result result) {
    SetLastError(error);
    return result;
}

}  // namespace wpk::host

#endif  // WPK_TESTS_FAKE_PLATFORM_SRC_FILE_OBJECTS_H
