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

    /// Copies the texts of the other credentials. False, with nothing changed, if memory runs out.
    bool CopyFrom(const Credentials& other);
};

/// The library's copy of the initialisation record. Written only by the start-up, before any request runs; only the
/// proxy credentials change later. They have their own lock: one request replaces them while others copy them, and none
/// may see a freed or half-written text.
class Settings {
public:
    /// False if the system could not create the lock of the credentials: the functions below are then not safe for
    /// threads.
    bool HasLock() const { return static_cast<bool>(credentialsLock_); }

    /// Copies the record and its texts. False if memory runs out.
    bool CopyFrom(const WPK_INITSTRUCT& record);

    /// Undoes what a failed start-up must not leave behind: the texts and the record's first two words.
    void Forget();

    /// Stored, not used.
    WPK_INT64 Reserved() const { return reserved_; }
    void* Instance() const { return instance_; }
    WPK_INT64 ConnectionType() const { return connectionType_; }
    WPK_CALLBACK DefaultCallback() const { return callback_; }
    void* DefaultUserData() const { return userData_; }
    bool BehindProxy() const { return behindProxy_ == 1; }
    const CountedText& ProxyServer() const { return proxyServer_; }
    uint32_t ProxyPort() const { return static_cast<uint32_t>(proxyPort_); }

    /// Copies the current credentials. False if memory runs out. Any thread.
    bool CopyProxyCredentials(Credentials& copy) const;

    /// Replaces the credentials for all later requests; the latest caller wins. False, with the old ones kept, if
    /// memory runs out. Any thread.
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
