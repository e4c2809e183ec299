#!/usr/bin/env bash
# Fuzzing and seed replay for the targets under fuzz/.
#
#   tools/fuzz.sh run SECONDS      libFuzzer (clang) in build-fuzz: every target
#                                  for SECONDS, one after the other
#   tools/fuzz.sh replay [DIR]     every seed once through the targets of the
#                                  build DIR (default build-asan)
#
# Seeds are the committed ones under fuzz/seeds/<target>/, the examples, and
# the shader corpus when it exists (CORPUS, default ../shared/corpus). Fuzzing
# keeps what it learns in build-fuzz/corpus/<target>/ and what crashed in
# build-fuzz/crashes/<target>/; either mode exits non-zero when a target fails.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
corpus=${CORPUS:-$root/../shared/corpus}
targets=(spirv_module output_model attribute_streams command_line reference_glsl_es reference_spirv)

usage() {
    echo "usage: $0 run SECONDS | $0 replay [BUILD_DIR]" >&2
    exit 2
}

# Leaks are reported and fatal; the suppressions name the one-time
# allocations of libraries that are never torn down.
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:halt_on_error=1:exitcode=86}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-halt_on_error=1:print_stacktrace=1:exitcode=86}
export LSAN_OPTIONS=${LSAN_OPTIONS:-suppressions=$root/fuzz/lsan.supp:print_suppressions=0}

configure() {
    local dir=$1
    shift
    [ -f "$dir/build.ninja" ] && return
    cmake -S "$root" -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DSHADEX_FUZZ=ON "$@"
}

# The seed directories of one target: committed, then generated.
seed_dirs() {
    local seeds=$1 target=$2
    echo "$root/fuzz/seeds/$target"
    if [ -d "$seeds/$target" ]; then echo "$seeds/$target"; fi
}

collect_seeds() {
    local dir=$1
    local corpus_args=()
    if [ -f "$corpus/MANIFEST.tsv" ]; then corpus_args=("$corpus"); fi
    "$root/fuzz/collect-seeds.sh" "$dir/seeds" "$dir/bin/external/glslang" "${corpus_args[@]}"
}

run() {
    local seconds=$1
    [[ $seconds =~ ^[0-9]+$ ]] && [ "$seconds" -gt 0 ] || usage
    local dir=${FUZZ_BUILD_DIR:-$root/build-fuzz}
    CC=clang-14 CXX=clang++-14 configure "$dir" -DSHADEX_BUILD_TESTS=OFF
    cmake --build "$dir" --target fuzz_targets shadex_glslang
    collect_seeds "$dir"

    local failed=() options=() dirs=() target status started
    mkdir -p "$dir/logs"
    for target in "${targets[@]}"; do
        mkdir -p "$dir/corpus/$target" "$dir/crashes/$target"
        echo "fuzz: $target for ${seconds}s"
        started=$SECONDS
        status=0
        mapfile -t dirs < <(seed_dirs "$dir/seeds" "$target")
        options=()
        if [ -f "$root/fuzz/$target.dict" ]; then options+=("-dict=$root/fuzz/$target.dict"); fi
        "$dir/fuzz/fuzz_$target" "$dir/corpus/$target" "${dirs[@]}" "${options[@]}" \
            -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 \
            -artifact_prefix="$dir/crashes/$target/" >"$dir/logs/$target.log" 2>&1 || status=$?
        grep -E '^(#[0-9]+[[:space:]]+DONE|stat::number_of_executed_units)' "$dir/logs/$target.log" | sed "s/^/  /" || true
        if [ "$status" -ne 0 ]; then
            failed+=("$target")
            echo "fuzz: $target FAILED (status $status) after $((SECONDS - started))s; see $dir/logs/$target.log"
            ls "$dir/crashes/$target" | sed "s|^|  $dir/crashes/$target/|"
        fi
    done
    if [ ${#failed[@]} -ne 0 ]; then
        echo "fuzz: failing targets: ${failed[*]}"
        exit 1
    fi
    echo "fuzz: no target failed"
}

replay() {
    local dir=${1:-$root/build-asan}
    # The same configuration as tools/check-asan.sh.
    CC=gcc CXX=g++ configure "$dir" -DSHADEX_SANITIZE=ON \
        -DCMAKE_CXX_FLAGS_RELWITHDEBINFO="-O1 -g1 -DNDEBUG" -DCMAKE_C_FLAGS_RELWITHDEBINFO="-O1 -g1 -DNDEBUG"
    cmake --build "$dir" --target fuzz_targets shadex_glslang
    collect_seeds "$dir"

    local failed=() dirs=() target
    for target in "${targets[@]}"; do
        mapfile -t dirs < <(seed_dirs "$dir/seeds" "$target")
        echo "replay: $target"
        if ! "$dir/fuzz/fuzz_$target" -runs=0 "${dirs[@]}" >"$dir/replay-$target.log" 2>&1; then
            failed+=("$target")
            tail -n 40 "$dir/replay-$target.log"
        fi
    done
    if [ ${#failed[@]} -ne 0 ]; then
        echo "replay: failing targets: ${failed[*]}"
        exit 1
    fi
    echo "replay: every seed of every target ran cleanly"
}

case "${1:-}" in
    run) [ $# -eq 2 ] || usage; run "$2" ;;
    replay) [ $# -le 2 ] || usage; replay "${2:-}" ;;
    *) usage ;;
esac
