// The report of an exception that escapes a thread of the library.
// SPDX-License-Identifier: MIT
#ifndef WPK_THREADLIB_EXCEPTION_REPORT_H
#define WPK_THREADLIB_EXCEPTION_REPORT_H

namespace wpk::core {

/// What the report says: a fixed beginning and the thread's name, cut off where the text is full.
struct EscapedExceptionText {
    explicit EscapedExceptionText(const char* threadName);

    char text[1024] = "ThreadLib::Thread Exception::";
};

/// Writes one error to the event log, source "ThreadLib". `threadName` may be empty. Failing to report is no failure.
void ReportEscapedException(const char* threadName);

}  // namespace wpk::core

#endif
