#!/usr/bin/env bash
# run.sh BUILD_FOLDER SAMPLES: packs the library from two builds, unpacks the archive and builds with it as
# docs/getting_started.md says and as another project does, and runs what is built against the server of the archive.
# SAMPLES holds the code and the commands of the pages, a folder each.
set -uo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
build=$1 readme=$2/readme page=$2/getting_started
work=$build/package_test
user=$work/user
taken=$user/wpk
rm -rf "$work" && mkdir -p "$user"
. "$root/tests/package/check.sh"

archives_are_equal() {
    local made=$root/build/package archive archives
    rm -rf "$made"
    "$root/scripts/package.sh" "$build" && mkdir "$work/first" && mv "$made"/wpk-*.zip "$work/first/" &&
        (umask 077 && "$root/scripts/package.sh") || return
    archives=("$made"/wpk-*.zip)
    [ ${#archives[@]} -eq 2 ] || { echo "There should be two: ${archives[*]}" && return 1; }
    for archive in "${archives[@]}"; do
        cmp "$work/first/${archive##*/}" "$archive" || return
    done
    cp "$made"/wpk-*-win64.zip "$user/"
}

# The page's commands are given as they stand there.
does() { cd "$user" && bash -eux "$page/$1"; }

unpacks_with_right_checksums() {
    does unpack.sh && cd "$taken" && sha256sum --quiet --strict -c SHA256SUMS &&
        [ "$(find . -type f | wc -l)" -eq $(($(wc -l <SHA256SUMS) + 1)) ]
}

holds() {
    local file
    for file in bin/wpk.dll bin/{message_server,wpk_send,wpk_trace,desktop,c_send}.exe include/wpk/wpk.h \
        include/wpk/client.h include/wpk/xml.h lib/libwpk.dll.a lib/wpk.lib lib/libwpk_xml.a lib/wpk.def \
        lib/cmake/wpk/wpkConfig.cmake lib/pkgconfig/wpk.pc lib/pkgconfig/wpk-xml.pc \
        share/doc/wpk/LICENSE share/wpk/xml/parser.cpp share/wpk/cmake/mingw-w64.cmake; do
        [ -s "$taken/$file" ] || { echo "$file is missing" && return 1; }
    done
}

# What the page says of the archive's contents, line by line of its table.
holds_what_the_page_lists() {
    local names name
    names=$(sed -n '/^| in `wpk\/` |/,/^$/s/^| \(`[^|]*`\) |.*/\1/p' "$root/docs/getting_started.md" |
        tr -d '`,' | tr ' ' '\n')
    [ "$(wc -l <<<"$names")" -ge 10 ] || { echo "The page's table has not been found." && return 1; }
    for name in $names; do
        [ -e "$taken/$name" ] || { echo "$name is missing" && return 1; }
    done
}

needs_only_windows() {
    local file
    for file in "$taken"/bin/*; do
        x86_64-w64-mingw32-objdump -p "$file" | sed -n 's/^\s*DLL Name: //p' >"$work/imports"
        [ -s "$work/imports" ] || { echo "$file imports nothing?" && return 1; }
        ! grep -viE '^(kernel32|user32|gdi32|comctl32|advapi32|msvcrt|ws2_32|rasapi32|wpk)\.dll$' "$work/imports" ||
            { echo "$file needs these as well" && return 1; }
    done
}

# Whoever adds the symbols to what has been shipped sees where an address comes from.
symbols_lead_to_the_source() {
    local address place
    mkdir "$work/symbols" && cd "$work/symbols" && unzip -q "$work"/first/wpk-*-debug.zip &&
        cp "$taken/bin/wpk.dll" wpk-*/bin/ && cd wpk-*/bin || return
    address=$(x86_64-w64-mingw32-nm wpk.dll.debug | sed -n 's/ T WPK_Send$//p')
    place=$(x86_64-w64-mingw32-addr2line -e wpk.dll "0x$address")
    [[ $place == *"src/wpk.cpp:"* && -n $address ]] || { echo "$address leads to $place" && return 1; }
    rm wpk.dll.debug && [[ $(x86_64-w64-mingw32-addr2line -e wpk.dll "0x$address") == '??'* ]] ||
        { echo "wpk.dll holds symbols itself" && return 1; }
}

remakes_import_library() {
    llvm-dlltool -m i386:x86-64 -d "$taken/lib/wpk.def" -l "$work/wpk.lib" && cmp "$taken/lib/wpk.lib" "$work/wpk.lib"
}

page_program_builds() {
    mkdir -p "$user/hello" && cp "$page/CMakeLists.txt" "$user/hello/" && cp "$page/program.inc" "$user/hello/hello.cpp" &&
        does build.sh
}

# Not run as they stand: the port that they name may be somebody else's.
run_commands_name_files() {
    local file files
    files=$(grep -o '[^ ]*\.exe' "$page/run.sh")
    [ "$(wc -w <<<"$files")" -eq 2 ] || { echo "Two programs are expected in: $files" && return 1; }
    for file in $files; do
        [ -s "$user/$file" ] || { echo "$file is missing" && return 1; }
    done
}

examples_build() {
    does examples.sh && [ -s "$user/examples/bin/wpk.dll" ] && [ -s "$user/examples/bin/desktop.exe" ]
}

# With nothing but what the README says, and wpk.dll beside it.
consumer_builds() {
    cp "$readme/program.inc" "$work/program.cpp" &&
        cmake -S "$root/tests/package/consumer" -B "$work/consumer" -G Ninja \
            -DCMAKE_TOOLCHAIN_FILE="$taken/share/wpk/cmake/mingw-w64.cmake" -DCMAKE_PREFIX_PATH="$taken" \
            -DCONSUMER_SOURCE="$work/program.cpp" -DCONSUMER_LINES="$readme/lines.cmake" &&
        cmake --build "$work/consumer" && cp "$taken/bin/wpk.dll" "$work/consumer/"
}

# The lines for those who do without CMake, as they stand.
plain_commands_build() {
    cp "$page/program.inc" "$user/hello.cpp" && cp "$taken/share/doc/wpk/examples/c/send.c" "$user/" &&
        does compile.sh && [ -s "$user/wpk.dll" ]
}

# runs PROGRAM EXPECTED [ARGUMENT ...]
runs() {
    "$root/tests/docs/run.sh" "$root/scripts/wine.sh" "$taken/bin/message_server.exe" "$@"
}

check "TwoBuildsGiveTheSameArchive" archives_are_equal
check "ArchiveUnpacksAsThePageSaysWithChecksumsOfEveryFile" unpacks_with_right_checksums
check "ArchiveHoldsWhatAnApplicationNeeds" holds
check "ArchiveHoldsWhatThePageLists" holds_what_the_page_lists
check "ProgramsNeedNothingButWindows" needs_only_windows
check "PagesSpeakOfNothingThatIsNotInTheArchive" "$root/tests/package/links.py" "$taken" "$root"
check "DebugSymbolsLeadFromTheShippedDllToItsSources" symbols_lead_to_the_source
check "DefinitionFileGivesTheImportLibraryOfTheArchive" remakes_import_library
check "PageProgramBuildsAsThePageSays" page_program_builds
check "PageCommandsRunWhatIsThere" run_commands_name_files
check "PageProgramPrintsWhatThePageSays" runs "$user/hello/build/hello.exe" "$page/program.txt"
check "ClientOfTheArchiveAsksItsServer" runs "$taken/bin/wpk_send.exe" "$page/program.txt" --port PORT Echo hello
check "ExamplesBuildFromTheArchiveAsThePageSays" examples_build
check "ExampleInCBuiltFromTheArchiveExchangesAMessage" \
    runs "$user/examples/bin/c_send.exe" "$page/program.txt" 127.0.0.1 PORT Echo hello
check "PlainCommandsBuildAsThePageSays" plain_commands_build
check "PlainProgramPrintsWhatThePageSays" runs "$user/hello.exe" "$page/program.txt"
check "PlainProgramInCExchangesAMessage" runs "$user/send.exe" "$page/program.txt" 127.0.0.1 PORT Echo hello
check "ReadmesLinesBuildItsProgram" consumer_builds
check "ReadmesLinesGiveAProgramThatRunsAsItIs" runs "$work/consumer/app.exe" "$readme/program.txt"
check_done
