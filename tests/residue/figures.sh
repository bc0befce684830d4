#!/bin/sh
# Builds the library into DIRECTORY as a user would, for each compiler and optimisation level, and prints what calls
# leave of their secrets. Usage: figures.sh PROJECT DIRECTORY [COMPILER/LEVEL...]
set -eu
project=$1
place=$2
shift 2
[ $# -gt 0 ] || set -- g++/-O3 clang++/-O3 g++/-O2 clang++/-O2 g++/-O1 clang++/-O1 g++/-Os clang++/-Os g++/-O0 clang++/-O0
mkdir -p "$place"
failed=0
for build in "$@"; do
    compiler=${build%/*}
    level=${build#*/}
    directory=$place/$compiler$level
    case $compiler in
        clang++) c=clang ;;
        *) c=gcc ;;
    esac
    cmake -G Ninja -S "$project" -B "$directory" -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_C_COMPILER="$c" \
        -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_FLAGS_RELEASE="$level -DNDEBUG" > "$directory.log" 2>&1
    cmake --build "$directory" --target residue >> "$directory.log" 2>&1
    echo "$compiler $level"
    "$directory/tests/residue/residue" control || failed=1
    "$directory/tests/residue/residue" --figures cipher hash sha1 curves numbers || failed=1
done
exit $failed
