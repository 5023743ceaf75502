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
    rm -rf "$root/build/package"
    "$root/scripts/package.sh" "$build" && mv "$root"/build/package/wpk-*.zip "$user/" &&
        (umask 077 && "$root/scripts/package.sh") && cmp "$user"/wpk-*.zip "$root"/build/package/wpk-*.zip
}

# The page's commands are given as they stand there.
does() { cd "$user" && bash -eux "$page/$1"; }

unpacks_with_right_checksums() {
    does unpack.sh && cd "$taken" && sha256sum --quiet --strict -c SHA256SUMS &&
        [ "$(find . -type f | wc -l)" -eq $(($(wc -l <SHA256SUMS) + 1)) ]
}

holds() {
    local file
    for file in bin/wpk.dll bin/message_server.exe bin/wpk_send.exe include/wpk/wpk.h include/wpk/client.h \
        include/wpk/xml.h lib/libwpk.dll.a lib/libwpk_xml.a lib/wpk.def lib/cmake/wpk/wpkConfig.cmake \
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
    for file in wpk.dll message_server.exe wpk_send.exe; do
        x86_64-w64-mingw32-objdump -p "$taken/bin/$file" | sed -n 's/^\s*DLL Name: //p' >"$work/imports"
        [ -s "$work/imports" ] || { echo "$file imports nothing?" && return 1; }
        ! grep -viE '^(kernel32|user32|advapi32|msvcrt|ws2_32|rasapi32|wpk)\.dll$' "$work/imports" ||
            { echo "$file needs these as well" && return 1; }
    done
}

makes_import_library() {
    llvm-dlltool -m i386:x86-64 -d "$taken/lib/wpk.def" -l "$work/wpk.lib"
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

consumer_builds() {
    cp "$readme/program.inc" "$work/program.cpp" &&
        cmake -S "$root/tests/package/consumer" -B "$work/consumer" -G Ninja -DCMAKE_BUILD_TYPE=Release \
            -DCMAKE_TOOLCHAIN_FILE="$taken/share/wpk/cmake/mingw-w64.cmake" -DCMAKE_PREFIX_PATH="$taken" \
            -DCONSUMER_SOURCE="$work/program.cpp" -DCONSUMER_IMPORT_LIBRARY="$work/wpk.lib" &&
        cmake --build "$work/consumer" && cp "$taken/bin/wpk.dll" "$work/consumer/"
}

# runs PROGRAM EXPECTED [ARGUMENT ...]
runs() {
    "$root/tests/docs/run.sh" "$root/scripts/wine.sh" "$taken/bin/message_server.exe" "$@"
}

check "TwoBuilds_GiveTheSameArchive" archives_are_equal
check "Archive_UnpacksAsThePageSaysWithChecksumsOfEveryFile" unpacks_with_right_checksums
check "Archive_HoldsWhatAnApplicationNeeds" holds
check "Archive_HoldsWhatThePageLists" holds_what_the_page_lists
check "Programs_NeedNothingButWindows" needs_only_windows
check "Pages_LeadToFilesAndHeadingsOfTheArchive" "$root/tests/package/links.py" "$taken"
check "DefinitionFile_GivesAnImportLibraryByOtherTools" makes_import_library
check "PageProgram_BuildsAsThePageSays" page_program_builds
check "PageCommands_RunWhatIsThere" run_commands_name_files
check "PageProgram_PrintsWhatThePageSays" runs "$user/hello/build/hello.exe" "$page/program.txt"
check "ClientOfTheArchive_AsksItsServer" runs "$taken/bin/wpk_send.exe" "$page/program.txt" --port PORT Echo hello
check "Examples_BuildFromTheArchiveAsThePageSays" examples_build
check "ExampleInC_BuiltFromTheArchive_ExchangesAMessage" \
    runs "$user/examples/bin/c_send.exe" "$page/program.txt" 127.0.0.1 PORT Echo hello
check "SeparateProject_BuildsFromTheArchive" consumer_builds
check "SeparateProject_ExchangesAMessage" runs "$work/consumer/consumer.exe" "$readme/program.txt"
check "SeparateProject_ExchangesAMessageByTheOtherImportLibrary" \
    runs "$work/consumer/consumer_of_lib.exe" "$readme/program.txt"
check "SeparateProject_ExchangesAMessageWithTheXmlSources" \
    runs "$work/consumer/consumer_of_sources.exe" "$readme/program.txt"
check_done
