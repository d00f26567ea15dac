#!/usr/bin/env bash
# Builds everything with warnings as errors and runs all tests: in the release build, then with address and
# undefined-behaviour sanitizers, then those of the libraries that threads meet in with the thread sanitizer.
source "$(dirname "${BASH_SOURCE[0]}")/scripts/setup.sh"

# The undefined-behaviour sanitizer only reports otherwise.
export UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1
export LSAN_OPTIONS=suppressions=$PWD/tests/support/foreign-leaks.txt:print_suppressions=0
export TSAN_OPTIONS=suppressions=$PWD/tests/support/foreign-races.txt:print_suppressions=0

install_packages
passed=0 failed=0

# run_tests NAME CTEST_ARGUMENTS...: adds CTest's counts to the sums, and shows what failed.
run_tests() {
    local name=$1 log=build/$1-tests.log
    shift
    say "testing $name; the log is $log"
    ctest --output-on-failure --no-tests=error --timeout 300 -j "$(nproc)" "$@" >"$log" 2>&1 </dev/null || true
    local summary
    summary=$(grep -E '^[0-9]+% tests passed, [0-9]+ tests failed out of [0-9]+' "$log" | tail -1) || {
        tail -20 "$log" >&2
        fail "no tests were run in $name"
    }
    local bad total
    read -r bad total < <(sed -E 's/.*, ([0-9]+) tests failed out of ([0-9]+).*/\1 \2/' <<<"$summary")
    passed=$((passed + total - bad)) failed=$((failed + bad))
    echo "   $((total - bad)) passed, $bad failed"
    [[ $bad -eq 0 ]] || grep -v -E '^ *[0-9]+/[0-9]+ Test .* Passed|^ *Start ' "$log" | head -200
}

build release
run_tests release --test-dir build/release

build asan-ubsan
run_tests asan-ubsan --test-dir build/asan-ubsan

threaded_libraries=(run observers studio vexa_core vexa_imgproc vexa_logging)
build tsan "${threaded_libraries[@]/%/_tests}"
for library in "${threaded_libraries[@]}"; do run_tests "tsan-$library" --test-dir "build/tsan/tests/$library"; done

echo "$passed passed, $failed failed"
[[ $failed -eq 0 ]]
