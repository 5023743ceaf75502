// The library under measurement.
// SPDX-License-Identifier: MIT
#ifndef WPK_BENCH_TRANSPORT_LIBRARY_CLIENT_H
#define WPK_BENCH_TRANSPORT_LIBRARY_CLIENT_H

#include "request.h"

namespace bench {

/// Initialises the library; ends the program when it cannot.
void InitialiseLibrary();

/// A request through wpk.dll.
void StartInLibrary(Request& request);

}  // namespace bench

#endif
