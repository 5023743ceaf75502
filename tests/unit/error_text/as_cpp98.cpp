// The header as the first one of a C++98 program.
// SPDX-License-Identifier: MIT
#include <wpk/error_text.h>

const char* TextInCpp98(int error);

const char* TextInCpp98(int error) {
    return WPK_ErrorText(error);
}
