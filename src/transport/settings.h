// The library's copy of the initialisation record.
// SPDX-License-Identifier: MIT
#ifndef WPK_TRANSPORT_SETTINGS_H
#define WPK_TRANSPORT_SETTINGS_H

#include <cstdint>

#include "threadlib/counted_text.h"
#include "threadlib/semaphore.h"
#include "transport/text_buffer.h"
#include "wpk/wpk.h"

namespace wpk::core {

struct Credentials {
    TextBuffer user;
    TextBuffer password;

    /// Takes copies of the other ones' texts. False if memory runs out: then it keeps its own.
    bool CopyFrom(const Credentials& other);
};

/// The library's copy of the initialisation record. Written by the start-up alone, before any request runs; only the
/// proxy credentials change later. They have a lock of their own: one request replaces them while others copy them, and
/// none may see a text that is freed or half written.
class Settings {
public:
    /// False when the system could not make the lock of the credentials: nothing below keeps threads apart then.
    bool HasLock() const { return static_cast<bool>(credentialsLock_); }

    /// Copies the record and its texts. False if memory runs out.
    bool CopyFrom(const WPK_INITSTRUCT& record);

    /// Undoes what a start-up that failed must not leave behind: the texts and the record's first two words.
    void Forget();

    /// Kept, not used.
    WPK_INT64 Reserved() const { return reserved_; }
    void* Instance() const { return instance_; }
    WPK_INT64 ConnectionType() const { return connectionType_; }
    WPK_CALLBACK DefaultCallback() const { return callback_; }
    void* DefaultUserData() const { return userData_; }
    bool BehindProxy() const { return behindProxy_ == 1; }
    const CountedText& ProxyServer() const { return proxyServer_; }
    uint32_t ProxyPort() const { return static_cast<uint32_t>(proxyPort_); }

    /// Copies the credentials now in force. False if memory runs out. From any thread.
    bool CopyProxyCredentials(Credentials& copy) const;

    /// Puts other ones in force for all later requests; the latest caller wins. False if memory runs out: then the old
    /// ones stay in force. From any thread.
    bool ReplaceProxyCredentials(const Credentials& credentials);

private:
    WPK_INT64 reserved_ = 0;
    void* instance_ = nullptr;
    WPK_INT64 connectionType_ = 0;
    WPK_CALLBACK callback_ = nullptr;
    void* userData_ = nullptr;
    WPK_INT64 behindProxy_ = 0;
    CountedText proxyServer_;
    WPK_INT64 proxyPort_ = 80;
    Credentials credentials_;
    Semaphore credentialsLock_{SemaphoreKind::kLock};
};

}  // namespace wpk::core

#endif
