#!/usr/bin/env bash
# Builds the packaged glslang validator (and its static libraries) from the
# Debian source package and installs it into a private prefix, normally a
# per-user cache, so that every later build on this machine reuses it.
#
#   build-glslang.sh --version DEBIAN_VERSION --banner TEXT --prefix DIR
#                    [--patches DIR] [--jobs N]
#
# DEBIAN_VERSION is the exact source package version to fetch from trixie;
# TEXT is what the built validator must print first for "glslang -v".
# Every *.patch file in the patches directory is applied (-p1, in name order)
# to the unpacked tree: fixes for validator crashes found on real shaders.
# N (or SHADEX_GLSLANG_JOBS) limits the parallel compile jobs.
# The system's apt setup is never touched: the source is fetched through a
# private apt configuration with its own sources list, lists and cache.
# The prefix only ever appears complete: the install is staged beside it and
# renamed into place, under a lock shared by concurrent builds.
set -euo pipefail

SCRIPT=build-glslang
version=""
banner=""
prefix=""
patches=""
jobs="${SHADEX_GLSLANG_JOBS:-}"

usage() {
    echo "usage: $0 --version DEBIAN_VERSION --banner TEXT --prefix DIR [--patches DIR] [--jobs N]" >&2
    exit 2
}

while [ $# -gt 0 ]; do
    case "$1" in
        --version) version="${2-}"; shift 2 || usage ;;
        --banner) banner="${2-}"; shift 2 || usage ;;
        --prefix) prefix="${2-}"; shift 2 || usage ;;
        --patches) patches="${2-}"; shift 2 || usage ;;
        --jobs) jobs="${2-}"; shift 2 || usage ;;
        *) usage ;;
    esac
done
if [ -z "$version" ] || [ -z "$banner" ] || [ -z "$prefix" ]; then usage; fi

say() { echo "$SCRIPT: $*"; }

# Prints what failed and what to do about it, then stops.
fail() {
    echo "$SCRIPT: error: $1" >&2
    shift
    for hint in "$@"; do echo "$SCRIPT:   $hint" >&2; done
    exit 1
}

# True when the validator at $1 prints the expected banner at the very start.
validator_is_trusted() {
    local reported
    [ -x "$1" ] || return 1
    reported=$("$1" -v 2>/dev/null) || return 1
    [ "${reported#"$banner"}" != "$reported" ]
}

prefix_is_complete() {
    validator_is_trusted "$prefix/bin/glslang" &&
        [ -f "$prefix/lib/cmake/glslang/glslang-config.cmake" ]
}

require_tools() {
    local missing=() tool package
    for entry in apt-get:apt dpkg-source:dpkg-dev patch:patch cmake:cmake ninja:ninja-build \
                 c++:g++ python3:python3 flock:util-linux; do
        tool=${entry%%:*}
        package=${entry#*:}
        command -v "$tool" >/dev/null 2>&1 || missing+=("$package")
    done
    if [ ${#missing[@]} -gt 0 ]; then
        fail "missing build tools for the packaged glslang validator" \
             "install them with: apt-get install ${missing[*]}  (or run: make deps)"
    fi
}

# The Debian archive mirror the machine already uses, so that the source comes
# from the same place as everything else; deb.debian.org when none is named.
debian_mirror() {
    local uris=()
    if [ -f /etc/apt/sources.list ]; then
        # One-line form: "deb [options] URI suite components".
        while read -r uri; do uris+=("$uri"); done < <(
            awk '$1 == "deb" || $1 == "deb-src" {
                     i = 2
                     if ($i ~ /^\[/) { while (i <= NF && $i !~ /\]$/) i++; i++ }
                     if (i <= NF) print $i
                 }' /etc/apt/sources.list)
    fi
    for file in /etc/apt/sources.list.d/*.sources; do
        [ -f "$file" ] || continue
        while read -r uri; do uris+=("$uri"); done < <(
            awk 'tolower($1) == "uris:" { for (i = 2; i <= NF; i++) print $i }' "$file")
    done
    for uri in "${uris[@]}"; do
        if [[ "$uri" =~ ^(https?|ftp)://.*/debian/?$ ]]; then
            echo "${uri%/}"
            return
        fi
    done
    echo "http://deb.debian.org/debian"
}

fetch_source() {
    local apt_dir="$work/apt" mirror keyring="/usr/share/keyrings/debian-archive-keyring.gpg"
    mirror=$(debian_mirror)
    mkdir -p "$apt_dir/sources.list.d" "$apt_dir/lists/partial" \
             "$apt_dir/cache/archives/partial" "$work/source"
    local signed_by=""
    [ -f "$keyring" ] && signed_by="[signed-by=$keyring] "
    echo "deb-src ${signed_by}$mirror trixie main" > "$apt_dir/sources.list"
    cat > "$apt_dir/apt.conf" <<EOF
Dir::Etc::sourcelist "$apt_dir/sources.list";
Dir::Etc::sourceparts "$apt_dir/sources.list.d";
Dir::State::lists "$apt_dir/lists";
Dir::Cache "$apt_dir/cache";
Dir::Cache::pkgcache "";
Dir::Cache::srcpkgcache "";
APT::Sandbox::User "$(id -un)";
EOF
    say "fetching glslang $version source from $mirror (trixie)"
    if ! APT_CONFIG="$apt_dir/apt.conf" apt-get -q update >>"$log" 2>&1; then
        fail "could not read the trixie source index from $mirror (log: $log)" \
             "check the network connection and that debian-archive-keyring knows the trixie keys," \
             "then retry the build"
    fi
    if ! (cd "$work/source" &&
          APT_CONFIG="$apt_dir/apt.conf" apt-get -q source --download-only "glslang=$version") \
          >>"$log" 2>&1; then
        fail "could not fetch source package glslang=$version from $mirror trixie (log: $log)" \
             "the version may have left the archive; point SHADEX_GLSLANG_PREFIX at an existing" \
             "build of it, or retry when the mirror answers"
    fi
    # The Debian patches only wire glslang to a system-wide SPIR-V optimizer
    # through pkg-config; the validator is built without the optimizer, so the
    # pristine upstream tree is unpacked.
    if ! dpkg-source --skip-patches -x "$work/source/glslang_${version#*:}.dsc" "$work/source/tree" \
          >>"$log" 2>&1; then
        fail "could not unpack the glslang source package (log: $log)" \
             "install dpkg-dev and retry"
    fi
}

apply_patches() {
    [ -n "$patches" ] || return 0
    local file
    for file in "$patches"/*.patch; do
        [ -f "$file" ] || continue
        say "applying $(basename "$file")"
        if ! patch -d "$work/source/tree" -p1 --forward --batch < "$file" >>"$log" 2>&1; then
            fail "could not apply $file to the glslang source (log: $log)" \
                 "the patch no longer fits glslang $version; update or remove it"
        fi
    done
}

build_and_stage() {
    local build_dir="$work/build"
    local -a parallel=()
    [ -n "$jobs" ] && parallel=(-j "$jobs")
    say "configuring (optimizer off, tests off, static PIC libraries)"
    if ! cmake -S "$work/source/tree" -B "$build_dir" -G Ninja \
            -DCMAKE_BUILD_TYPE=Release \
            -DCMAKE_INSTALL_PREFIX="$prefix" \
            -DCMAKE_INSTALL_LIBDIR=lib \
            -DBUILD_SHARED_LIBS=OFF \
            -DCMAKE_POSITION_INDEPENDENT_CODE=ON \
            -DENABLE_OPT=OFF \
            -DBUILD_EXTERNAL=OFF \
            -DGLSLANG_TESTS=OFF \
            -DENABLE_SPVREMAPPER=OFF \
            -DENABLE_GLSLANG_JS=OFF \
            -DGLSLANG_ENABLE_INSTALL=ON >>"$log" 2>&1; then
        fail "configuring glslang failed (log: $log)" \
             "install the build tools (make deps) and retry"
    fi
    say "compiling (several minutes on a small machine; log: $log)"
    if ! cmake --build "$build_dir" "${parallel[@]}" >>"$log" 2>&1; then
        tail -n 30 "$log" >&2 || true
        fail "compiling glslang failed (log: $log)" \
             "install g++ and python3 (make deps) and retry"
    fi
    if ! DESTDIR="$work/stage" cmake --install "$build_dir" >>"$log" 2>&1; then
        fail "installing glslang into the staging directory failed (log: $log)" \
             "check free space under $(dirname "$prefix") and retry"
    fi
}

publish() {
    local staged="$work/stage$prefix" reported
    if ! validator_is_trusted "$staged/bin/glslang"; then
        reported=$("$staged/bin/glslang" -v 2>&1 | head -n 1) || true
        fail "the built validator reports \"$reported\", expected \"$banner\"" \
             "the source package glslang=$version does not give the expected validator"
    fi
    # An earlier, unusable prefix is moved out of the way inside the work
    # directory, which is deleted afterwards.
    [ -e "$prefix" ] && mv -T "$prefix" "$work/previous"
    mv -T "$staged" "$prefix"
}

require_tools
prefix=$(realpath -m "$prefix")
if prefix_is_complete; then
    say "using $prefix"
    exit 0
fi

cache_root=$(dirname "$prefix")
mkdir -p "$cache_root" || fail "cannot create $cache_root" "set SHADEX_GLSLANG_PREFIX to a writable place"
lock="$cache_root/.$(basename "$prefix").lock"
exec 9>"$lock" || fail "cannot create the lock file $lock" "set SHADEX_GLSLANG_PREFIX to a writable place"
if ! flock -n 9; then
    say "waiting for another build of $prefix to finish"
    flock 9
fi
if prefix_is_complete; then
    say "using $prefix (built by a concurrent build)"
    exit 0
fi

# Work beside the prefix so that the final rename stays on one file system.
work=$(mktemp -d "$cache_root/.$(basename "$prefix").work.XXXXXX")
log="$work/build.log"
succeeded=0
cleanup() {
    if [ "$succeeded" = 1 ]; then
        rm -rf "$work"
    else
        echo "$SCRIPT: the work directory $work was kept for inspection; delete it when done" >&2
    fi
}
trap cleanup EXIT

started=$(date +%s)
fetch_source
apply_patches
build_and_stage
publish
succeeded=1
say "installed glslang $version into $prefix in $(( $(date +%s) - started )) s"
