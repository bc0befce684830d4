# shellcheck shell=bash
# Benchmarks and measurements of time. Sourced by ./dev.

# The rows that the plot and the tables show.
readonly PLOTTED_MODES='modes/(counter/.*/own/.*|counter/[^/]*/[0-9]+/|.*/own/(16|64|256|1024|65536)/|[^/]*/[^/]*/65536/)|context/.*/65536'
readonly PLOTTED_HASHES='hash/[^/]*/(built-in/)?[0-9]+/|hmac/.*/64/|pbkdf2'

plot() {
    need python3
    configure release >/dev/null
    build release --target modes_bench gostr3411_bench
    local programs=$PWD/build/release/bench
    "$programs/modes_bench" --benchmark_filter="$PLOTTED_MODES" \
        --benchmark_out="$programs/modes.json" --benchmark_out_format=json
    "$programs/gostr3411_bench" --benchmark_filter="$PLOTTED_HASHES" \
        --benchmark_out="$programs/hashes.json" --benchmark_out_format=json
    python3 bench/plot.py docs "$programs/modes.json" "$programs/hashes.json"
    echo "Drawn: docs/performance.svg"
}

cmd_bench() {
    need "${BENCH[@]}"
    want "${PEERS[@]}"
    if [[ ${1:-} == --plot ]]; then
        plot
        return
    fi
    configure release >/dev/null
    build release
    local program
    for program in build/release/bench/*_bench; do
        echo "== $(basename "$program")"
        "$program" "$@"
    done
}

cmd_timing() {
    need "${BUILD[@]}"
    configure release >/dev/null
    build release --target timing
    build/release/bench/timing "$@"
}
