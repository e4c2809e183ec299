#!/usr/bin/env bash
# The whole test suite under AddressSanitizer and UndefinedBehaviorSanitizer
# (g++), then every fuzz seed replayed through the same instrumented code.
# Any sanitizer report fails the run. Build directory: build-asan (ASAN_BUILD_DIR).
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
dir=${ASAN_BUILD_DIR:-$root/build-asan}
jobs=${JOBS:-2}

# detect_leaks: the program must give back everything it takes, plug-ins
# included. exitcode: a report must not pass for the program's own exit 1.
export ASAN_OPTIONS=detect_leaks=1:halt_on_error=1:abort_on_error=0:exitcode=86:detect_stack_use_after_return=1:check_initialization_order=1:strict_init_order=1
export UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1:exitcode=86
export LSAN_OPTIONS=suppressions=$root/fuzz/lsan.supp:print_suppressions=0

phase_start=$SECONDS
phase() {
    echo "check-asan: $1 took $((SECONDS - phase_start))s"
    phase_start=$SECONDS
}

# -O1 with line tables only: half the compile time of -O2 -g, and reports
# still name every frame's file and line.
if [ ! -f "$dir/build.ninja" ]; then
    CC=gcc CXX=g++ cmake -S "$root" -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
        -DCMAKE_CXX_FLAGS_RELWITHDEBINFO="-O1 -g1 -DNDEBUG" -DCMAKE_C_FLAGS_RELWITHDEBINFO="-O1 -g1 -DNDEBUG" \
        -DSHADEX_SANITIZE=ON -DSHADEX_FUZZ=ON
fi
cmake --build "$dir" -j "$jobs"
phase "build"

ctest --test-dir "$dir" --output-on-failure -j "$jobs"
phase "test suite"

"$root/tools/fuzz.sh" replay "$dir"
phase "seed replay"
echo "check-asan: passed"
