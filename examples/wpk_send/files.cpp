// The message's bytes in, the reply's bytes out: files and standard streams, never changed on the way.
// SPDX-License-Identifier: MIT
#include "files.h"

#include <fcntl.h>
#include <io.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace wpk_send {
namespace {

constexpr std::size_t kMaxMessage = 0xFFFFFFFF;
constexpr std::size_t kPiece = std::size_t{64} * 1024;

/// Standard streams stay open: other parts of the program use them too.
void CloseFile(std::FILE* file) {
    if (file != stdin && file != stdout) std::fclose(file);
}

using File = std::unique_ptr<std::FILE, void (*)(std::FILE*)>;

std::string Shown(const std::string& name, const char* standard) {
    return name.empty() ? standard : name;
}

File Open(const std::string& name, const char* mode, std::FILE* standard) {
    File file(name.empty() ? standard : std::fopen(name.c_str(), mode), CloseFile);
    if (!file) throw std::runtime_error("cannot open " + name + ": " + std::strerror(errno));
    // Standard streams translate line ends unless set to binary mode.
    if (name.empty()) _setmode(_fileno(file.get()), _O_BINARY);
    return file;
}

}  // namespace

std::string ReadAll(const std::string& name) {
    const File file = Open(name, "rb", stdin);
    std::string bytes;
    std::array<char, kPiece> piece;
    while (const std::size_t count = std::fread(piece.data(), 1, piece.size(), file.get())) {
        bytes.append(piece.data(), count);
        if (bytes.size() > kMaxMessage) {
            throw std::runtime_error("the message is too long; 4294967295 bytes are the most");
        }
    }
    if (std::ferror(file.get()) != 0) {
        throw std::runtime_error("cannot read the message from " + Shown(name, "standard input") + ": " +
                                 std::strerror(errno));
    }
    return bytes;
}

void WriteAll(const std::string& name, const void* data, std::size_t length) {
    const File file = Open(name, "wb", stdout);
    bool written = length == 0 || std::fwrite(data, 1, length, file.get()) == length;
    // Most errors occur only when the buffers are flushed.
    written = written && std::fflush(file.get()) == 0;
    if (written) return;
    throw std::runtime_error("cannot write the reply to " + Shown(name, "standard output") + ": " +
                             std::strerror(errno));
}

}  // namespace wpk_send
