#!/usr/bin/env bash
# managers.sh BUILD_FOLDER: carries out what the files for vcpkg and Conan say, with stand-ins for what the two offer (neither
# is a Debian package), and takes in what comes out, natively.
set -uo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
work=$1/managers_test
here=$root/tests/package/managers
version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$1/CMakeCache.txt")
rm -rf "$work" && mkdir -p "$work"
. "$root/tests/package/check.sh"

port_has_the_librarys_version() {
    python3 -c 'import json, sys; sys.exit(json.load(open(sys.argv[1]))["version"] != sys.argv[2])' \
        "$root/packaging/vcpkg/wpk/vcpkg.json" "$version"
}

# takes_in PACKAGE: the project that Conan would test the package with.
takes_in() {
    cmake -S "$root/packaging/conan/test_package" -B "$1-user" -G Ninja -DCMAKE_PREFIX_PATH="$1" && cmake --build "$1-user" &&
        "$1-user/test_package"
}

port_builds() {
    cmake -DPORT="$root/packaging/vcpkg/wpk" -DCURRENT_PACKAGES_DIR="$work/vcpkg" -P "$here/vcpkg.cmake" &&
        [ -s "$work/vcpkg/share/wpk/copyright" ] && takes_in "$work/vcpkg"
}

recipe_builds() {
    python3 -B "$here/conan.py" "$root/packaging/conan" "$work/conan" "$version" && takes_in "$work/conan/package"
}

recipes_test_is_python() {
    python3 -c 'import ast, sys; ast.parse(open(sys.argv[1]).read())' "$root/packaging/conan/test_package/conanfile.py"
}

check "VcpkgPortHasTheLibrarysVersion" port_has_the_librarys_version
check "VcpkgPortBuildsFromTheSourcesItStandsAmong" port_builds
check "ConanRecipeBuildsFromTheSourcesThatItExports" recipe_builds
check "ConanRecipesTestIsPython" recipes_test_is_python
check_done
