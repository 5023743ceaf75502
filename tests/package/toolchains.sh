#!/usr/bin/env bash
# toolchains.sh BUILD_FOLDER: installs the library and takes it in by compilers of other kinds, for Windows and for this
# machine, and by pkg-config; runs what they make.
set -uo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
build=$1
work=$build/toolchains_test
taken="$work/a folder/wpk"
source=$root/tests/package/toolchains
shipped=$taken/share/wpk/cmake/mingw-w64.cmake
# The libraries of GCC for Windows, which other compilers have to be told of.
gcc_libraries=$(dirname "$(x86_64-w64-mingw32-g++-posix -print-libgcc-file-name)")
for_windows=(-DCMAKE_SYSTEM_NAME=Windows -DCMAKE_SYSTEM_PROCESSOR=x86_64)
rm -rf "$work" && mkdir -p "$taken"
. "$root/tests/package/check.sh"

# configures FOLDER OPTION ...: the project of this test; what CMake says is in FOLDER.log. Without optimising, which would
# take most of the time here.
configures() {
    local folder=$work/$1
    shift
    cmake -S "$source" -B "$folder" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG=-O0 \
        -DCMAKE_PREFIX_PATH="$taken" "$@" >"$folder.log" 2>&1
    local status=$?
    cat "$folder.log"
    return $status
}

builds() { configures "$@" && cmake --build "$work/$1"; }

said() { grep -qF -- "$2" "$work/$1.log" || { echo "CMake has not said: $2" && return 1; }; }

# document_runs COMMAND ...
document_runs() {
    local printed
    printed=$("$@" 2>/dev/null | tr -d '\r') && [ "$printed" = '13 <order><item price="3"/></order>' ] ||
        { echo "It has printed: $printed" && return 1; }
}

# call_runs FOLDER: wpk.dll is found where the program is.
call_runs() {
    cp "$taken/bin/wpk.dll" "$1/" && { "$root/scripts/wine.sh" "$1/call.exe" 2>/dev/null; [ $? -eq 42 ]; }
}

both_run() { document_runs "$root/scripts/wine.sh" "$work/$1/document.exe" && call_runs "$work/$1"; }

installs() { cmake --install "$build" --prefix "$taken"; }

gcc_for_windows() {
    builds gcc -DCMAKE_TOOLCHAIN_FILE="$shipped" && said gcc 'wpk::xml is imported: TRUE' && both_run gcc
}

# The other variant of mingw-w64 has another run-time library.
gcc_of_other_threads() {
    builds win32 "${for_windows[@]}" -DCMAKE_C_COMPILER=x86_64-w64-mingw32-gcc-win32 \
        -DCMAKE_CXX_COMPILER=x86_64-w64-mingw32-g++-win32 -DCMAKE_EXE_LINKER_FLAGS=-static && said win32 'wpk::xml is imported: TRUE' && both_run win32
}

sources_asked_for() {
    builds sources -DCMAKE_TOOLCHAIN_FILE="$shipped" -DWPK_XML_FROM_SOURCES=ON &&
        said sources 'wpk::xml is imported: FALSE' && both_run sources
}

# Clang writes a function of std::type_info out where it does not optimise, and GCC's library has it too.
clang_for_windows() {
    local target=x86_64-w64-mingw32
    builds clang_windows "${for_windows[@]}" -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
        -DCMAKE_C_COMPILER_TARGET=$target -DCMAKE_CXX_COMPILER_TARGET=$target \
        -DCMAKE_CXX_FLAGS="-isystem $gcc_libraries/include/c++ -isystem $gcc_libraries/include/c++/$target" \
        -DCMAKE_EXE_LINKER_FLAGS="-static -B$gcc_libraries -L$gcc_libraries" \
        -DCMAKE_CXX_STANDARD_LIBRARIES='-lstdc++ -lpthread' -DCMAKE_CXX_FLAGS_DEBUG=-O1 &&
        said clang_windows 'wpk::xml is imported: FALSE' && both_run clang_windows
}

# As far as that goes without Visual Studio: its linker's kind of program, in C, with nothing but the import library.
linker_of_visual_studio() {
    local target=x86_64-pc-windows-msvc
    # ccache, should it be in use, does not know the compiler under this name.
    unset CMAKE_C_COMPILER_LAUNCHER
    builds msvc "${for_windows[@]}" -DCMAKE_C_COMPILER=clang-cl-14 -DCMAKE_C_COMPILER_TARGET=$target \
        -DCMAKE_TRY_COMPILE_TARGET_TYPE=STATIC_LIBRARY -DCMAKE_LINKER=lld-link -DCMAKE_MT=llvm-mt \
        -DCMAKE_C_STANDARD_LIBRARIES= -DWITH_CXX=OFF && said msvc 'wpk::xml is not there: it is for C++' &&
        call_runs "$work/msvc"
}

native() {
    builds "$1" -DCMAKE_C_COMPILER="$2" -DCMAKE_CXX_COMPILER="$3" && said "$1" 'wpk::wpk is not there: wpk.dll is for Windows' &&
        said "$1" 'wpk::xml is imported: FALSE' && document_runs "$work/$1/document"
}

required_off_windows() {
    ! configures required "-DCOMPONENTS=wpk;xml" && said required 'wpk::wpk is not there: wpk.dll is for Windows on x64'
}

of_32_bits() {
    ! configures small -DCOMPONENTS=wpk -DWITH_CXX=OFF -DCMAKE_SYSTEM_NAME=Windows -DCMAKE_SYSTEM_PROCESSOR=x86 \
        -DCMAKE_C_COMPILER=clang -DCMAKE_C_COMPILER_TARGET=i686-w64-mingw32 \
        -DCMAKE_TRY_COMPILE_TARGET_TYPE=STATIC_LIBRARY && said small 'wpk::wpk is not there: wpk.dll is for Windows on x64'
}

pkg_config() { PKG_CONFIG_PATH=$taken/lib/pkgconfig pkg-config "$@"; }

pkg_config_names_what_links() {
    local flags
    pkg_config --exact-version="$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$build/CMakeCache.txt")" wpk wpk-xml &&
        flags=$(pkg_config --cflags --libs wpk wpk-xml) && mkdir "$work/pkg_config" && cd "$work/pkg_config" &&
        eval "x86_64-w64-mingw32-gcc-posix '$source/call.c' $flags -static -o call.exe" &&
        eval "x86_64-w64-mingw32-g++-posix -std=c++17 '$source/document.cpp' $flags -static -o document.exe" &&
        both_run pkg_config
}

check "PackageIsInstalledInAFolderWithABlank" installs
check "GccForWindowsTakesTheLibrariesAsTheyAre" gcc_for_windows
check "GccForWindowsOfTheOtherThreadsTakesTheLibrariesAsTheyAre" gcc_of_other_threads
check "SourcesAskedForAreCompiled" sources_asked_for
check "ClangForWindowsCompilesTheXmlSources" clang_for_windows
check "LinkerOfVisualStudioTakesItsOwnImportLibrary" linker_of_visual_studio
check "GccForThisMachineCompilesTheXmlSourcesAndHasNoDll" native native_gcc gcc g++
check "ClangForThisMachineCompilesTheXmlSourcesAndHasNoDll" native native_clang clang clang++
check "DllRequiredOffWindowsIsRefusedWithTheReason" required_off_windows
check "DllRequiredFor32BitsIsRefusedWithTheReason" of_32_bits
check "PkgConfigGivesCompilersWhatTheyNeed" pkg_config_names_what_links
check_done
