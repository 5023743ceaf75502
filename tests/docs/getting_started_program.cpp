// The program of docs/getting_started.md.
// SPDX-License-Identifier: MIT
#include "getting_started/program.inc"
