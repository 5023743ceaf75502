#!/usr/bin/env bash
# scripts.sh WORK_FOLDER: what the scripts say, and what they leave alone, when something is missing or fails. They run in
# a copy of their own and see only the commands that a test lets them see: some real, some played by a few lines here.
set -uo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
work=$1
copy=$work/repository
commands=$work/commands
rm -rf "$work" && mkdir -p "$work"
. "$root/tests/package/check.sh"

# Everything a test begins with: a machine with no packages but the basic ones, whose user is root.
begin() {
    local name
    rm -rf "$copy" "$commands"
    mkdir -p "$copy" "$commands"
    cp -r "$root/scripts" "$copy/"
    for name in bash cat chmod cp date dirname env false flock grep head mkdir mktemp mv realpath rm sed sleep sort stat \
        tail tar tee touch tr true; do
        ln -s "$(command -v "$name")" "$commands/$name"
    done
    play id 'echo 0'
    play dpkg-query 'exit 1'
    play apt-get 'echo "apt-get $* (${DEBIAN_FRONTEND:-asks})"; echo "$*" >>"$(dirname "$0")/apt-get.calls"'
}

# play NAME LINES: from now on, the command of that name does this.
play() {
    printf '#!/bin/bash\n%s\n' "$2" >"$commands/$1"
    chmod +x "$commands/$1"
}

# run SCRIPT ARGUMENT ...: keeps what it says and how it ends, for the functions below.
run() {
    local script=$1
    shift
    status=0
    said=$(cd "$copy" && env -i PATH="$commands" WINEPREFIX="$work/users_prefix" "$copy/scripts/$script" "$@" 2>&1) ||
        status=$?
    echo "$script $*: $status"$'\n'"$said"
}

ends_with() { [ "$status" -eq "$1" ]; }
says() { grep -qF -- "$1" <<<"$said" || { echo "It does not say: $1" && return 1; }; }

setup_has_nothing_to_do() {
    begin
    play dpkg-query 'echo "install ok installed"'
    run setup.sh && ends_with 0 && [ -z "$said" ] && [ ! -e "$commands/apt-get.calls" ]
}

setup_asked_for_something_else() {
    begin
    run setup.sh everything && ends_with 2 && says 'usage: scripts/setup.sh [demo]'
}

setup_elsewhere() {
    begin
    rm "$commands/apt-get"
    run setup.sh && ends_with 1 && says 'this needs Debian 12' && says 'g++-mingw-w64-x86-64-posix'
}

setup_as_nobody() {
    begin
    play id 'echo 1000'
    run setup.sh demo && ends_with 1 && says 'no sudo' && says 'Run as root: apt-get update && apt-get install' &&
        [ ! -e "$commands/apt-get.calls" ]
}

# As sudo does by default, this one hands no variables on.
setup_by_sudo() {
    begin
    play id 'echo 1000'
    play sudo 'exec env -i PATH="$PATH" "$@"'
    run setup.sh demo && ends_with 0 && cat "$copy/build/setup.log" &&
        [ "$(grep -c '(noninteractive)$' "$copy/build/setup.log")" -eq 2 ]
}

setup_for_the_demo() {
    begin
    run setup.sh demo && ends_with 0 && cat "$commands/apt-get.calls" && grep -q 'libcli11-dev' "$commands/apt-get.calls" &&
        ! grep -q 'googletest\|squid\|clang' "$commands/apt-get.calls"
}

setup_without_network() {
    begin
    play apt-get 'if [ "$1" = install ]; then echo "E: no such package"; exit 100; fi
        # As the real one: what cannot be fetched is an error only when one asks for that.
        [[ "$*" != *Error-Mode=any* ]] || exit 100'
    run setup.sh demo && ends_with 1 && says 'E: no such package' && says 'is there a network?' && says 'build/setup.log' &&
        says 'by hand: apt-get update && apt-get install'
}

# The policy is that of the copy, and apt-get tells what it is while a server is installed.
begin_with_policy() {
    begin
    policy=$copy/policy-rc.d
    sed -i "s|^policy=.*|policy=$policy|" "$copy/scripts/setup.sh"
    play apt-get 'if [ "$1" = install ]; then
            "'"$policy"'" && echo allowed || echo "refused with $?"
            exit '"$1"'
        fi'
}

setup_of_servers() {
    begin_with_policy 0
    play systemctl 'echo "systemctl $*"'
    run setup.sh && ends_with 0 && cat "$copy/build/setup.log" && grep -qx 'refused with 101' "$copy/build/setup.log" &&
        grep -qx 'systemctl disable squid nginx haproxy' "$copy/build/setup.log" && [ ! -e "$policy" ]
}

setup_of_servers_fails() {
    begin_with_policy 100
    run setup.sh && ends_with 1 && says 'refused with 101' && [ ! -e "$policy" ]
}

setup_where_there_is_a_policy() {
    begin_with_policy 0
    printf '#!/bin/bash\nexit 104\n' >"$policy" && chmod +x "$policy"
    run setup.sh && ends_with 0 && grep -qx 'refused with 104' "$copy/build/setup.log" && [ -x "$policy" ]
}

wine_without_arguments() {
    begin
    run wine.sh && ends_with 2 && says 'usage: scripts/wine.sh'
}

wine_missing() {
    begin
    run wine.sh program.exe && ends_with 1 && says 'Wine is missing; scripts/setup.sh demo installs it.'
}

play_wine() {
    play wine 'if [ "$1" = wineboot ]; then
            mkdir -p "$WINEPREFIX/drive_c/windows/system32" && echo code >"$WINEPREFIX/drive_c/windows/system32/kernel32.dll"
        fi
        echo "wine $* in $WINEPREFIX"'
    play wineserver 'echo "$* in $WINEPREFIX" >"$(dirname "$0")/wineserver.calls"'
}

wine_beside_a_users_prefix() {
    begin
    play_wine
    run wine.sh program.exe 1 && ends_with 0 && says "wine program.exe 1 in $copy/build/wine" &&
        run wine.sh --stop && ends_with 0 && cat "$commands/wineserver.calls" &&
        [ "$(cat "$commands/wineserver.calls")" = "-k in $copy/build/wine" ] && [ ! -e "$work/users_prefix" ]
}

# Wine's server as it is: it takes no orders while it runs, but for its end.
play_wine_with_server() {
    play_wine
    play wine "$(tail -n +2 "$commands/wine"); touch $work/server"
    play wineserver "case \$1 in
        -k) rm -f $work/server ;;
        -p) [ ! -e $work/server ] && echo stays >$work/server ;;
        esac"
}

wine_starts_a_server_that_stays() {
    begin
    play_wine_with_server
    run wine.sh --start && ends_with 0 && [ "$(cat "$work/server")" = stays ]
}

wine_is_started_by_another_meanwhile() {
    begin
    play_wine_with_server
    play wineserver '[ $1 = -k ]'
    run wine.sh --start && ends_with 1 && says 'another program has started Wine'
}

# The server is gone at once here.
wine_ends_what_its_server_left() {
    local own others
    begin
    play_wine
    WINEPREFIX=$copy/build/wine sleep 1000 &
    own=$!
    WINEPREFIX=$copy/build/wine2 sleep 1000 &
    others=$!
    run wine.sh --end-orphans && ends_with 0 && [ "$(cat "$commands/wineserver.calls")" = "-w in $copy/build/wine" ] &&
        ! wait $own && kill $others
}

wine_cannot_make_a_prefix() {
    begin
    play wine 'echo "wine: no space"; exit 1'
    run wine.sh program.exe && ends_with 1 && says 'wine: no space' && says "cannot set up $copy/build/wine" &&
        [ ! -e "$copy/build/wine/.ready" ]
}

# Wine ends well, and the prefix is not whole.
wine_makes_half_a_prefix() {
    begin
    play wine 'mkdir -p "$WINEPREFIX"'
    run wine.sh program.exe && ends_with 1 && says 'Is the disk full?' && [ ! -e "$copy/build/wine/.ready" ]
}

demo_without_packages() {
    begin
    play apt-get 'exit 100'
    run demo.sh && ends_with 1 && [ "$(tail -n 1 <<<"$said")" = 'Not as expected: what is missing could not be installed.' ]
}

demo_does_not_compile() {
    begin
    play dpkg-query 'echo "install ok installed"'
    play cmake 'echo "cmake $*"; [ "$1" != --build ] || { echo "wpk.cpp: error"; exit 1; }'
    run demo.sh && ends_with 1 && says 'wpk.cpp: error' && says 'build/demo.log' &&
        grep -qxF 'cmake --preset windows -DWPK_TESTS=OFF' "$copy/build/demo.log"
}

# Configuring without the tests would have them removed.
demo_where_the_tests_are_built() {
    begin
    play dpkg-query 'echo "install ok installed"'
    play cmake 'echo "cmake $*"; exit 1'
    mkdir -p "$copy/build/windows" && echo 'WPK_TESTS:BOOL=ON' >"$copy/build/windows/CMakeCache.txt"
    run demo.sh && ends_with 1 && grep -qxF 'cmake --preset windows' "$copy/build/demo.log"
}

server_does_not_start() {
    begin
    play_wine
    play dpkg-query 'echo "install ok installed"'
    play cmake 'exit 0'
    play wine "$(tail -n +2 "$commands/wine"); [[ \$1 != *message_server* ]] || { echo 'no kernel' >&2; exit 1; }"
    run demo.sh && ends_with 1 && says 'no kernel' && says 'Not as expected: the server has not started.'
}

play_build_tools() {
    play ninja ''
    play zip ''
    play llvm-dlltool ''
    play doxygen ''
    play x86_64-w64-mingw32-g++-posix ''
}

package_without_tools() {
    begin
    run package.sh && ends_with 1 && says 'cmake is missing; scripts/setup.sh installs it.'
}

package_does_not_compile() {
    begin
    play_build_tools
    play cmake '[ "$1" != --build ] || { echo "wpk.cpp: error"; exit 1; }'
    run package.sh && ends_with 1 && says 'wpk.cpp: error' && says 'build/package/package.log'
}

# refuses_build LINE_IN_CACHE EXPECTED
refuses_build() {
    begin
    play_build_tools
    play cmake 'echo "cmake has been called"'
    mkdir -p "$copy/build/other"
    sed -E "s|^(${1%%:*}):.*|$1|" >"$copy/build/other/CMakeCache.txt" <<END
CMAKE_HOME_DIRECTORY:INTERNAL=$copy
CMAKE_BUILD_TYPE:STRING=Release
CMAKE_TOOLCHAIN_FILE:FILEPATH=$copy/cmake/mingw-w64.cmake
WPK_COVERAGE:BOOL=OFF
WPK_EXAMPLES:BOOL=ON
WPK_SANITIZE:STRING=
END
    run package.sh build/other && ends_with 1 && says "$2" && ! says 'cmake has been called'
}

package_from_other_builds() {
    refuses_build CMAKE_HOME_DIRECTORY:INTERNAL=/elsewhere 'builds other sources' &&
        refuses_build CMAKE_BUILD_TYPE:STRING=Debug "not a build of the preset 'windows'" &&
        refuses_build CMAKE_TOOLCHAIN_FILE:FILEPATH= "not a build of the preset 'windows'" &&
        refuses_build WPK_SANITIZE:STRING=address "not a build of the preset 'windows'"
}

# A tree without git, as a source archive is: git is no command there. begin_with_source TEXT
begin_with_source() {
    local name
    begin
    for name in clang-format find xargs awk nproc; do
        ln -s "$(command -v "$name")" "$commands/$name"
    done
    play dpkg-query 'echo "install ok installed"'
    cp "$root/.clang-format" "$copy/"
    mkdir -p "$copy/src" "$copy/build"
    echo "$1" >"$copy/src/one.cpp"
    echo 'int   generated;' >"$copy/build/generated.cpp"
}

# Where several versions are installed, the command only chooses one.
add_python() {
    ln -s "$(python3 -c 'import sys; print(sys.executable)')" "$commands/python3"
}

layout_without_git() {
    begin_with_source 'int   one;'
    run format.sh --check && ends_with 123 && says 'src/one.cpp:1:4' && ! says generated || return
    run format.sh && ends_with 0 && [ "$(cat "$copy/src/one.cpp")" = 'int one;' ] && run format.sh --check && ends_with 0
}

tests_without_git() {
    begin_with_source 'int one;'
    play cmake 'exit 1'
    play python3 ''
    run test.sh host && says 'The build of host has failed' && [ "$(tail -n 1 <<<"$said")" = '0 passed, 1 failed' ] || return
    begin_with_source 'int   one;'
    play cmake 'exit 1'
    play python3 ''
    run test.sh host && says 'not laid out' && [ "$(tail -n 1 <<<"$said")" = '0 passed, 2 failed' ]
}

# show_failures: what is said of a log of three programs, of which two have failed at once.
show_failures() {
    awk -f "$root/scripts/show_failures.awk" <<'END'
    Start 1: one_tests
    Start 2: two_tests
    Start 3: three_tests
1: one_test.cpp:7: Failure
3: Traceback of a program that passes
2: two_tests: starting
1: Expected: one
2: two_tests: no such file
1/3 Test #1: one_tests ...***Failed  0.10 sec
2/3 Test #2: two_tests ...***Failed  0.20 sec
3/3 Test #3: three_tests ...   Passed  0.30 sec
END
}

failures_are_shown() {
    show_failures | diff - <(cat <<'END'
1/3 Test #1: one_tests ...***Failed  0.10 sec
1: one_test.cpp:7: Failure
1: Expected: one
2/3 Test #2: two_tests ...***Failed  0.20 sec
2: two_tests: starting
2: two_tests: no such file
END
    )
}

tidy_without_git() {
    begin_with_source 'int one;'
    add_python
    ln -s "$(command -v g++)" "$commands/"
    ln -s "$(command -v sha256sum)" "$commands/"
    mkdir "$copy/tests"
    touch "$copy/tests/two.cpp" "$copy/tests/three.cpp"
    mkdir -p "$copy/build/host"
    local twice="{\"command\": \"c++ -Winvalid-pch -include a/cmake_pch.hxx -c two.cpp\", \"file\": \"$copy/tests/two.cpp\"}"
    echo "[$twice, $twice]" >"$copy/build/host/compile_commands.json"
    play cmake ''
    play clang-tidy 'echo "looks at $*"'
    run tidy.sh && ends_with 0 && says 'src/one.cpp' && says 'tests/two.cpp' && ! says 'tests/three.cpp' || return
    [ "$(grep -c '"c++ -c two.cpp"' "$copy/build/tidy/compile_commands.json")" = 1 ] || return
    run tidy.sh --product && ends_with 0 && says 'src/one.cpp' && ! says 'tests/two.cpp'
}

# name_tests FILE LINE: a source of tests with that line.
name_tests() {
    mkdir -p "$copy/tests/folder"
    echo "$2" >"$copy/tests/folder/$1"
}

begin_with_python() {
    begin
    add_python
}

test_names_of_one_style() {
    begin_with_python
    name_tests one_test.cpp 'TEST(One, IsGood) {}'
    run test_names.py && ends_with 0 && [ -z "$said" ]
}

test_names_of_other_styles() {
    test_names_of_one_style || return
    name_tests two_test.cpp 'TEST_F(One, IsGoodAsWell) {}'
    run test_names.py && ends_with 1 && says 'the suite One is in folder/one_test.cpp as well' || return
    name_tests two_test.cpp 'TEST_P(Two, With_AnUnderscore) {}'
    run test_names.py && ends_with 1 && says 'With_AnUnderscore is not in UpperCamelCase' || return
    mv "$copy/tests/folder/two_test.cpp" "$copy/tests/folder/two.cpp"
    name_tests two.cpp 'TEST(Two, IsGood) {}'
    run test_names.py && ends_with 1 && says 'folder/two.cpp has tests, but is not called *_test.cpp'
}

test_names_of_nothing() {
    begin_with_python
    mkdir -p "$copy/tests"
    run test_names.py && ends_with 1 && says 'There are no sources'
}

node_without_npm() {
    begin
    run node.sh && ends_with 1 && says 'npm is missing'
}

node_without_registry() {
    begin
    play npm 'echo "npm ERR! network" >&2; exit 1'
    run node.sh && ends_with 1 && says 'npm ERR! network' && says 'npm has not fetched' && [ ! -e "$copy/build/node" ]
}

check "SetupNothingMissingSaysAndDoesNothing" setup_has_nothing_to_do
check "SetupUnknownArgumentShowsItsUsage" setup_asked_for_something_else
check "SetupWithoutAptNamesWhatIsNeeded" setup_elsewhere
check "SetupNeitherRootNorSudoGivesTheCommand" setup_as_nobody
check "SetupBySudoAsksNoQuestions" setup_by_sudo
check "SetupForTheDemoInstallsNothingForTheTests" setup_for_the_demo
check "SetupWithoutNetworkShowsAptsWordsAndTheCommand" setup_without_network
check "SetupOfServersStartsNoneOfThem" setup_of_servers
check "SetupOfServersFailsLeavesNoPolicyBehind" setup_of_servers_fails
check "SetupMachineHasAPolicyKeepsIt" setup_where_there_is_a_policy
check "WineWithoutArgumentsShowsItsUsage" wine_without_arguments
check "WineNotInstalledNamesTheScriptThatInstallsIt" wine_missing
check "WineUserHasAPrefixLeavesItAlone" wine_beside_a_users_prefix
check "WineHasMadeItsPrefixStartsAServerThatStays" wine_starts_a_server_that_stays
check "WineIsStartedByAnotherMeanwhileSaysSo" wine_is_started_by_another_meanwhile
check "WineServerIsGoneEndsTheProgramsOfItsPrefixAndNoOthers" wine_ends_what_its_server_left
check "WinePrefixCannotBeMadeShowsWinesWords" wine_cannot_make_a_prefix
check "WinePrefixIsNotWholeIsAFailure" wine_makes_half_a_prefix
check "DemoPackagesMissingSaysSoInItsLastLine" demo_without_packages
check "DemoDoesNotCompileShowsTheCompilersWords" demo_does_not_compile
check "DemoTestsAreBuiltKeepsThem" demo_where_the_tests_are_built
check "DemoServerDoesNotStartShowsItsWords" server_does_not_start
check "PackageToolMissingNamesIt" package_without_tools
check "PackageDoesNotCompileShowsTheCompilersWords" package_does_not_compile
check "PackageBuildOfAnotherKindIsRefused" package_from_other_builds
check "LayoutTreeWithoutGitIsCheckedAndMended" layout_without_git
check "TestsTreeWithoutGitCheckTheLayoutOfIt" tests_without_git
check "TestsFailuresAreShownByProgram" failures_are_shown
check "TidyTreeWithoutGitLooksAtItsSources" tidy_without_git
check "TestNamesOfOneStyleAreAccepted" test_names_of_one_style
check "TestNamesOfOtherStylesAreNamed" test_names_of_other_styles
check "TestNamesOfNoTestsAreMissed" test_names_of_nothing
check "NodeWithoutNpmSaysSo" node_without_npm
check "NodeRegistryOutOfReachShowsNpmsWordsAndLeavesNothing" node_without_registry
check_done
