# shellcheck shell=bash
# Building, packaging, documentation, demonstration. Sourced by ./dev.

if command -v ccache >/dev/null; then
    export CMAKE_C_COMPILER_LAUNCHER=${CMAKE_C_COMPILER_LAUNCHER-ccache}
    export CMAKE_CXX_COMPILER_LAUNCHER=${CMAKE_CXX_COMPILER_LAUNCHER-ccache}
    # Without these settings, ccache finds no object that was compiled with a precompiled header.
    export CCACHE_SLOPPINESS=${CCACHE_SLOPPINESS-pch_defines,time_macros,include_file_mtime,include_file_ctime}
fi

# configure PRESET [OPTION...], build PRESET [OPTION...]
configure() { cmake --preset "$@"; }
build() { cmake --build "build/$1" "${@:2}"; }

cmd_build() {
    need "${BUILD[@]}"
    configure release
    build release
}

cmd_package() {
    need "${PACKAGE[@]}"
    configure package
    build package
    rm -rf build/package/packages
    (cd build/package && cpack)
    python3 -B tests/install/debian_test.py --packages build/package/packages --source "$PWD" --cc gcc \
        --version "$(sed -n 's/^project(vrx VERSION \([0-9.]*\) .*/\1/p' CMakeLists.txt)"
}

cmd_docs() {
    need "${DOCS[@]}"
    mkdir -p build/docs
    rm -rf build/docs/html
    doxygen docs/Doxyfile
    echo "The site begins at build/docs/html/index.html"
}

cmd_demo() {
    local name=${1:-README.md} file=$PWD/README.md
    if [[ $# -gt 0 ]]; then file=$(cd "${called_from:?}" && realpath -m -- "$1"); fi
    if [[ ! -f $file || ! -r $file ]]; then
        echo "demo: cannot read the file '$name'" >&2
        exit 2
    fi
    need "${BUILD[@]}"
    echo "Building the program vrx ..."
    configure release >/dev/null
    build release --target vrx_program >/dev/null
    scripts/demo.sh "$PWD/build/release/app/vrx" "$file" "$name"
}
