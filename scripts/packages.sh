# shellcheck shell=bash
# The Debian packages that each command needs, and functions that install them. Sourced by ./dev.
# shellcheck disable=SC2034  # other scripts read the lists

# The program needs libtasn1, the library does not.
readonly BUILD=(g++ cmake ninja-build libtasn1-6-dev)
readonly PACKAGE=("${BUILD[@]}" dpkg-dev file python3)
readonly TEST=("${PACKAGE[@]}" clang libclang-rt-14-dev libgtest-dev libgmock-dev libcapstone-dev pkg-config valgrind
    binutils util-linux python3-pytest python3-pip python3-setuptools python3-wheel mypy
    mandoc libtasn1-bin)
readonly DOCS=(doxygen doxygen-awesome-css python3)
readonly FUZZ=("${BUILD[@]}" clang libclang-rt-14-dev libgtest-dev libgmock-dev python3)
readonly MUTATE=("${BUILD[@]}" clang libclang-rt-14-dev libgtest-dev libgmock-dev pkg-config python3 git)
readonly BENCH=("${BUILD[@]}" libbenchmark-dev pkg-config)
readonly LINT=("${TEST[@]}" libbenchmark-dev clang-format clang-tidy cppcheck shellcheck git)
# Proofs run only if a solver is installed.
readonly PROVE=(z3 cvc5 libgmp-dev)
# Peers: tests and benchmarks compare libvrx with those that are installed.
readonly PEERS=(pkg-config libgcrypt20-dev nettle-dev libgnutls28-dev libbotan-2-dev libcrypto++-dev libssl-dev
    libengine-gost-openssl libgmp-dev openssl gnutls-bin rhash gostsum zsh)

as_root() {
    if [[ $EUID -eq 0 ]]; then "$@"; else sudo "$@"; fi
}

# missing PACKAGE...: prints those packages that are not installed.
missing() {
    local package
    for package in "$@"; do
        [[ $(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null) == installed ]] || echo "$package"
    done
}

# Runs apt-get, and shows its output only if it fails.
apt_get() {
    local said
    said=$(as_root env DEBIAN_FRONTEND=noninteractive apt-get -qq "$@" 2>&1) || {
        echo "$said" >&2
        return 1
    }
}

update_once() {
    [[ -n ${updated:-} ]] || apt_get update
    updated=yes
}

# is_debian PACKAGE...: on a system without Debian's package manager, prints a message with these packages, and fails.
is_debian() {
    command -v dpkg-query >/dev/null && return
    echo "This is not Debian; these packages, or their equivalents, are assumed to be installed: $*" >&2
    return 1
}

# check PACKAGE...: prints the packages that are missing, and how to install them. Installs nothing.
check() {
    is_debian "$@" || return 0
    local packages
    mapfile -t packages < <(missing "$@")
    [[ ${#packages[@]} -gt 0 ]] || return 0
    echo "dev: these packages are missing: ${packages[*]}" >&2
    echo "dev: install them with './dev install-deps' or 'apt-get install'" >&2
    exit 1
}

# need PACKAGE...: installs the packages that are missing.
need() {
    is_debian "$@" || return 0
    local packages
    mapfile -t packages < <(missing "$@")
    [[ ${#packages[@]} -gt 0 ]] || return 0
    if [[ $EUID -ne 0 ]] && ! command -v sudo >/dev/null; then
        echo "Please install as root: apt-get install ${packages[*]}" >&2
        exit 1
    fi
    echo "Installing from Debian: ${packages[*]}"
    update_once
    apt_get install -y --no-install-recommends "${packages[@]}"
}

# want PACKAGE...: like need, but continues without packages that cannot be installed.
want() {
    local package
    [[ -n $(missing "$@") ]] || return 0
    # Installs all packages at once; if that fails, one by one.
    (need "$@") && return
    for package in $(missing "$@"); do
        (need "$package") || echo "Continuing without the optional package $package"
    done
}

cmd_install-deps() {
    need "${LINT[@]}" "${BENCH[@]}" "${DOCS[@]}"
    want "${PEERS[@]}"
    echo "All packages are installed."
}
