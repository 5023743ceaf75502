// A scripted peer: a listener on a loopback port chosen by the system, whose connections a script answers.
// SPDX-License-Identifier: MIT
#ifndef WPK_TESTS_SUPPORT_DLL_PEER_H
#define WPK_TESTS_SUPPORT_DLL_PEER_H

#include "support/dll/platform.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace wpk::harness {

class Peer;

/// One accepted connection, on a thread of the peer's. Every wait ends after kPatience.
class Connection {
public:
    Connection(Peer& peer, SOCKET socket, size_t index);
    /// Ends the stream properly: says that no more comes, reads what is still sent, closes.
    ~Connection();
    /// For scripts that keep connections beyond their own end.
    Connection(Connection&& other) noexcept;
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    /// How many connections the peer had accepted before this one.
    size_t Index() const { return index_; }

    /// Reads one whole request, head and announced body, and notes it with the peer.
    std::string ReadRequest();
    /// Reads exactly that many bytes; fewer when the stream ends.
    std::string ReadBytes(size_t count);

    /// False once the other side has gone.
    bool Send(std::string_view bytes);
    /// Every piece in a segment of its own.
    bool SendInPieces(std::string_view bytes, size_t piece);

    /// Reads until the other side closes or resets the connection; false when it stays.
    bool WaitForEnd(DWORD patience = kPatience);

    /// Closes without a word (the other side reads the end of the stream).
    void Close();
    /// Closes with a reset (the other side's next call fails).
    void Reset();

private:
    /// As recv, with an end to its wait.
    int Receive(char* buffer, size_t size, DWORD patience = kPatience);

    Peer& peer_;
    SOCKET socket_;
    size_t index_;
};

/// The listener. Its destructor stops accepting and waits for the scripts under way.
class Peer {
public:
    using Script = std::function<void(Connection&)>;

    /// `script` runs for every connection, on up to `threads` connections at a time.
    /// `port` is for peers that others must know beforehand; 0 lets the system choose.
    explicit Peer(Script script, int threads = 1, unsigned short port = 0);
    ~Peer();
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    unsigned short Port() const { return port_; }
    size_t Connections();
    /// Waits until no connection is being served: the peer's own sockets are then closed.
    bool WaitUntilIdle();
    /// For peers that serve for hours: what is read from now on is not noted.
    void KeepNoRequests();
    /// The requests that have been read whole, in the order of their reading.
    std::vector<std::string> Requests();
    /// Waits for the request of that number; empty when it does not come.
    std::string WaitForRequest(size_t number = 0);

private:
    friend class Connection;

    void Serve();
    SOCKET Accept();
    void NoteRequest(const std::string& request);

    Script script_;
    unsigned short port_ = 0;  // before the listener, which fills it
    SOCKET listener_;
    Monitor accepting_;
    Monitor monitor_;  // of what follows
    bool stopping_ = false;
    bool keepRequests_ = true;
    size_t connections_ = 0;
    size_t ended_ = 0;
    std::vector<std::string> requests_;
    std::vector<Thread> threads_;
};

/// The script that reads one request and answers these bytes.
Peer::Script Answer(std::string bytes);
/// The same, one byte a segment.
Peer::Script AnswerByteByByte(std::string bytes);

/// A listener that never accepts and whose queue is full: a connect to it stays pending.
class FullListener {
public:
    FullListener();
    ~FullListener();
    FullListener(const FullListener&) = delete;
    FullListener& operator=(const FullListener&) = delete;

    unsigned short Port() const { return port_; }

private:
    unsigned short port_ = 0;  // before the listener, which fills it
    SOCKET listener_;
    std::vector<SOCKET> waiting_;
};

/// A port of loopback on which nobody listens.
unsigned short DeadPort();

}  // namespace wpk::harness

#endif  // WPK_TESTS_SUPPORT_DLL_PEER_H
