// The single-threaded service: every request runs on the front desk, one after the other.
// SPDX-License-Identifier: MIT
#ifndef WPK_SERVICE_SERVICE_H
#define WPK_SERVICE_SERVICE_H

#include "service/front_desk.h"

namespace wpk::core {

/// What ProcessRequest returns is the client's answer. State that only ProcessRequest, Manager_StartUp and
/// Manager_ShutDown touch needs no lock.
class Service : public FrontDesk<Service> {
public:
    /// Returns the started value, not 0 on success; 0 also when the service is started already.
    uint32_t Start();

protected:
    explicit Service(const char* name) : name_(name) {}
    virtual ~Service() = default;

private:
    friend class FrontDesk<Service>;

    void Serve(const Message& request);
    void StopServing(uint32_t /*stopper*/) {}

    CountedText name_;
    std::atomic<uint32_t> stopping_{0};
    DeskThread desk_;
};

}  // namespace wpk::core

#endif
