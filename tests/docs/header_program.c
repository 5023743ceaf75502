/* The program in the first comment of wpk.h.
 * SPDX-License-Identifier: MIT */
#include "wpk/program.inc"
