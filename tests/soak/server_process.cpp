// The sample server as a process of its own, which can be ended at any moment and started again.
// SPDX-License-Identifier: MIT
#include "soak/server_process.h"

#include "interface/rig/process.h"

#include <cstdlib>
#include <string>
#include <vector>

namespace wpk::soak {
namespace {

// Ends its processes when this one ends, however that comes about.
HANDLE Leash() {
    static const HANDLE leash = [] {
        const HANDLE job = CreateJobObjectA(nullptr, nullptr);
        JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits = {};
        limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
        if (!job || !SetInformationJobObject(job, JobObjectExtendedLimitInformation, &limits, sizeof limits)) {
            rig::Die("no job object for the servers");
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

// A list that lets a new process inherit this one handle. Sockets are inherited too otherwise: the connections that
// are under way would stay open in the server when both their ends have closed them.
class OnlyInherited {
public:
    explicit OnlyInherited(HANDLE handle) : handle_(handle) {
        SIZE_T size = 0;
        InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
        bytes_.resize(size);
        if (!InitializeProcThreadAttributeList(List(), 1, 0, &size) ||
            !UpdateProcThreadAttribute(List(), 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, &handle_, sizeof handle_, nullptr,
                                       nullptr)) {
            rig::Die("no list of inherited handles");
        }
    }
    ~OnlyInherited() { DeleteProcThreadAttributeList(List()); }
    OnlyInherited(const OnlyInherited&) = delete;
    OnlyInherited& operator=(const OnlyInherited&) = delete;

    LPPROC_THREAD_ATTRIBUTE_LIST List() { return reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(bytes_.data()); }

private:
    HANDLE handle_;
    std::vector<char> bytes_;
};

// The process, with its standard output and errors going to the pipe.
HANDLE Launch(HANDLE output) {
    const std::string program = rig::ProgramFolder() + "message_server.exe";
    // A machine under full load may be slow, but must not seem dead to the server.
    std::string command = "\"" + program + "\" --port 0 --timeout 600";
    OnlyInherited inherited(output);
    STARTUPINFOEXA startup = {};
    startup.StartupInfo.cb = sizeof startup;
    startup.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
    startup.StartupInfo.hStdOutput = output;
    startup.StartupInfo.hStdError = output;
    startup.lpAttributeList = inherited.List();
    PROCESS_INFORMATION started = {};
    // Wine, when it is very busy, now and then cannot start a process, and can a moment later.
    constexpr int kTries = 40;
    constexpr DWORD kPauseMs = 250;
    for (int i = 0; !CreateProcessA(program.c_str(), command.data(), nullptr, nullptr, /*bInheritHandles=*/TRUE,
                                    EXTENDED_STARTUPINFO_PRESENT, nullptr, nullptr, &startup.StartupInfo, &started);
         ++i) {
        if (i == kTries) rig::Die("cannot start " + program);
        Sleep(kPauseMs);
    }
    CloseHandle(started.hThread);
    AssignProcessToJobObject(Leash(), started.hProcess);
    return started.hProcess;
}

unsigned short PortIn(const std::string& line) {
    const size_t colon = line.rfind(':');
    const unsigned long port = colon == std::string::npos ? 0 : std::strtoul(line.c_str() + colon + 1, nullptr, 10);
    if (port == 0 || port > 0xFFFF) rig::Die("the sample server names no port: \"" + line + "\"");
    return static_cast<unsigned short>(port);
}

}  // namespace

ServerProcess::ServerProcess() : knocker_([this] { Knock(); }) {
    Start();
}

ServerProcess::~ServerProcess() {
    over_.Set();
    knocker_.Join();
    Kill();
}

// Wine, when it is very busy, now and then forgets to wake a server that waits for connections; the next one wakes it.
void ServerProcess::Knock() {
    constexpr DWORD kKnockMs = 1000;
    while (!over_.Wait(kKnockMs)) {
        const Sight sight = Look();
        if (!sight.up) continue;
        const SOCKET caller = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_port = htons(sight.port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        connect(caller, reinterpret_cast<const sockaddr*>(&address), sizeof address);
        closesocket(caller);
    }
}

void ServerProcess::Start() {
    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, /*bInheritHandle=*/TRUE};
    HANDLE read = nullptr;
    HANDLE write = nullptr;
    if (!CreatePipe(&read, &write, &inherited, 0)) rig::Die("no pipe");
    SetHandleInformation(read, HANDLE_FLAG_INHERIT, 0);
    process_ = Launch(write);
    CloseHandle(write);
    const unsigned short port = PortIn(ReadLine(read));
    CloseHandle(read);
    monitor_.Update([&] {
        now_.port = port;
        now_.up = true;
    });
}

void ServerProcess::Kill() {
    // Before the deed: who looks between the two must not take the server for a sound one.
    monitor_.Update([this] {
        ++now_.ends;
        now_.up = false;
    });
    TerminateProcess(process_, 1);
    WaitForSingleObject(process_, rig::kPatience);
    CloseHandle(process_);
}

ServerProcess::Sight ServerProcess::Look() {
    return monitor_.Update([this] { return now_; });
}

bool ServerProcess::TroubledSince(const Sight& sight) {
    return !sight.up || Ends() != sight.ends;
}

unsigned int ServerProcess::Ends() {
    return monitor_.Update([this] { return now_.ends; });
}

}  // namespace wpk::soak
