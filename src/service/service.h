// The single-threaded service: every request runs on the front desk, one after the other.
// SPDX-License-Identifier: MIT
#ifndef WPK_SERVICE_SERVICE_H
#define WPK_SERVICE_SERVICE_H

#include "service/front_desk.h"

namespace wpk {

/// What ProcessRequest returns is the client's answer. State that only ProcessRequest, Manager_StartUp and
/// Manager_ShutDown touch needs no lock.
class Service : public FrontDesk {
public:
    /// Returns the started value, not 0 on success; 0 also when the service is started already.
    uint32_t Start();

protected:
    using FrontDesk::FrontDesk;

    void Serve(const Message& request) override;
};

}  // namespace wpk

#endif
