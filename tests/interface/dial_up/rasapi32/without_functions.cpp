// A remote access library that lacks the functions.
// SPDX-License-Identifier: MIT
extern "C" __declspec(dllexport) int NothingOfUse() {
    return 0;
}
