# shellcheck shell=bash
# Benchmarks and measurements of time. Sourced by ./dev.

# Records this machine in bench/results, and draws the performance page from all recorded machines.
plot() {
    need python3
    configure release >/dev/null
    build release --target modes_bench gostr3411_bench sha1_bench ecc_bench
    python3 -B bench/record.py build/release/bench bench/results "$@"
    python3 -B bench/plot.py .
    echo "Drawn: docs/performance.md, docs/performance.svg and the summary in README.md"
}

cmd_bench() {
    need "${BENCH[@]}"
    want "${PEERS[@]}"
    if [[ ${1:-} == --plot ]]; then
        plot "${@:2}"
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
