/* The header as the first one of a C90 program; twice, as other headers may bring it along.
 * SPDX-License-Identifier: MIT */
#include <wpk/error_text.h>

#include <wpk/error_text.h>

const char* TextInC(int error);

const char* TextInC(int error) {
    return WPK_ErrorText(error);
}
