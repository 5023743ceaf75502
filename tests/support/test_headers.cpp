// Carries the precompiled headers of the native test programs.
// SPDX-License-Identifier: MIT
