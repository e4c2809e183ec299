#!/usr/bin/env bash
# Runs every shader and kernel of a corpus through shadex on one core of each
# architecture and summarises how the runs ended.
#
# Usage: tools/sweep.sh CORPUS_DIR [SHADEX]
#
# CORPUS_DIR holds MANIFEST.tsv: one row per file with the tab-separated
# columns path (relative to CORPUS_DIR), source_repo, source_path, licence,
# api (gles, vulkan or opencl), stage (the file's stage extension, or include)
# and valid (yes, no or unknown); further columns are ignored. SHADEX defaults
# to build/bin/shadex.
#
# Settings (environment):
#   SWEEP_CORES       cores to use (default: Koro-L380 Koro-N36 Koro-N68
#                     Koro-N1-Ultra, one per architecture)
#   SWEEP_TIMEOUT     seconds one run may take (default 60)
#   SWEEP_JOBS        runs at a time (default 2)
#   SWEEP_FILTER      extended regular expression; only paths matching it run
#   SWEEP_LOG_DIR     where results and the output of unexpected runs are kept
#                     (default: a new directory under $TMP or /tmp)
#   SWEEP_EXCEPTIONS  documented outcomes (default: sweep-exceptions.tsv beside
#                     this script)
#   SWEEP_LIST_LIMIT  unexpected files listed per core in the summary
#                     (default 40; the full list is in the log directory)
#   SWEEP_ONE_PROCESS set: one shadex process per run, even when shadex-suite
#                     is beside shadex (which otherwise runs them all)
#
# What runs where. Include files are compiled only through the files that
# include them. A file runs on a core only when `shadex --info` says the core
# offers what the file needs:
#   - its API (gles: OpenGL ES, vulkan: Vulkan, opencl: OpenCL);
#   - OpenGL ES geometry and tessellation shaders: ES 3.2, or the extension
#     GL_EXT_geometry_shader or GL_EXT_tessellation_shader (shadex refuses them
#     elsewhere);
#   - ray-tracing stages: SPV_KHR_ray_tracing among the SPIR-V extensions.
# Any other combination runs. Skipped combinations are counted, not judged.
#
# How each run is called: with --opengles or --vulkan by the manifest's API; an
# OpenCL file with --opencl 1.2 and --name set to the first kernel defined in
# it. Through shadex-suite (the default when it is beside shadex), one list of
# absolute paths per core; one process per file runs from the file's own
# directory. Includes resolve beside the including file either way.
#
# Expectations: valid=yes must exit 0 and valid=no must exit 1; valid=unknown
# (the OpenCL kernels, most of which need defines from their host program) may
# exit 0 or 1. Exit status 2, a crash (ended by a signal) or a timeout is
# unexpected unless documented: tools/sweep-exceptions.tsv (or the file named
# by SWEEP_EXCEPTIONS) names files whose outcome on some architectures is
# another, with the reason; those runs are counted apart as "documented".
#
# Exit status: 0 when every run ended as expected, 1 otherwise, 2 when the
# sweep itself cannot run.
set -uo pipefail

readonly DEFAULT_CORES="Koro-L380 Koro-N36 Koro-N68 Koro-N1-Ultra"
readonly RAY_TRACING_STAGES=" rgen rint rahit rchit rmiss rcall "

fail_usage() {
  echo "sweep: $*" >&2
  exit 2
}

# The first kernel function defined in an OpenCL file; attributes and
# preprocessor lines may stand between "kernel" and "void".
first_kernel_name() {
  grep -Pzo '\b(?:__)?kernel\s+(?:(?:__attribute__\s*\(\([^;{]*?\)\)|#[^\n]*)\s*)*void\s+\K[A-Za-z_]\w*' \
    "$1" 2>/dev/null | head -z -n1 | tr -d '\0'
}

# One run: prints a single result line (core, api, stage, valid, path,
# outcome, verdict), tab-separated; keeps the output of an unexpected run.
# A documented outcome ("-" when there is none) replaces the manifest's.
run_one() {
  local core=$1 api=$2 stage=$3 valid=$4 path=$5 kernel=$6 documented=$7
  local file="$SWEEP_CORPUS/$path"
  local args=(--core "$core")
  case $api in
    gles) args+=(--opengles) ;;
    vulkan) args+=(--vulkan) ;;
    opencl) args+=(--opencl 1.2 --name "$kernel") ;;
  esac
  args+=("$file")

  local output
  output=$(mktemp "$SWEEP_LOG_DIR/run-XXXXXX")
  # The outer redirection keeps bash's own "Segmentation fault" notice out of
  # the summary; the crash is counted below.
  { (cd "$(dirname "$file")" && exec timeout -k 10 "$SWEEP_TIMEOUT" "$SWEEP_SHADEX" "${args[@]}") \
    >"$output" 2>&1 </dev/null; } 2>/dev/null
  local status=$?

  local outcome
  if ((status == 124)); then
    outcome=timeout
  elif ((status >= 128)); then
    outcome="crash($(kill -l $((status - 128)) 2>/dev/null || echo $((status - 128))))"
  else
    outcome="exit$status"
  fi

  local verdict=unexpected
  if [[ $documented != - ]]; then
    [[ $outcome == "$documented" ]] && verdict=documented
  else
    case "$valid:$outcome" in
      yes:exit0 | no:exit1 | unknown:exit0 | unknown:exit1) verdict=ok ;;
    esac
  fi

  if [[ $verdict != unexpected ]]; then
    rm -f "$output"
  else
    local kept="$SWEEP_LOG_DIR/logs/$core/$path.log"
    mkdir -p "$(dirname "$kept")"
    { printf '$ cd %q &&' "$(dirname "$file")"; printf ' %q' "$SWEEP_SHADEX" "${args[@]}"; echo
      cat "$output"; } >"$kept"
    rm -f "$output"
  fi
  # One short line per write, so the two parallel runs never interleave.
  printf '%s\t%s\t%s\t%s\t%s\t%s\t%s\n' "$core" "$api" "$stage" "$valid" "$path" "$outcome" "$verdict"
}

# What a core offers, from its JSON info report, as "key value" lines:
# architecture, gles, gles_geometry, gles_tessellation, vulkan, ray_tracing,
# opencl (1 or 0); or a single "error" line saying why there is no report.
core_capabilities() {
  local info
  if ! info=$("$SWEEP_SHADEX" --info --core "$1" --format json 2>/dev/null); then
    # Asked again for the message, which may continue on the line after "ERROR:".
    local message
    message=$("$SWEEP_SHADEX" --info --core "$1" --format json 2>&1 |
      awk '/ERROR/ { line = $0; getline more; print line " " more; exit }' | tr -s ' ')
    echo "error ${message:-shadex --info failed}"
    return
  fi
  python3 -c '
import json, sys
try:
    info = json.load(sys.stdin)
except ValueError:
    print("error shadex --info wrote no JSON report")
    sys.exit()
apis = info.get("apis", {})
def offered(api):
    return apis.get(api, {}).get("max_version") is not None
def extensions(api):
    return apis.get(api, {}).get("extensions") or []
gles_version = apis.get("opengles", {}).get("max_version") or 0
print("architecture", info.get("hardware", {}).get("architecture", "unknown").replace(" ", "_"))
print("gles", int(offered("opengles")))
print("gles_geometry", int(gles_version >= 320 or "GL_EXT_geometry_shader" in extensions("opengles")))
print("gles_tessellation", int(gles_version >= 320 or "GL_EXT_tessellation_shader" in extensions("opengles")))
print("vulkan", int(offered("vulkan")))
print("ray_tracing", int("SPV_KHR_ray_tracing" in extensions("vulkan")))
print("opencl", int(offered("opencl")))
' <<<"$info"
}

# Whether a file of this api and stage runs on the core whose capabilities
# are in the associative array named by $1.
runs_on() {
  local -n capabilities=$1
  local api=$2 stage=$3
  case $api in
    gles)
      ((capabilities[gles])) || return 1
      case $stage in
        geom) ((capabilities[gles_geometry])) ;;
        tesc | tese) ((capabilities[gles_tessellation])) ;;
        *) return 0 ;;
      esac
      ;;
    vulkan)
      ((capabilities[vulkan])) || return 1
      [[ $RAY_TRACING_STAGES != *" $stage "* ]] || ((capabilities[ray_tracing]))
      ;;
    opencl) ((capabilities[opencl])) ;;
    *) return 1 ;;
  esac
}

# The documented outcome of a file on an architecture, or "-".
documented_outcome() {
  local path=$1 architecture=$2
  [[ -f $SWEEP_EXCEPTIONS ]] || { echo -; return; }
  awk -F'\t' -v path="$path" -v arch="$architecture" '
    /^#/ || NF < 3 { next }
    $1 == path && ($2 == "*" || index("," $2 ",", "," arch ",")) { print $3; found = 1; exit }
    END { if (!found) print "-" }
  ' "$SWEEP_EXCEPTIONS"
}

print_summary() {
  local results=$1 unexpected_list=$2
  awk -F'\t' -v limit="$SWEEP_LIST_LIMIT" -v cores="$SWEEP_CORES" -v list="$unexpected_list" '
    FILENAME == ARGV[1] { architecture[$1] = $2; skipped[$1] = $3; broken[$1] = $4; next }
    {
      core = $1; valid = $4; outcome = $6
      runs[core]++
      kind = outcome ~ /^crash/ ? "crash" : outcome
      if (kind !~ /^(exit0|exit1|exit2|crash|timeout)$/) kind = "other"
      count[core, kind]++
      total[core, valid]++
      if ($7 == "ok") good[core, valid]++
      if ($7 == "documented") documented[core]++
      if ($7 == "unexpected") {
        bad[core]++
        expected = valid == "yes" ? "expected exit0" : valid == "no" ? "expected exit1" : "expected exit0 or exit1"
        line = sprintf("    %-12s %-24s %s", outcome, "(" expected ")", $5)
        print core ":" line > list
        if (bad[core] <= limit) shown[core] = shown[core] line "\n"
      }
    }
    END {
      n = split(cores, order, " ")
      printf "\n%-14s %-20s %6s %6s %6s %6s %6s %7s %6s %7s\n", "Core", "Architecture", "runs", "exit0",
             "exit1", "exit2", "crash", "timeout", "other", "skipped"
      for (i = 1; i <= n; i++) {
        c = order[i]
        printf "%-14s %-20s %6d %6d %6d %6d %6d %7d %6d %7d\n", c, architecture[c], runs[c], count[c, "exit0"],
               count[c, "exit1"], count[c, "exit2"], count[c, "crash"], count[c, "timeout"], count[c, "other"],
               skipped[c]
      }
      printf "\nExpected against actual (valid=yes expects exit0, valid=no expects exit1):\n"
      printf "%-14s %14s %14s %16s %11s %11s\n", "Core", "valid as exp.", "invalid as exp.", "unknown 0 or 1",
             "documented", "unexpected"
      for (i = 1; i <= n; i++) {
        c = order[i]
        printf "%-14s %14s %14s %16s %11d %11d\n", c, good[c, "yes"] + 0 "/" total[c, "yes"] + 0,
               good[c, "no"] + 0 "/" total[c, "no"] + 0, good[c, "unknown"] + 0 "/" total[c, "unknown"] + 0,
               documented[c], bad[c]
      }
      for (i = 1; i <= n; i++) {
        c = order[i]
        if (broken[c] != "") printf "\n%s: %s\n", c, broken[c]
        if (!bad[c]) continue
        printf "\nUnexpected on %s (%d):\n%s", c, bad[c], shown[c]
        if (bad[c] > limit) printf "    ... and %d more\n", bad[c] - limit
      }
    }
  ' "$SWEEP_LOG_DIR/cores.tsv" "$results"
}

main() {
  [[ $# -ge 1 && $# -le 2 ]] || fail_usage "usage: tools/sweep.sh CORPUS_DIR [SHADEX]"
  local corpus shadex
  corpus=$(cd "$1" 2>/dev/null && pwd) || fail_usage "no corpus directory $1"
  [[ -f $corpus/MANIFEST.tsv ]] || fail_usage "$corpus has no MANIFEST.tsv"
  shadex=${2:-build/bin/shadex}
  [[ -x $shadex ]] || fail_usage "shadex is not built at $shadex"
  shadex=$(cd "$(dirname "$shadex")" && pwd)/$(basename "$shadex")
  for tool in timeout xargs python3 awk; do
    command -v "$tool" >/dev/null || fail_usage "$tool is needed"
  done

  export SWEEP_CORPUS=$corpus SWEEP_SHADEX=$shadex
  SWEEP_EXCEPTIONS=${SWEEP_EXCEPTIONS:-$(dirname "$0")/sweep-exceptions.tsv}
  export SWEEP_TIMEOUT=${SWEEP_TIMEOUT:-60}
  SWEEP_CORES=${SWEEP_CORES:-$DEFAULT_CORES}
  SWEEP_LIST_LIMIT=${SWEEP_LIST_LIMIT:-40}
  local jobs=${SWEEP_JOBS:-2}
  if [[ -n ${SWEEP_LOG_DIR:-} ]]; then
    mkdir -p "$SWEEP_LOG_DIR" || fail_usage "cannot create $SWEEP_LOG_DIR"
  else
    SWEEP_LOG_DIR=$(mktemp -d "${TMP:-/tmp}/shadex-sweep-XXXXXX") || fail_usage "cannot create a log directory"
  fi
  SWEEP_LOG_DIR=$(cd "$SWEEP_LOG_DIR" && pwd)
  export SWEEP_LOG_DIR
  rm -rf "$SWEEP_LOG_DIR/logs"
  : >"$SWEEP_LOG_DIR/cores.tsv"

  # The run list: NUL-separated fields, seven per run, for xargs.
  local run_list="$SWEEP_LOG_DIR/runs" failed_cores=0 run_count=0
  : >"$run_list"
  local core
  for core in $SWEEP_CORES; do
    declare -A offers=()
    local key value
    while read -r key value; do offers[$key]=$value; done < <(core_capabilities "$core")
    if [[ -z ${offers[architecture]:-} ]]; then
      printf '%s\t%s\t%s\t%s\n' "$core" "?" 0 \
        "nothing was run: ${offers[error]:-shadex --info gave no capabilities}" >>"$SWEEP_LOG_DIR/cores.tsv"
      failed_cores=1
      unset offers
      continue
    fi
    local skipped=0 path repo source_path licence api stage valid rest kernel
    while IFS=$'\t' read -r path repo source_path licence api stage valid rest; do
      [[ $path == path || -z $path || $stage == include ]] && continue
      [[ -z ${SWEEP_FILTER:-} || $path =~ $SWEEP_FILTER ]] || continue
      if ! runs_on offers "$api" "$stage"; then
        skipped=$((skipped + 1))
        continue
      fi
      kernel=-
      if [[ $api == opencl ]]; then
        kernel=$(first_kernel_name "$corpus/$path")
        kernel=${kernel:-no_kernel_found}
      fi
      printf '%s\0' "$core" "$api" "$stage" "$valid" "$path" "$kernel" \
        "$(documented_outcome "$path" "${offers[architecture]}")" >>"$run_list"
      run_count=$((run_count + 1))
    done <"$corpus/MANIFEST.tsv"
    printf '%s\t%s\t%s\t\n' "$core" "${offers[architecture]}" "$skipped" >>"$SWEEP_LOG_DIR/cores.tsv"
    unset offers
  done

  local results="$SWEEP_LOG_DIR/results.tsv"
  : >"$results"
  # shadex-suite beside shadex runs the same job in warm workers, far faster;
  # SWEEP_ONE_PROCESS=1 runs one shadex process per file instead.
  local suite
  suite=$(dirname "$shadex")/shadex-suite
  if [[ -x $suite && -z ${SWEEP_ONE_PROCESS:-} ]]; then
    echo "Sweeping $corpus with $suite: $run_count runs on $SWEEP_CORES ($jobs workers, ${SWEEP_TIMEOUT} s limit each)"
    python3 "$(dirname "$0")/sweep_suite.py" "$run_list" "$suite" "$jobs" "$SWEEP_TIMEOUT" "$SWEEP_LOG_DIR" \
      "$corpus" >"$results" || echo "Sweep: shadex-suite did not finish." >&2
  else
    echo "Sweeping $corpus with $shadex: $run_count runs on $SWEEP_CORES ($jobs at a time, ${SWEEP_TIMEOUT} s limit each)"
    xargs -0 -n 7 -P "$jobs" -a "$run_list" "$BASH" "$0" --run-one >"$results" &
    local runner=$! waited=0
    while kill -0 "$runner" 2>/dev/null; do
      sleep 1
      waited=$((waited + 1))
      ((waited % 60 == 0)) && echo "  $(wc -l <"$results") of $run_count runs done"
    done
    wait "$runner"
  fi
  sort -t $'\t' -k5,5 -k1,1 -o "$results" "$results"

  local unexpected_list="$SWEEP_LOG_DIR/unexpected.txt"
  : >"$unexpected_list"
  print_summary "$results" "$unexpected_list"
  echo
  echo "Results: $results; output of unexpected runs: $SWEEP_LOG_DIR/logs/"
  if [[ -s $unexpected_list ]] || ((failed_cores)) || [[ $(wc -l <"$results") -ne $run_count ]]; then
    echo "Sweep: unexpected results, see above."
    return 1
  fi
  echo "Sweep: every run ended as expected."
  return 0
}

if [[ ${1:-} == --run-one ]]; then
  shift
  run_one "$@"
else
  main "$@"
fi
