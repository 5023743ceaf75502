// Addresses and host names.
// SPDX-License-Identifier: MIT
#include <arpa/inet.h>
#include <netinet/in.h>

#include <map>
#include <mutex>
#include <string>

#include "fake_platform/control.h"
#include "fake_platform/src/call.h"
#include "fake_platform/src/socket_table.h"
#include "fake_platform/src/system.h"

namespace wpk::host {
namespace {

struct Hosts {
    std::mutex mutex;
    std::map<std::string, std::string> addresses{{"localhost", "127.0.0.1"}};
};

Hosts& TheHosts() {
    static Hosts& hosts = *new Hosts;
    return hosts;
}

}  // namespace

void ResetHosts() {
    Hosts& hosts = TheHosts();
    const std::lock_guard lock(hosts.mutex);
    hosts.addresses = {{"localhost", "127.0.0.1"}};
}

void AddHost(std::string_view name, std::string_view dottedAddress) {
    Hosts& hosts = TheHosts();
    const std::lock_guard lock(hosts.mutex);
    hosts.addresses[std::string(name)] = dottedAddress;
}

}  // namespace wpk::host

using namespace wpk::host;

unsigned int wpk_host_inet_addr(const char* text) {
    in_addr address{};
    return inet_aton(text, &address) != 0 ? address.s_addr : 0xffffffffu;
}

unsigned short wpk_host_htons(unsigned short value) {
    return htons(value);
}

wpk_host_hostent* wpk_host_gethostbyname(const char* name) {
    const CallScope call(Call::kgethostbyname);
    if (call.Fails()) return nullptr;
    if (!InterfaceStarted()) {
        WSASetLastError(WSANOTINITIALISED);
        return nullptr;
    }
    // The answer belongs to the thread and lasts until its next question.
    thread_local in_addr address;
    thread_local char* addresses[] = {reinterpret_cast<char*>(&address), nullptr};
    thread_local char* noAliases[] = {nullptr};
    thread_local wpk_host_hostent answer{nullptr, noAliases, 2, 4, addresses};
    Hosts& hosts = TheHosts();
    const std::lock_guard lock(hosts.mutex);
    const auto found = hosts.addresses.find(name);
    const char* dotted = found == hosts.addresses.end() ? name : found->second.c_str();
    if (inet_aton(dotted, &address) != 0) return &answer;
    WSASetLastError(WSAHOST_NOT_FOUND);
    return nullptr;
}
