// Fuzz target: whole exchanges over a scripted network, compared with what their script must come to.
// SPDX-License-Identifier: MIT
#include <dirent.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

#include "fuzz/exchange/model.h"
#include "fuzz/exchange/script.h"
#include "fuzz/exchange/scripted_network.h"
#include "host/control.h"
#include "transport/exchange.h"

namespace wpk::fuzz {

using namespace core;

namespace {

constexpr uint32_t kLongestInMemory = 10240;

/// Where replies are spooled; goes with the program.
class SpoolFolder {
public:
    SpoolFolder() {
        std::string name = "/tmp/wpk-fuzz-XXXXXX";
        Require(mkdtemp(name.data()) != nullptr, "a temporary folder can be made");
        path_ = name + "/";
    }
    ~SpoolFolder() { rmdir(path_.c_str()); }

    const std::string& Path() const { return path_; }
    int Files() const {
        DIR* folder = opendir(path_.c_str());
        Require(folder != nullptr, "the temporary folder stays");
        int files = 0;
        while (const dirent* entry = readdir(folder)) files += entry->d_name[0] != '.' ? 1 : 0;
        closedir(folder);
        return files;
    }

private:
    std::string path_;
};

const SpoolFolder spool_folder;

/// Gets the notifications of one exchange and checks each as it comes.
class Application {
public:
    Application(const Script& script, const Expectation& expected, std::function<void()> cancel)
        : script_(script), expected_(expected), cancel_(std::move(cancel)) {}

    static void Notify(WPK_CALLBACKSTRUCT* notification) {
        static_cast<Application*>(notification->lpUserData)->Take(*notification);
    }

    /// Whether it has cancelled the request before all of a reply had come.
    bool Cancelled() const { return cancelled_; }

    void CheckAllCame() const {
        Require(ended_, "an exchange ends with a final notification");
        Require(questions_ == expected_.questions.size(), "every question is asked");
    }

private:
    void Take(WPK_CALLBACKSTRUCT& notification) {
        Require(!ended_, "nothing follows a final notification");
        switch (notification.nReason) {
            case WPK_REASON_FAILURE:
                return Fail(notification.body.failure.nError);
            case WPK_REASON_PROGRESS:
                return Progress(notification.body.progress);
            case WPK_REASON_REPLY:
                return Reply(notification.body.reply);
            case WPK_REASON_CREDENTIALS:
                return Answer(notification.body.credentials);
            default:
                Require(false, "an exchange knows four kinds of notification");
        }
    }

    void Fail(int error) {
        ended_ = true;
        Require(error == (cancelled_ ? WPK_ERROR_CANCELLED : expected_.error) && error != 0,
                "the failure is the one that the peers have caused");
    }

    template <class Body>
    void Progress(const Body& progress) {
        Require(expected_.accepted, "progress is told of good replies alone");
        Require(progress.nError == 0 && progress.nWord == 1, "progress comes with its fixed words");
        Require(progress.dwReceived > received_ && progress.dwReceived <= progress.dwTotal, "progress goes forward");
        Require(received_ == 0 || (progress.lpData == data_ && progress.dwTotal == total_), "one reply, in one place");
        data_ = progress.lpData;
        total_ = progress.dwTotal;
        CheckBytes(received_, progress.dwReceived);
        if (received_ == 0 && script_.cancels_in_progress) {
            cancel_();
            cancelled_ = progress.dwReceived < progress.dwTotal;
        }
        received_ = progress.dwReceived;
    }

    template <class Body>
    void Reply(const Body& reply) {
        ended_ = true;
        Require(expected_.error == 0 && !cancelled_, "a reply is delivered only where there is one");
        const size_t length = expected_.body.size();
        Require(reply.nError == 0 && reply.dwDataLength == length, "a reply has the length announced");
        Require((reply.lpData == nullptr) == (length == 0), "only an empty reply has no bytes");
        Require(received_ == length && reply.lpData == data_, "a reply has been told piece by piece");
        Require(spool_folder.Files() == (length > kLongestInMemory ? 1 : 0), "only a large reply is in a file");
        CheckBytes(0, reply.dwDataLength);
    }

    template <class Body>
    void Answer(Body& question) {
        Require(questions_ < expected_.questions.size(), "no question is asked that the proxy has not");
        const Login& shown = expected_.questions[questions_];
        Require(question.szUser == shown.user && question.szPassword == shown.password && question.bRetry == 0,
                "a question shows the credentials last used");
        if (questions_ < script_.answers.size()) {
            const Login& answer = script_.answers[questions_];
            // A text as long as its field leaves no room for a zero.
            std::strncpy(question.szUser, answer.user.c_str(), sizeof question.szUser);
            std::strncpy(question.szPassword, answer.password.c_str(), sizeof question.szPassword);
            question.bRetry = 1;
        }
        ++questions_;
        if (script_.cancels_in_question) cancel_();
    }

    void CheckBytes(uint32_t from, uint32_t to) const {
        if (from == to) return;
        Require(to <= expected_.body.size() &&
                    std::memcmp(static_cast<const char*>(data_) + from, expected_.body.data() + from, to - from) == 0,
                "the bytes are those that the peer has sent");
    }

    const Script& script_;
    const Expectation& expected_;
    const std::function<void()> cancel_;
    bool cancelled_ = false;
    bool ended_ = false;
    size_t questions_ = 0;
    uint32_t received_ = 0;
    uint32_t total_ = 0;
    const void* data_ = nullptr;
};

WPK_INITSTRUCT SettingsOf(const Script& script) {
    WPK_INITSTRUCT settings{};
    settings.bBehindProxy = script.via_proxy ? 1 : 0;
    settings.lpszProxyServer = "127.0.0.1";
    settings.nProxyPort = 3128;
    settings.lpszProxyUser = script.login.user.c_str();
    settings.lpszProxyPassword = script.login.password.c_str();
    return settings;
}

void CheckRequests(const std::vector<std::string>& sent, const Expectation& expected) {
    Require(sent.size() == expected.requests.size(), "as many connections are made as the peers make necessary");
    for (size_t i = 0; i < sent.size(); ++i) {
        // A cancel may be seen some bytes later than the model sees it.
        const bool whole = expected.error != -4 || i + 1 < sent.size();
        Require(whole ? sent[i] == expected.requests[i]
                      : sent[i].compare(0, expected.requests[i].size(), expected.requests[i]) == 0,
                "the request is the one that the application has made");
    }
}

void Run(const Script& script) {
    const Expectation expected = Expect(script);
    TransportState state;
    Require(state.settings.CopyFrom(SettingsOf(script)), "the settings are copied");
    state.connectionStatus = 1;
    const CountedText spool_path(spool_folder.Path());
    state.tempDirectory = &spool_path;

    Connection connection;
    const Semaphore cancel_semaphore(SemaphoreKind::kSignal);
    const auto cancel = [&] {
        connection.Cancel();
        cancel_semaphore.Signal();
    };
    Application application(script, expected, cancel);
    WPK_SENDSTRUCT message;
    message.nPort = 8080;
    message.lpszServer = "127.0.0.1";
    message.lpszServiceName = "Echo";
    message.lpfnCallback = Application::Notify;
    message.lpUserData = &application;
    message.lpData = script.message.data();
    message.dwDataLength = static_cast<uint32_t>(script.message.size());

    const ScriptedNetwork network(script, cancel);
    const uint32_t delivered = RunExchange(&message, &connection, &cancel_semaphore, state);
    connection.Close();

    application.CheckAllCame();
    Require(delivered == (expected.error == 0 && !application.Cancelled() ? 1U : 0U),
            "an exchange returns what it has notified");
    CheckRequests(network.Requests(), expected);
    Credentials kept;
    Require(state.settings.CopyProxyCredentials(kept), "there is memory for a copy");
    Require(kept.user.View() == expected.login.user && kept.password.View() == expected.login.password,
            "credentials that were answered stay in force");
}

}  // namespace

}  // namespace wpk::fuzz

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // The waits of a connect take no time, and nothing else waits.
    wpk::host::SpeedUp(1000000);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace wpk::core;
    const host::Live before = host::CountLive();
    fuzz::Run(fuzz::Script({reinterpret_cast<const char*>(data), size}));
    fuzz::Require(host::CountLive() == before, "everything that was opened is closed");
    fuzz::Require(host::Misuses().empty(), "nothing closed is used");
    fuzz::Require(fuzz::spool_folder.Files() == 0, "no file is left");
    return 0;
}
