/** @file
 * One sentence for each WPK_ERROR, for programs that show or log them. C from C90 on, C++ from C++98 on.
 * SPDX-License-Identifier: MIT
 *
 *     #include <wpk/error_text.h>
 *
 *     if (notification->nReason == WPK_REASON_FAILURE)
 *         fprintf(stderr, "%s\n", WPK_ErrorText(notification->body.failure.nError));
 *
 * Any other number has a sentence as well:
 *
 *     puts(WPK_ErrorText(-99));      says "The request failed for a reason that this program does not know."
 *
 * It calls nothing in wpk.dll. What it does not do: it does not translate, and it does not say what to do next;
 * docs/guide.md and docs/troubleshooting.md do. */
#ifndef WPK_ERROR_TEXT_H
#define WPK_ERROR_TEXT_H

#include <wpk/wpk.h>

#if defined(__cplusplus)
#define WPK_INLINE inline
#elif defined(_MSC_VER)
#define WPK_INLINE static __inline
#elif defined(__GNUC__)
#define WPK_INLINE static __inline__ __attribute__((unused))
#else
#define WPK_INLINE static
#endif

/** What happened, as one English sentence that ends with a full stop.
 *
 * @param error a WPK_ERROR, as in `body.failure.nError`; 0 gives "The reply has arrived."; any other number is allowed.
 * @return never null; zero-terminated ASCII that is valid as long as the module is loaded. Not to be freed.
 *
 * Any thread, including inside callbacks. Never fails. */
WPK_INLINE const char* WPK_ErrorText(int error) {
    switch (error) {
        case 0:
            return "The reply has arrived.";
        case WPK_ERROR_BAD_REQUEST:
            return "The request is unusable: the server or the proxy is not named.";
        case WPK_ERROR_NO_NETWORK:
            return "There is no network connection.";
        case WPK_ERROR_CONNECT:
            return "The server (or the proxy) could not be reached.";
        case WPK_ERROR_CANCELLED:
            return "The request was cancelled.";
        case WPK_ERROR_BAD_VERSION:
            return "The server speaks another version of the protocol, or is no server of this kind.";
        case WPK_ERROR_NO_SERVICE:
            return "The server has no service of that name.";
        case WPK_ERROR_EXCHANGE:
            return "The exchange with the server broke, or the server refused the message.";
        case WPK_ERROR_PROXY_CREDENTIALS:
            return "The proxy wants a user name and a password, and got none that it accepts.";
        default:
            return "The request failed for a reason that this program does not know.";
    }
}

#undef WPK_INLINE

#endif /* WPK_ERROR_TEXT_H */
