#!/usr/bin/env bash
# Gathers the seed inputs of every fuzz target into OUT_DIR/<target>/:
# the shaders of examples/, and, when a corpus directory with its
# MANIFEST.tsv is given, its OpenGL ES sources and SPIR-V modules, plus the
# corpus's Vulkan GLSL turned into SPIR-V by the packaged validator. The
# committed seeds under fuzz/seeds/ are not copied; callers pass that
# directory to the targets as well.
#
# usage: fuzz/collect-seeds.sh OUT_DIR GLSLANG [CORPUS_DIR]
set -euo pipefail

if [ $# -lt 2 ] || [ $# -gt 3 ]; then
    echo "usage: $0 OUT_DIR GLSLANG [CORPUS_DIR]" >&2
    exit 2
fi
out=$1
glslang=$2
corpus=${3:-}
source_dir=$(cd "$(dirname "$0")/.." && pwd)

rm -rf "$out"
mkdir -p "$out/reference_glsl_es" "$out/spirv_module" "$out/reference_spirv"

# One SPIR-V module, seeding both targets that read modules.
add_module() {
    cp "$1" "$out/spirv_module/$2"
    cp "$1" "$out/reference_spirv/$2"
}

# Vulkan GLSL to SPIR-V; a shader the validator rejects seeds nothing.
add_vulkan_glsl() {
    local file=$1 stage=$2 name=$3
    local module="$out/spirv_module/$name.spv"
    if "$glslang" -V -S "$stage" "$file" -o "$module" >/dev/null 2>&1; then
        cp "$module" "$out/reference_spirv/$name.spv"
    else
        rm -f "$module"
    fi
}

for file in "$source_dir"/examples/*; do
    name=$(basename "$file")
    case "$name" in
        *.vk.*) add_vulkan_glsl "$file" "${name##*.}" "examples__$name" ;;
        *.vert|*.frag|*.comp|*.geom|*.tesc|*.tese) cp "$file" "$out/reference_glsl_es/examples__$name" ;;
    esac
done

if [ -n "$corpus" ]; then
    if [ ! -f "$corpus/MANIFEST.tsv" ]; then
        echo "$0: no MANIFEST.tsv in $corpus" >&2
        exit 2
    fi
    # Columns: path, source_repo, source_path, licence, api, stage, ...
    while IFS=$'\t' read -r path _ _ _ api stage _; do
        file="$corpus/$path"
        [ -f "$file" ] || continue
        name="corpus__${path//\//__}"
        case "$api:$stage:$path" in
            gles:include:*) ;;
            gles:*) cp "$file" "$out/reference_glsl_es/$name" ;;
            vulkan:*:*.spv) add_module "$file" "$name" ;;
            vulkan:include:*) ;;
            vulkan:*) add_vulkan_glsl "$file" "$stage" "$name" ;;
        esac
    done < <(tail -n +2 "$corpus/MANIFEST.tsv")
fi

for target in "$out"/*/; do
    echo "seeds: $(find "$target" -type f | wc -l) in $target"
done
