// The report of an exception that escapes a thread of the library.
// SPDX-License-Identifier: MIT
#include "threadlib/exception_report.h"

#include <cstring>
#include <string_view>

#include "threadlib/handle.h"

namespace wpk::core {

EscapedExceptionText::EscapedExceptionText(const char* threadName) {
    const size_t used = std::strlen(text);
    std::string_view(threadName).copy(text + used, sizeof text - used - 1);
}

void ReportEscapedException(const char* threadName) {
    const EscapedExceptionText report(threadName);
    const UniqueEventSource source(RegisterEventSourceA(/*lpUNCServerName=*/nullptr, "ThreadLib"));
    if (!source) return;
    const char* strings[] = {report.text};
    ReportEventA(source.Get(), EVENTLOG_ERROR_TYPE, /*wCategory=*/0, /*dwEventID=*/0, /*lpUserSid=*/nullptr,
                 /*wNumStrings=*/1, /*dwDataSize=*/0, strings, /*lpRawData=*/nullptr);
}

}  // namespace wpk::core
