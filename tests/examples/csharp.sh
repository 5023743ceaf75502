#!/usr/bin/env bash
# csharp.sh WORK_FOLDER: compiles the example in C#, compares its records with those of wpk.h as the compiler for Windows
# lays them out, and runs its client natively over a stand-in for wpk.dll. (Wine has no run-time system for C#.)
set -uo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
work=$1
example=$root/examples/csharp
here=$root/tests/examples/csharp
rm -rf "$work" && mkdir -p "$work"
. "$root/tests/package/check.sh"
cd "$work" || exit 1

program_compiles() {
    mcs -warnaserror -out:wpk_send_cs.exe "$example"/*.cs
}

program_explains_its_arguments() {
    mono wpk_send_cs.exe 127.0.0.1 >said 2>&1
    [ $? -eq 2 ] && grep -q '^usage: ' said
}

records_are_those_of_the_header() {
    mcs -warnaserror -out:layout_cs.exe "$here/layout.cs" "$example/Native.cs" && mono layout_cs.exe >cs.txt &&
        x86_64-w64-mingw32-gcc-posix -Wall -Wextra -Werror -I"$root/include" "$here/layout.c" -o layout_c.exe &&
        "$root/scripts/wine.sh" ./layout_c.exe 2>wine.log | tr -d '\r' >c.txt && [ "$(wc -l <c.txt)" -ge 40 ] && diff c.txt cs.txt
}

client_over_stand_in() {
    gcc -Wall -Wextra -Werror -fPIC -shared -pthread -I"$root/include" "$here/scripted_wpk.c" -o libscripted_wpk.so &&
        mcs -warnaserror -out:client_test.exe "$here/client_test.cs" "$example/Native.cs" "$example/Client.cs" || return
    cat >client_test.exe.config <<END
<configuration>
  <dllmap dll="wpk.dll" target="$work/libscripted_wpk.so"/>
  <dllmap dll="kernel32.dll" target="$work/libscripted_wpk.so"/>
</configuration>
END
    mono client_test.exe
}

check "CSharpCompiles" program_compiles
check "CSharpExplainsItsArguments" program_explains_its_arguments
check "CSharpRecordsAreThoseOfTheHeader" records_are_those_of_the_header
check "CSharpClientKeepsWhatIsCalledAndCancels" client_over_stand_in
check_done
