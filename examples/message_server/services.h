// The services that messages can be sent to.
// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <functional>

#include "reply.h"
#include "request.h"

namespace message_server {

/// Waits for the given time; ends early when the client has gone.
using Pause = std::function<void(std::chrono::milliseconds)>;

/// Hands the message to the service that it names.
///
/// | service    | message                  | answer                                  |
/// |------------|--------------------------|-----------------------------------------|
/// | `Echo`     | any bytes                | the same bytes                          |
/// | `Reverse`  | any bytes                | the same bytes, last first              |
/// | `Generate` | a decimal number         | that number of bytes                    |
/// | `Lookup`   | XML (lookup.h)           | XML                                     |
/// | `Sleep`    | a number of milliseconds | a line of text, after waiting that long |
///
/// @throws Refusal where there is no such service, or where the service cannot read the message.
Answer RunService(Message&& message, const Pause& pause);

}  // namespace message_server
