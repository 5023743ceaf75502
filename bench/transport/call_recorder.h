// Records the platform calls of a module, by thread, as they happen.
// SPDX-License-Identifier: MIT
#ifndef WPK_BENCH_TRANSPORT_CALL_RECORDER_H
#define WPK_BENCH_TRANSPORT_CALL_RECORDER_H

#include <cstdint>
#include <string>
#include <vector>

namespace bench {

/// Sits between a module and everything it imports: each entry of the module's import table is led through a few
/// instructions that note the calling thread and the entry, then go on to the function itself.
class CallRecorder {
public:
    struct Call {
        uint32_t thread;
        /// An index into Names().
        uint32_t function;
    };

    /// Starts to record the calls of a loaded module; for the rest of the process. At most one recorder.
    explicit CallRecorder(const char* module);

    /// As "MODULE.dll!Function".
    const std::vector<std::string>& Names() const { return names_; }

    /// Takes the calls recorded so far, oldest first. While no thread of the module is about to call.
    std::vector<Call> Take();

private:
    void Patch(uintptr_t* slot, const std::string& name);

    std::vector<std::string> names_;
    uint8_t* code_ = nullptr;
};

}  // namespace bench

#endif
