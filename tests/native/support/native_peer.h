// A scripted TCP peer inside the test, on the system's own sockets.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_NATIVE_SUPPORT_NATIVE_PEER_H
#define WPK_TESTS_NATIVE_SUPPORT_NATIVE_PEER_H

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <thread>

namespace wpk::host {

/// Listens on a port of the system's choice and runs the script for one connection after another, or for all of them
/// at once, until it is destroyed; connections still open are cut then.
class NativePeer {
public:
    class Connection {
    public:
        explicit Connection(int descriptor) : descriptor_(descriptor) {}
        Connection(const Connection&) = delete;
        Connection& operator=(const Connection&) = delete;

        /// The next `size` bytes; fewer when the other side closes before.
        std::string Read(size_t size);
        /// The head and the body of one request, as far as they come.
        std::string ReadRequest();
        /// False when the other side has gone.
        bool Write(std::string_view bytes);
        void AwaitClose();

    private:
        friend class NativePeer;
        /// Ends the connection so that everything written still arrives.
        void Finish();

        const int descriptor_;
        std::string ahead_;
    };
    using Script = std::function<void(Connection&)>;
    enum class Serve { kInTurn, kAtOnce };

    explicit NativePeer(Script script, Serve serve = Serve::kInTurn);
    NativePeer(const NativePeer&) = delete;
    NativePeer& operator=(const NativePeer&) = delete;
    ~NativePeer();

    uint16_t Port() const { return port_; }
    /// Connections accepted so far.
    int Accepted() const { return accepted_; }
    /// Waits until the script has run to its end for a connection.
    void AwaitServed();

private:
    void Listen();
    void ServeOne(int descriptor);
    void Open(int descriptor);
    void Close(int descriptor);

    const Script script_;
    const Serve serve_;
    int listener_;
    uint16_t port_ = 0;
    std::atomic<int> accepted_{0};
    std::mutex mutex_;
    std::condition_variable changed_;
    std::set<int> open_;
    bool served_ = false;
    bool stopping_ = false;
    std::thread thread_;
};

/// A reply with the library's own server name.
std::string ReplyBytes(std::string_view body, std::string_view status = "200 OK");

}  // namespace wpk::host

#endif  // WPK_TESTS_NATIVE_SUPPORT_NATIVE_PEER_H
