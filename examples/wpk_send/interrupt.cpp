// Interrupt: Ctrl-C as an event to wait for.
// SPDX-License-Identifier: MIT
#include "interrupt.h"

#include <windows.h>

#include <stdexcept>

namespace wpk_send {
namespace {

BOOL WINAPI OnControl(DWORD event) {
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) return FALSE;
    if (Interrupted()) return FALSE;
    return SetEvent(InterruptEvent());
}

WaitHandle MakeEvent() {
    HANDLE event = CreateEventA(/*lpEventAttributes=*/nullptr, /*bManualReset=*/TRUE, /*bInitialState=*/FALSE,
                                /*lpName=*/nullptr);
    if (event == nullptr)
        throw std::runtime_error("the system is out of handles or memory; close some programs, then try again");
    return event;
}

}  // namespace

WaitHandle InterruptEvent() {
    static WaitHandle event = MakeEvent();
    static const bool handled = SetConsoleCtrlHandler(OnControl, TRUE) != FALSE;
    if (!handled) throw std::runtime_error("Ctrl-C cannot be handled; start the program in a console");
    return event;
}

bool Interrupted() {
    return WaitForSingleObject(InterruptEvent(), 0) == WAIT_OBJECT_0;
}

}  // namespace wpk_send
