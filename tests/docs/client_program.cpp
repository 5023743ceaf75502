// The program of docs/client.md.
// SPDX-License-Identifier: MIT
#include "client/program.inc"
