// The program of README.md.
// SPDX-License-Identifier: MIT
#include "readme/program.inc"
