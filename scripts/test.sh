# shellcheck shell=bash
# Tests, comparisons with peers, coverage and mutation tests. Sourced by ./dev.

# run_tests PRESET [OPTION...]
run_tests() { ctest --test-dir "build/$1" --output-on-failure --no-tests=error -j "$(($(nproc) + 1))" "${@:2}"; }

# The sanitizers' shadow memory does not tolerate much address space randomisation.
fixed_addresses() {
    if setarch -R true 2>/dev/null; then echo "setarch -R"; fi
}

cmd_test() {
    need "${TEST[@]}"
    want "${PEERS[@]}" "${PROVE[@]}" doxygen
    python3 -B scripts/test_stages.py "$@"
}

cmd_interop() {
    local cases=${1:-2000} log program peer failed=
    if [[ ! $cases =~ ^[1-9][0-9]{0,8}$ ]]; then
        echo "dev: '$cases' is not a number of cases; use ./dev interop 1000" >&2
        exit 2
    fi
    # shellcheck disable=SC2153  # packages.sh assigns BUILD
    need "${BUILD[@]}" libgtest-dev pkg-config python3
    want "${PEERS[@]}"
    # Removes old programs, so that afterwards only those exist that can be built now.
    rm -f build/dev/tests/interop/*_test
    configure dev
    build dev --target interop
    log=$(mktemp)
    for program in build/dev/tests/interop/*_test; do
        VRX_INTEROP_CASES=$cases "$program" --gtest_color=no | tee -a "$log" || failed=yes
    done
    echo
    echo "== took part, with $cases cases for each test and parameter set"
    sed -n 's/^\[  peer    \] /   /p' "$log"
    for peer in libgcrypt nettle GnuTLS Botan Crypto++ OpenSSL 'the GOST engine'; do
        grep -qF "[  peer    ] $peer" "$log" || echo "== left out, since it is not installed: $peer"
    done
    rm "$log"
    if [[ -n $failed ]]; then
        echo "There are differences; VRX_TEST_SEED in the output repeats them" >&2
        exit 1
    fi
}

cmd_residue() {
    local build
    for build in "$@"; do
        if [[ ! $build =~ ^(g|clang)[+][+]/-O[0123s]$ ]]; then
            echo "dev: '$build' is not a build; use ./dev residue g++/-O2" >&2
            exit 2
        fi
    done
    need "${TEST[@]}"
    sh tests/residue/figures.sh . build/residue "$@"
}

cmd_prove() {
    if [[ $# -gt 1 || ${1:---all} != --all ]]; then
        echo "dev: use ./dev prove or ./dev prove --all" >&2
        exit 2
    fi
    need "${BUILD[@]}" libgtest-dev pkg-config python3
    want "${PROVE[@]}"
    configure dev >/dev/null
    build dev --target prove
    local program failed=
    [[ ${1:-} != --all ]] || export VRX_PROVE_ALL=1
    for program in build/dev/tests/prove/prove_*_test; do
        "$program" --gtest_brief=1 --gtest_color=no || failed=yes
    done
    [[ -z $failed ]] || exit 1
}

cmd_coverage() {
    need "${TEST[@]}"
    want "${PEERS[@]}"
    configure coverage
    build coverage
    find build/coverage -name '*.gcda' -delete
    run_tests coverage
    python3 -B tests/coverage/coverage.py "$PWD" build/coverage
}

cmd_mutate() {
    need "${MUTATE[@]}"
    want libgmp-dev
    python3 -B tests/mutation/mutate.py "$@"
}
