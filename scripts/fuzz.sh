# shellcheck shell=bash
# Fuzzing. Sourced by ./dev.

# In build/fuzz, each target has two folders: corpus/ holds the inputs of fuzz/corpus/TARGET.hex, and found/ holds the
# inputs that a run added.

# unpack TARGET
unpack() {
    rm -rf "build/fuzz/corpus/$1"
    mkdir -p "build/fuzz/corpus/$1" "build/fuzz/found/$1"
    [[ ! -f fuzz/corpus/$1.hex ]] || fuzz/corpus.py unpack "fuzz/corpus/$1.hex" "build/fuzz/corpus/$1"
}

# covered TARGET FOLDER...: prints the number of inputs and the number of edges that they cover.
covered() {
    local edges
    edges=$("${fixed[@]}" "build/fuzz/fuzz/${1}_fuzz" -runs=0 "${@:2}" 2>&1 | sed -n 's/.*INITED cov: \([0-9]*\) .*/\1/p')
    echo "$(find "${@:2}" -type f | wc -l) inputs, $edges edges"
}

# minimise TARGET: replaces the inputs of the target in the repository by the smallest set of old and new inputs with
# the same coverage.
minimise() {
    local program=build/fuzz/fuzz/${1}_fuzz merged=build/fuzz/merged/$1 log=build/fuzz/merged/$1.log
    rm -rf "$merged"
    mkdir -p "$merged"
    "${fixed[@]}" "$program" -set_cover_merge=1 "$merged" "build/fuzz/corpus/$1" "build/fuzz/found/$1" >"$log" 2>&1 || {
        tail -n 20 "$log" >&2
        return 1
    }
    fuzz/corpus.py pack "fuzz/corpus/$1.hex" "$merged"
    echo "$1: from $(covered "$1" "build/fuzz/corpus/$1" "build/fuzz/found/$1"), to $(covered "$1" "$merged")"
    rm -rf "build/fuzz/found/$1"
}

cmd_fuzz() {
    need "${FUZZ[@]}"
    want libgmp-dev
    local minimise="" target
    if [[ ${1:-} == --minimise ]]; then
        minimise=yes
        shift
    fi
    local seconds=${2:-60}
    local -a fixed
    read -ra fixed < <(fixed_addresses; echo)
    configure fuzz >/dev/null
    local -a targets=("${1:-}")
    if [[ -z ${1:-} ]]; then
        build fuzz --target fuzzers
        mapfile -t targets < <(find build/fuzz/fuzz -maxdepth 1 -type f -name '*_fuzz' -printf '%f\n' | sort)
        targets=("${targets[@]%_fuzz}")
    else
        build fuzz --target "$1_fuzz"
    fi
    for target in "${targets[@]}"; do
        unpack "$target"
        if [[ -n $minimise ]]; then
            minimise "$target"
            continue
        fi
        echo "== $target, $seconds seconds"
        local -a options=(-max_total_time="$seconds" -print_final_stats=1 -max_len=1000)
        [[ ! -f fuzz/$target.dict ]] || options+=("-dict=fuzz/$target.dict")
        "${fixed[@]}" "build/fuzz/fuzz/${target}_fuzz" "${options[@]}" -artifact_prefix="build/fuzz/found-$target-" \
            "build/fuzz/found/$target" "build/fuzz/corpus/$target"
    done
    [[ -n $minimise ]] || echo "New inputs are in build/fuzz/found; './dev fuzz --minimise' adds those worth keeping to fuzz/corpus."
}
