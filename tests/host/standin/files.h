// Views of files, for the count of what is open.
// SPDX-License-Identifier: MIT
#ifndef WPK_HOST_STANDIN_FILES_H
#define WPK_HOST_STANDIN_FILES_H

#include <cstdint>

namespace wpk::host {

int64_t LiveViews();

}  // namespace wpk::host

#endif  // WPK_HOST_STANDIN_FILES_H
