#!/usr/bin/env bash
# Checks the Debian package that `make package` built: what it depends on,
# that it holds the runnable layout and nothing else, and that the programs
# run from it. With --install it is also installed for real (as root) and
# checked from /usr/bin, with its manual page and bash completion.
#
#   check-package.sh [--install] PACKAGE.deb
set -euo pipefail

install=0
if [ "${1-}" = "--install" ]; then install=1; shift; fi
deb=${1:?usage: check-package.sh [--install] PACKAGE.deb}
root=$(cd "$(dirname "$0")/.." && pwd)
examples=$root/examples
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

fail() { echo "check-package: $*" >&2; exit 1; }

depends=$(dpkg-deb -f "$deb" Depends)
[ "$depends" = "clang-14, llvm-spirv-14, libclang-cpp14, libllvm14, libllvmspirvlib14" ] || fail "Depends is '$depends'"

# Every path the package holds, and only the expected kinds.
dpkg -c "$deb" | awk '{print $6}' | sed 's#^\./#/#' > "$scratch/paths"
while read -r path; do
    case $path in
        /|/usr/|/usr/bin/|/usr/lib/|/usr/share/|/usr/share/doc/|/usr/share/man/|/usr/share/man/man1/) ;;
        /usr/share/bash-completion/*|/usr/share/zsh/*) ;;
        /usr/bin/shadex|/usr/bin/shadex-suite) ;;
        /usr/lib/shadex/*|/usr/share/doc/shadex/*) ;;
        /usr/share/man/man1/shadex.1*|/usr/share/man/man1/shadex-suite.1*) ;;
        *) fail "unexpected file in the package: $path" ;;
    esac
    case $path in
        *test*|*fuzz*|*scripted*|*.a|*.o|*CMake*|*/work/*|*/build/*) fail "stray file in the package: $path" ;;
    esac
done < "$scratch/paths"
for wanted in /usr/bin/shadex /usr/bin/shadex-suite /usr/lib/shadex/shadex /usr/lib/shadex/external/glslang \
              /usr/share/doc/shadex/README.md /usr/share/man/man1/shadex.1 \
              /usr/share/bash-completion/completions/shadex; do
    grep -qx -- "$wanted" "$scratch/paths" || fail "the package lacks $wanted"
done
grep -q '^/usr/lib/shadex/graphics/lib.*\.so$' "$scratch/paths" || fail "no graphics back-end"
grep -q '^/usr/lib/shadex/opencl/lib.*\.so$' "$scratch/paths" || fail "no OpenCL back-end"
grep -qx /usr/lib/shadex/opencl/shadex-opencl-tools "$scratch/paths" || fail "no resident OpenCL tools"

# The programs of an installed tree: the list, and one compile of each API.
# Output is read whole: grep -q stopping early would break the program's pipe.
expect() {
    local pattern=$1 what=$2 output
    shift 2
    output=$("$@" 2>&1) || true
    grep -q -- "$pattern" <<<"$output" || fail "$what"
}

run_from() {
    local bin=$1 prefix=$2
    expect "^Koro-N68 (OpenGL ES, Vulkan, OpenCL)$" "$bin/shadex --list" "$bin/shadex" --list
    expect "Total instruction cycles" "GLSL ES from $bin" "$bin/shadex" -c Koro-N68 "$examples/lighting.frag"
    expect "Total instruction cycles" "Vulkan GLSL from $bin" "$bin/shadex" -c Koro-N68 --vulkan "$examples/gbuffer.vk.frag"
    expect "Total instruction cycles" "OpenCL C from $bin" "$bin/shadex" -c Koro-N68 -n saxpy "$examples/saxpy.cl"
    expect "\"documentation\":\"file://$prefix/share/doc/shadex/README.md\"" \
        "the reports do not link to $prefix/share/doc/shadex" "$bin/shadex" --format json --list
    expect '"status":0' "shadex-suite from $bin" "$bin/shadex-suite" run -q -c Koro-N68 "$examples/lighting.frag"
}

dpkg -x "$deb" "$scratch/root"
run_from "$scratch/root/usr/bin" "$scratch/root/usr"
echo "check-package: the unpacked tree runs"

if [ "$install" = 1 ]; then
    apt-get install -y "$(cd "$(dirname "$deb")" && pwd)/$(basename "$deb")" >/dev/null
    run_from /usr/bin /usr
    # A machine configured to leave manual pages out (dpkg path-exclude) has none to find.
    if command -v man >/dev/null 2>&1 && ls /usr/share/man/man1/shadex.1* >/dev/null 2>&1; then
        man -w shadex >/dev/null 2>&1 || fail "man shadex finds no page"
        man -w shadex-suite >/dev/null 2>&1 || fail "man shadex-suite finds no page"
    fi
    bash -c 'source /usr/share/bash-completion/completions/shadex && complete -p shadex && complete -p shadex-suite' \
        >/dev/null || fail "no bash completion"
    echo "check-package: the installed package runs"
fi
