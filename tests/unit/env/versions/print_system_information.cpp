// Prints what system information gathers on the machine it runs on, a line for each field.
// SPDX-License-Identifier: MIT
#include <cstdio>

#include "env/system_information.h"

namespace {

void Print(const char* name, const wpk::core::CountedText& text) {
    std::printf("%s=%s\n", name, text.CStr());
}

}  // namespace

int main() {
    wpk::core::SystemInformation information;
    std::printf("osVersion=%u\n", information.GetOsVersion());
    std::printf("isNT=%u\n", information.IsNT());
    std::printf("refresh=%u\n", information.Refresh());
    Print("tempDirectory", information.TempDirectory());
    Print("windowsDirectory", information.WindowsDirectory());
    Print("systemDirectory", information.SystemDirectory());
    Print("programFilesDirectory", information.ProgramFilesDirectory());
    Print("userName", information.UserName());
    Print("desktop", information.Desktop());
    Print("appData", information.AppData());
    Print("startMenu", information.StartMenu());
    Print("programs", information.Programs());
    Print("startup", information.Startup());
    Print("defaultDesktop", information.DefaultDesktop());
    Print("defaultPrograms", information.DefaultPrograms());
    Print("commonDesktop", information.CommonDesktop());
    Print("commonStartMenu", information.CommonStartMenu());
    Print("commonStartup", information.CommonStartup());
    Print("commonPrograms", information.CommonPrograms());
    return 0;
}
