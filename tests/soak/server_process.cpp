// The sample server as a process of its own, which can be ended at any moment and started again.
// SPDX-License-Identifier: MIT
#include "soak/server_process.h"

#include "support/dll/process.h"

#include <cstdlib>
#include <string>
#include <vector>

namespace wpk::soak {
namespace {

/// Ends its processes when this one ends, however that comes about.
HANDLE Leash() {
    static const HANDLE leash = [] {
        const HANDLE job = CreateJobObjectA(nullptr, nullptr);
        JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits = {};
        limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
        if (!job || !SetInformationJobObject(job, JobObjectExtendedLimitInformation, &limits, sizeof limits)) {
            harness::Die("no job object for the servers");
        }
        return job;
    }();
    return leash;
}

std::string ReadLine(HANDLE pipe) {
    std::string line;
    char byte = 0;
    DWORD count = 0;
    while (ReadFile(pipe, &byte, 1, &count, nullptr) && count == 1 && byte != '\n') line.push_back(byte);
    return line;
}

/// Where all servers write what they have to say of errors: in the current folder.
HANDLE OpenErrors() {
    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, /*bInheritHandle=*/TRUE};
    const HANDLE errors = CreateFileA("server_errors.txt", FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                      &inherited, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (errors == INVALID_HANDLE_VALUE) harness::Die("no file for the servers' errors");
    return errors;
}

/// A list that lets a new process inherit these handles alone. Sockets are inherited too otherwise: the connections
/// that are under way would stay open in the server when both their ends have closed them.
class OnlyInherited {
public:
    OnlyInherited(HANDLE one, HANDLE other) : handles_{one, other} {
        SIZE_T size = 0;
        InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
        bytes_.resize(size);
        if (!InitializeProcThreadAttributeList(List(), 1, 0, &size) ||
            !UpdateProcThreadAttribute(List(), 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, handles_, sizeof handles_, nullptr,
                                       nullptr)) {
            harness::Die("no list of inherited handles");
        }
    }
    ~OnlyInherited() { DeleteProcThreadAttributeList(List()); }
    OnlyInherited(const OnlyInherited&) = delete;
    OnlyInherited& operator=(const OnlyInherited&) = delete;

    LPPROC_THREAD_ATTRIBUTE_LIST List() { return reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(bytes_.data()); }

private:
    HANDLE handles_[2];
    std::vector<char> bytes_;
};

/// The process, with its standard output going to the pipe.
HANDLE Launch(HANDLE output, HANDLE errors) {
    const std::string program = harness::ProgramFolder() + "message_server.exe";
    // A machine under full load may be slow, but must not seem dead to the server.
    const std::string command = "\"" + program + "\" --port 0 --timeout 600";
    OnlyInherited inherited(output, errors);
    STARTUPINFOEXA startup = {};
    startup.StartupInfo.cb = sizeof startup;
    startup.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
    startup.StartupInfo.hStdOutput = output;
    startup.StartupInfo.hStdError = errors;
    startup.lpAttributeList = inherited.List();
    PROCESS_INFORMATION started = {};
    if (!harness::StartProcess(program, command, EXTENDED_STARTUPINFO_PRESENT, startup.StartupInfo, started)) {
        harness::Die("cannot start " + program);
    }
    CloseHandle(started.hThread);
    AssignProcessToJobObject(Leash(), started.hProcess);
    return started.hProcess;
}

unsigned short PortIn(const std::string& line) {
    const size_t colon = line.rfind(':');
    const unsigned long port = colon == std::string::npos ? 0 : std::strtoul(line.c_str() + colon + 1, nullptr, 10);
    if (port == 0 || port > 0xFFFF) harness::Die("the sample server names no port: \"" + line + "\"");
    return static_cast<unsigned short>(port);
}

}  // namespace

ServerProcess::ServerProcess() {
    Start();
}

ServerProcess::~ServerProcess() {
    Kill();
}

void ServerProcess::Start() {
    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, /*bInheritHandle=*/TRUE};
    HANDLE read = nullptr;
    HANDLE write = nullptr;
    if (!CreatePipe(&read, &write, &inherited, 0)) harness::Die("no pipe");
    SetHandleInformation(read, HANDLE_FLAG_INHERIT, 0);
    const HANDLE errors = OpenErrors();
    process_ = Launch(write, errors);
    CloseHandle(errors);
    CloseHandle(write);
    const unsigned short port = PortIn(ReadLine(read));
    CloseHandle(read);
    monitor_.Update([&] {
        now_.port = port;
        now_.up = true;
    });
}

void ServerProcess::Kill() {
    NoteOwnEnd();
    // Before the deed: who looks between the two must not take the server for a sound one.
    monitor_.Update([this] {
        ++now_.ends;
        now_.up = false;
    });
    TerminateProcess(process_, 1);
    WaitForSingleObject(process_, harness::kPatience);
    CloseHandle(process_);
}

ServerProcess::Snapshot ServerProcess::Look() {
    return monitor_.Update([this] { return now_; });
}

bool ServerProcess::TroubledSince(const Snapshot& snapshot) {
    return !snapshot.up || Ends() != snapshot.ends;
}

std::string ServerProcess::OwnEnd() {
    NoteOwnEnd();
    return ownEnd_;
}

void ServerProcess::NoteOwnEnd() {
    DWORD status = 0;
    if (!Look().up || WaitForSingleObject(process_, 0) != WAIT_OBJECT_0) return;
    GetExitCodeProcess(process_, &status);
    ownEnd_ = "a server has ended by itself, with exit status " + std::to_string(status);
}

unsigned int ServerProcess::Ends() {
    return monitor_.Update([this] { return now_.ends; });
}

}  // namespace wpk::soak
