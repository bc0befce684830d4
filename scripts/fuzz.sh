# shellcheck shell=bash
# Fuzzing. Sourced by ./dev.

cmd_fuzz() {
    need "${FUZZ[@]}"
    want libgmp-dev
    local seconds=${2:-60} fixed target
    fixed=$(fixed_addresses)
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
        echo "== $target, $seconds seconds"
        # Inputs that reach something new go to build/fuzz/found; what is worth keeping moves to fuzz/corpus with
        # -set_cover_merge=1.
        mkdir -p "build/fuzz/found/$target"
        local -a options=(-max_total_time="$seconds" -print_final_stats=1 -max_len=1000)
        [[ ! -f fuzz/$target.dict ]] || options+=("-dict=fuzz/$target.dict")
        $fixed "build/fuzz/fuzz/${target}_fuzz" "${options[@]}" -artifact_prefix="build/fuzz/found/$target-" \
            "build/fuzz/found/$target" "fuzz/corpus/$target"
    done
}
