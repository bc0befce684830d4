# shellcheck shell=bash
# Formatting and static analysis. Sourced by ./dev.

# All C and C++ sources that are tracked, or new and not ignored.
sources() {
    git ls-files --cached --others --exclude-standard -- '*.c' '*.h' '*.cpp' '*.hpp'
}

cmd_format() {
    check clang-format git
    sources | xargs clang-format -i
}

cmd_lint() {
    check "${LINT[@]}"
    echo "== clang-format"
    sources | xargs clang-format --dry-run -Werror
    echo "== shellcheck"
    # The option -x also checks the files that a script sources.
    shellcheck -x dev scripts/*.sh .ci/run app/completion/vrx.bash tests/mutation/compiler.sh
    echo "== clang-tidy"
    configure dev >/dev/null
    git ls-files --cached --others --exclude-standard -- 'src/*.cpp' 'app/*.cpp' 'documents/*.cpp' |
        xargs -P "$(nproc)" -n 4 clang-tidy -p build/dev --quiet --warnings-as-errors='*' 2>/dev/null
    echo "== cppcheck"
    cppcheck --enable=warning,performance,portability --std=c++20 --language=c++ --inline-suppr --error-exitcode=1 \
        --quiet --suppressions-list=cmake/cppcheck.suppressions -j "$(nproc)" -I include -I src src app
    echo "clean"
}
