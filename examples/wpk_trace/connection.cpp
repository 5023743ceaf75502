// One connection: forwards both directions byte for byte and shows their content.
// SPDX-License-Identifier: MIT
#include "connection.h"

#include <array>
#include <atomic>
#include <exception>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

#include "message_view.h"

namespace wpk_trace {
namespace {

using common::Bytes;
using common::Socket;

constexpr std::size_t kReceivePiece = std::size_t{16} * 1024;

class Connection {
public:
    Connection(Socket client, Socket server, std::string name, const Options& options, Log& log)
        : client_(std::move(client)),
          server_(std::move(server)),
          name_(std::move(name)),
          request_(options.shown),
          reply_(options.shown),
          log_(log) {}

    /// The two directions are carried by two threads: a server may refuse a message while it is still being sent.
    void Carry() {
        std::thread replies([this] { Pass({server_, client_, reply_, " <", "the server"}); });
        Pass({client_, server_, request_, " >", "the client"});
        replies.join();
        log_.Write(name_, {"over: " + Bytes(request_.Length()) + " there, " + Bytes(reply_.Length()) + " back"});
    }

private:
    struct Way {
        Socket& from;
        Socket& to;
        MessageView& view;
        const char* sign;
        const char* sender;
    };

    void Pass(const Way& way) noexcept {
        try {
            PassAll(way);
        } catch (const std::exception& error) {
            Lose(way, error.what());
        }
    }

    void PassAll(const Way& way) {
        std::array<char, kReceivePiece> piece;
        while (const std::size_t received = way.from.Receive(piece.data(), piece.size(), not_over_)) {
            const std::string_view bytes(piece.data(), received);
            log_.Write(name_ + way.sign, way.view.Feed(bytes));
            Send(way.to, bytes);
        }
        log_.Write(name_ + way.sign, way.view.End());
        way.to.EndSending();
        if (!over_) log_.Write(name_, {std::string(way.sender) + " sends no more"});
    }

    void Send(Socket& to, std::string_view bytes) const {
        while (!bytes.empty() && !over_) bytes.remove_prefix(to.SendSome(bytes, not_over_));
    }

    /// Both sides should see the same end as the relay.
    void Lose(const Way& way, const char* reason) noexcept {
        if (over_.exchange(true)) return;
        client_.MakeEndAReset();
        server_.MakeEndAReset();
        try {
            log_.Write(name_ + way.sign, way.view.End());
            log_.Write(name_, {"broken on the way from " + std::string(way.sender) + ": " + reason});
        } catch (const std::exception&) {
            return;  // No memory for a message.
        }
    }

    Socket client_;
    Socket server_;
    std::string name_;
    MessageView request_;
    MessageView reply_;
    Log& log_;
    std::atomic<bool> over_{false};
    const common::KeepWaiting not_over_ = [this] { return !over_; };
};

}  // namespace

void CarryConnection(Socket client, std::uint64_t number, const Options& options, Log& log) noexcept {
    try {
        const std::string name = "#" + std::to_string(number);
        const std::string target = options.target_host + ":" + std::to_string(options.target_port);
        log.Write(name, {"from " + client.Peer() + " to " + target});
        try {
            Socket server = Socket::Connect(options.target_host, options.target_port);
            Connection(std::move(client), std::move(server), name, options, log).Carry();
        } catch (const common::ConnectionLost& error) {
            log.Write(name, {target + " could not be reached: " + error.what(),
                             "(the client has reached this relay, so it sees a broken exchange, -7, and not -3)"});
        }
    } catch (const std::exception&) {
        return;  // No memory or thread for it; the sockets close.
    }
}

}  // namespace wpk_trace
