#!/usr/bin/env bash
# run.sh BUILD_FOLDER SAMPLES SERVER: packs the library from two builds, takes the archive in as another project does, and
# runs that project's programs: the README's, with SAMPLES/program.inc as source and SAMPLES/program.txt as output.
set -uo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
build=$1 samples=$2 server=$3
work=$build/package_test
rm -rf "$work" && mkdir -p "$work"
passed=0 failed=0

check() {
    local what=$1
    shift
    if ("$@") >"$work/log" 2>&1; then
        echo "[       OK ] $what"
        passed=$((passed + 1))
    else
        echo "[  FAILED  ] $what"
        tail -n 30 "$work/log"
        failed=$((failed + 1))
    fi
}

archives_are_equal() {
    rm -rf "$root/build/package"
    "$root/scripts/package.sh" "$build" && mv "$root"/build/package/wpk-*.zip "$work/first.zip" &&
        "$root/scripts/package.sh" && cmp "$work/first.zip" "$root"/build/package/wpk-*.zip
}

unpacks_with_right_checksums() {
    unzip -q "$work/first.zip" -d "$work" && mv "$work"/wpk-* "$work/taken" && cd "$work/taken" &&
        sha256sum --quiet --strict -c SHA256SUMS &&
        [ "$(find . -type f | wc -l)" -eq $(($(wc -l <SHA256SUMS) + 1)) ]
}

holds() {
    local file
    for file in bin/wpk.dll include/wpk/wpk.h include/wpk/xml.h lib/libwpk.dll.a lib/libwpk_xml.a lib/wpk.def \
        lib/cmake/wpk/wpkConfig.cmake share/doc/wpk/LICENSE share/wpk/xml/parser.cpp; do
        [ -s "$work/taken/$file" ] || { echo "$file is missing" && return 1; }
    done
}

makes_import_library() {
    llvm-dlltool -m i386:x86-64 -d "$work/taken/lib/wpk.def" -l "$work/wpk.lib"
}

consumer_builds() {
    cp "$samples/program.inc" "$work/program.cpp" &&
        cmake -S "$root/tests/package/consumer" -B "$work/consumer" -G Ninja -DCMAKE_BUILD_TYPE=Release \
            -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-w64.cmake" -DCMAKE_PREFIX_PATH="$work/taken" \
            -DCONSUMER_SOURCE="$work/program.cpp" -DCONSUMER_IMPORT_LIBRARY="$work/wpk.lib" &&
        cmake --build "$work/consumer" && cp "$work/taken/bin/wpk.dll" "$work/consumer/"
}

runs() {
    "$root/tests/docs/run.sh" "$root/scripts/wine.sh" "$server" "$work/consumer/$1.exe" "$samples/program.txt"
}

check "TwoBuilds_GiveTheSameArchive" archives_are_equal
check "Archive_UnpacksWithChecksumsOfEveryFile" unpacks_with_right_checksums
check "Archive_HoldsWhatAnApplicationNeeds" holds
check "DefinitionFile_GivesAnImportLibraryByOtherTools" makes_import_library
check "SeparateProject_BuildsFromTheArchive" consumer_builds
check "SeparateProject_ExchangesAMessage" runs consumer
check "SeparateProject_ExchangesAMessageByTheOtherImportLibrary" runs consumer_of_lib
check "SeparateProject_ExchangesAMessageWithTheXmlSources" runs consumer_of_sources
[ $passed -eq 0 ] || echo "[  PASSED  ] $passed tests."
[ $failed -eq 0 ] || { echo "[  FAILED  ] $failed tests." && exit 1; }
