// The service Lookup: an XML request in, an XML reply out.
// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace message_server {

/// Looks a chemical element up by its English name. A request
///
///     <request><name>iron</name></request>
///
/// is answered with
///
///     <reply><found>yes</found><name>iron</name><symbol>Fe</symbol><number>26</number></reply>
///
/// or, when there is none of that name, with `<found>no</found>` alone. A request that cannot be parsed is answered
/// with an element `error` that has `code`, `line` and `column` inside.
std::string Lookup(std::string_view request);

}  // namespace message_server
