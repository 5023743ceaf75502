// The built wpk.dll as a file: what it imports and exports, how it was linked, what it says of itself.
// SPDX-License-Identifier: MIT
#include "support/dll/process.h"

#include <gtest/gtest.h>

#include <winver.h>

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace wpk::harness {
namespace {

/// The documented names, and nothing else.
const std::set<std::string> kExports = {"WPK_Cancel", "WPK_Init", "WPK_Send", "WRAPPER_RasEnumConnections",
                                        "WRAPPER_RasGetConnectStatus"};

/// All that is imported: modules that every 64-bit Windows has, and calls that Windows 6.0 has already. No compiler's
/// run-time library is among the modules, though its own calls are among those of kernel32.dll and msvcrt.dll. Before a
/// name is added here, it has to be looked up that the oldest Windows knows it.
const std::map<std::string, std::set<std::string>> kImports = {
    {"advapi32.dll",
     {"DeregisterEventSource", "GetUserNameA", "RegCloseKey", "RegCreateKeyA", "RegQueryValueExA",
      "RegisterEventSourceA", "ReportEventA"}},
    {"kernel32.dll",
     {"CloseHandle",
      "CreateEventA",
      "CreateFileA",
      "CreateFileMappingA",
      "CreateSemaphoreA",
      "DeleteCriticalSection",
      "EnterCriticalSection",
      "FreeLibrary",
      "GetCurrentThreadId",
      "GetLastError",
      "GetModuleHandleExA",
      "GetModuleHandleW",
      "GetProcAddress",
      "GetSystemDirectoryA",
      "GetSystemTimeAsFileTime",
      "GetTempPathA",
      "GetTickCount64",
      "GetVersion",
      "GetWindowsDirectoryA",
      "InitializeCriticalSection",
      "IsDBCSLeadByteEx",
      "LeaveCriticalSection",
      "LoadLibraryA",
      "LoadLibraryW",
      "MapViewOfFile",
      "MultiByteToWideChar",
      "OpenThread",
      "RaiseException",
      "ReleaseSemaphore",
      "ResumeThread",
      "RtlCaptureContext",
      "RtlLookupFunctionEntry",
      "RtlUnwindEx",
      "RtlVirtualUnwind",
      "SetEndOfFile",
      "SetEvent",
      "SetFilePointer",
      "SetFileTime",
      "SetHandleInformation",
      "SetLastError",
      "Sleep",
      "SuspendThread",
      "TerminateThread",
      "TlsGetValue",
      "UnmapViewOfFile",
      "VirtualProtect",
      "VirtualQuery",
      "WaitForMultipleObjects",
      "WaitForSingleObject",
      "WideCharToMultiByte",
      "WriteFile"}},
    {"msvcrt.dll",
     {"___lc_codepage_func",
      "___mb_cur_max_func",
      "__iob_func",
      "_amsg_exit",
      "_beginthreadex",
      "_close",
      "_errno",
      "_initterm",
      "_lock",
      "_read",
      "_unlock",
      "abort",
      "calloc",
      "fputc",
      "fputs",
      "free",
      "fwrite",
      "localeconv",
      "malloc",
      "memchr",
      "memcmp",
      "memcpy",
      "memmove",
      "memset",
      "realloc",
      "strcmp",
      "strerror",
      "strlen",
      "strncmp",
      "vfprintf",
      "wcslen"}},
    {"ws2_32.dll",
     {"WSACleanup", "WSAGetLastError", "WSAStartup", "closesocket", "connect", "gethostbyname", "htons", "inet_addr",
      "ioctlsocket", "recv", "select", "send", "setsockopt", "socket"}},
};

/// Calls with which a library would print, or end its host. The run-time library's own panic needs some of them; the
/// console is not to be touched by any.
const std::set<std::string> kForbidden = {"AllocConsole", "AttachConsole", "WriteConsoleA", "WriteConsoleW",
                                          "MessageBoxA",  "MessageBoxW",   "FatalAppExitA", "ExitProcess"};

/// A portable-executable file in memory.
class Image {
public:
    explicit Image(const std::string& path) {
        std::ifstream file(path, std::ios::binary);
        bytes_.assign(std::istreambuf_iterator<char>(file), {});
    }

    bool Valid() const {
        return bytes_.size() > 4096 && At<IMAGE_DOS_HEADER>(0).e_magic == IMAGE_DOS_SIGNATURE &&
               Headers().Signature == IMAGE_NT_SIGNATURE &&
               Headers().OptionalHeader.Magic == IMAGE_NT_OPTIONAL_HDR64_MAGIC;
    }

    IMAGE_NT_HEADERS64 Headers() const {
        return At<IMAGE_NT_HEADERS64>(static_cast<size_t>(At<IMAGE_DOS_HEADER>(0).e_lfanew));
    }

    struct Import {
        std::string module;
        std::set<std::string> names;
    };

    std::vector<Import> Imports() const {
        std::vector<Import> imports;
        size_t place = Offset(Directory(IMAGE_DIRECTORY_ENTRY_IMPORT));
        for (;; place += sizeof(IMAGE_IMPORT_DESCRIPTOR)) {
            const auto from = At<IMAGE_IMPORT_DESCRIPTOR>(place);
            if (from.Name == 0) return imports;
            imports.push_back({Lower(Text(from.Name)), Names(from.FirstThunk)});
        }
    }

    std::set<std::string> Exports() const {
        const auto directory = At<IMAGE_EXPORT_DIRECTORY>(Offset(Directory(IMAGE_DIRECTORY_ENTRY_EXPORT)));
        std::set<std::string> names;
        for (size_t i = 0; i < directory.NumberOfNames; ++i) {
            names.insert(Text(At<DWORD>(Offset(directory.AddressOfNames) + i * sizeof(DWORD))));
        }
        EXPECT_EQ(directory.NumberOfFunctions, directory.NumberOfNames) << "exports without a name";
        return names;
    }

private:
    template <class Type>
    Type At(size_t offset) const {
        Type value = {};
        if (offset + sizeof value <= bytes_.size()) std::memcpy(&value, bytes_.data() + offset, sizeof value);
        return value;
    }

    DWORD Directory(int number) const { return Headers().OptionalHeader.DataDirectory[number].VirtualAddress; }

    size_t Offset(DWORD address) const {
        const size_t headers = static_cast<size_t>(At<IMAGE_DOS_HEADER>(0).e_lfanew);
        const size_t sections =
            headers + offsetof(IMAGE_NT_HEADERS64, OptionalHeader) + Headers().FileHeader.SizeOfOptionalHeader;
        for (size_t i = 0; i < Headers().FileHeader.NumberOfSections; ++i) {
            const auto section = At<IMAGE_SECTION_HEADER>(sections + i * sizeof(IMAGE_SECTION_HEADER));
            if (address >= section.VirtualAddress && address < section.VirtualAddress + section.SizeOfRawData) {
                return address - section.VirtualAddress + section.PointerToRawData;
            }
        }
        return bytes_.size();
    }

    std::string Text(DWORD address) const {
        const size_t begin = Offset(address);
        return bytes_.substr(std::min(begin, bytes_.size()), bytes_.find('\0', begin) - begin);
    }

    std::set<std::string> Names(DWORD thunks) const {
        std::set<std::string> names;
        for (size_t place = Offset(thunks); At<ULONGLONG>(place) != 0; place += sizeof(ULONGLONG)) {
            const ULONGLONG thunk = At<ULONGLONG>(place);
            if (!(thunk & IMAGE_ORDINAL_FLAG64)) names.insert(Text(static_cast<DWORD>(thunk) + sizeof(WORD)));
        }
        return names;
    }

    static std::string Lower(std::string text) {
        std::transform(text.begin(), text.end(), text.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        return text;
    }

    std::string bytes_;
};

const Image& TheImage() {
    static const Image image(ProgramFolder() + "wpk.dll");
    return image;
}

TEST(Image, IsALibraryFor64BitWindows) {
    ASSERT_TRUE(TheImage().Valid());
    EXPECT_EQ(TheImage().Headers().FileHeader.Machine, IMAGE_FILE_MACHINE_AMD64);
    EXPECT_TRUE(TheImage().Headers().FileHeader.Characteristics & IMAGE_FILE_DLL);
}

TEST(Image, ExportsExactlyTheDocumentedNames) {
    EXPECT_EQ(TheImage().Exports(), kExports);
}

TEST(Image, ImportsOnlyWhatTheOldestWindowsHas) {
    const std::vector<Image::Import> imports = TheImage().Imports();
    ASSERT_FALSE(imports.empty());
    for (const Image::Import& import : imports) {
        const auto known = kImports.find(import.module);
        ASSERT_NE(known, kImports.end()) << import.module << " is no module that is imported from";
        EXPECT_FALSE(import.names.empty()) << import.module;
        for (const std::string& name : import.names) {
            EXPECT_TRUE(known->second.count(name)) << import.module << ": " << name;
        }
    }
}

TEST(Image, SaysThatItsOldestWindowsIs6Point0) {
    const IMAGE_OPTIONAL_HEADER64 header = TheImage().Headers().OptionalHeader;
    EXPECT_EQ(header.MajorSubsystemVersion, 6);
    EXPECT_EQ(header.MinorSubsystemVersion, 0);
    EXPECT_EQ(header.MajorOperatingSystemVersion, 6);
    EXPECT_EQ(header.MinorOperatingSystemVersion, 0);
}

TEST(Image, ImportsNothingThatTalksToTheUserOrEndsTheProcess) {
    for (const Image::Import& import : TheImage().Imports()) {
        for (const std::string& name : import.names) EXPECT_FALSE(kForbidden.count(name)) << name;
    }
}

TEST(Image, IsLinkedWithAddressRandomisationAndDataExecutionPrevention) {
    const WORD flags = TheImage().Headers().OptionalHeader.DllCharacteristics;
    EXPECT_TRUE(flags & IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE);
    EXPECT_TRUE(flags & IMAGE_DLLCHARACTERISTICS_HIGH_ENTROPY_VA);
    EXPECT_TRUE(flags & IMAGE_DLLCHARACTERISTICS_NX_COMPAT);
    // Without relocations the loader could not move it, whatever the flags say.
    EXPECT_FALSE(TheImage().Headers().FileHeader.Characteristics & IMAGE_FILE_RELOCS_STRIPPED);
    EXPECT_NE(TheImage().Headers().OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_BASERELOC].Size, 0u);
}

TEST(Image, CarriesItsVersion) {
    const std::string path = ProgramFolder() + "wpk.dll";
    std::vector<char> version(GetFileVersionInfoSizeA(path.c_str(), nullptr));
    ASSERT_FALSE(version.empty()) << "no version resource";
    ASSERT_TRUE(GetFileVersionInfoA(path.c_str(), 0, static_cast<DWORD>(version.size()), version.data()));
    void* value = nullptr;
    UINT size = 0;
    ASSERT_TRUE(VerQueryValueA(version.data(), "\\", &value, &size));
    EXPECT_EQ(static_cast<const VS_FIXEDFILEINFO*>(value)->dwFileType, static_cast<DWORD>(VFT_DLL));
    EXPECT_NE(static_cast<const VS_FIXEDFILEINFO*>(value)->dwFileVersionMS, 0u);
    ASSERT_TRUE(VerQueryValueA(version.data(), "\\StringFileInfo\\040904E4\\OriginalFilename", &value, &size));
    EXPECT_STREQ(static_cast<const char*>(value), "wpk.dll");
}

}  // namespace
}  // namespace wpk::harness
