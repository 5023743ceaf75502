// Carries the precompiled headers of the test programs.
// SPDX-License-Identifier: MIT
