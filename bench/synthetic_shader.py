#!/usr/bin/env python3
"""Writes a synthetic OpenGL ES 3.1 fragment shader of a chosen size.

The shader looks like a real material shader grown large: many independent
functions, each one a block of lighting-style arithmetic, a few texture
samples, and every third one a loop bounded by a uniform (so the optimiser
cannot unroll it away). main() calls them all in turn and blends the results.
Scale N repeats the function pattern N times with different constants, so the
program grows linearly with N and nothing in it is shared between copies.

Usage: synthetic_shader.py [--scale N] [--out FILE]
"""

import argparse
import sys

# Functions per unit of scale: about 180 source lines at scale 1.
FUNCTIONS_PER_SCALE = 12

HEADER = """\
#version 310 es
precision highp float;
precision highp int;

uniform mediump sampler2D u_albedo;
uniform mediump sampler2D u_normal_map;
uniform mediump sampler2D u_detail;
uniform highp sampler2D u_shadow_map;
uniform vec4 u_light_dir[4];
uniform vec4 u_light_colour[4];
uniform vec4 u_tint;
uniform int u_steps;

in vec2 v_uv;
in vec3 v_normal;
in vec3 v_position;
in vec4 v_shadow_coord;

out vec4 frag_colour;
"""

ARITHMETIC_BLOCK = """
vec4 shade_{index}(vec4 acc) {{
    vec3 n = normalize(v_normal * {a:.3f} + vec3({b:.3f}, {c:.3f}, 0.25));
    vec3 l = normalize(u_light_dir[{light}].xyz);
    vec3 v = normalize(-v_position);
    vec3 h = normalize(l + v);
    float ndl = clamp(dot(n, l), 0.0, 1.0);
    float ndh = clamp(dot(n, h), 0.0, 1.0);
    float fresnel = {b:.3f} + (1.0 - {b:.3f}) * pow(1.0 - clamp(dot(v, h), 0.0, 1.0), 5.0);
    float specular = pow(ndh, {power:.1f}) * fresnel;
    vec3 lit = u_light_colour[{light}].rgb * (ndl + specular) + vec3({c:.3f});
    return vec4(mix(acc.rgb, lit * u_tint.rgb, {mix:.3f}), acc.a + ndl * {a:.3f});
}}
"""

TEXTURE_BLOCK = """
vec4 sample_{index}(vec4 acc) {{
    vec2 uv = v_uv * {a:.3f} + vec2({b:.3f}, {c:.3f});
    vec4 albedo = texture(u_albedo, uv);
    vec3 bump = texture(u_normal_map, uv * 2.0).xyz * 2.0 - 1.0;
    vec4 detail = texture(u_detail, uv * {power:.1f});
    float shadow = texture(u_shadow_map, v_shadow_coord.xy / v_shadow_coord.w).r;
    float lit = step(v_shadow_coord.z - {c:.3f}, shadow);
    vec3 colour = albedo.rgb * detail.rgb * (0.5 + 0.5 * dot(bump, normalize(u_light_dir[{light}].xyz)));
    return vec4(mix(acc.rgb, colour * lit, {mix:.3f}), acc.a * albedo.a);
}}
"""

LOOP_BLOCK = """
vec4 blur_{index}(vec4 acc) {{
    vec4 sum = vec4(0.0);
    float weight = 0.0;
    for (int i = 0; i < u_steps; ++i) {{
        float offset = float(i) * {b:.4f};
        float w = exp(-float(i * i) * {c:.3f});
        sum += texture(u_detail, v_uv + vec2(offset, -offset * {a:.3f})) * w;
        weight += w;
    }}
    vec4 blurred = sum / max(weight, 0.0001);
    return mix(acc, blurred * u_tint, {mix:.3f});
}}
"""

BLOCKS = (("shade", ARITHMETIC_BLOCK), ("sample", TEXTURE_BLOCK), ("blur", LOOP_BLOCK))


def block_constants(index):
    """Constants that differ from function to function, deterministically."""
    return {
        "index": index,
        "a": 0.5 + (index * 37 % 100) / 100.0,
        "b": 0.01 + (index * 13 % 50) / 1000.0,
        "c": 0.05 + (index * 7 % 30) / 100.0,
        "power": 8.0 + index % 24,
        "mix": 0.2 + (index * 11 % 60) / 100.0,
        "light": index % 4,
    }


def generate(scale):
    if scale < 1:
        raise ValueError("scale must be at least 1")
    functions = []
    parts = [HEADER]
    for index in range(scale * FUNCTIONS_PER_SCALE):
        prefix, template = BLOCKS[index % len(BLOCKS)]
        parts.append(template.format(**block_constants(index)))
        functions.append("%s_%d" % (prefix, index))
    body = ["\nvoid main() {", "    vec4 acc = vec4(0.0, 0.0, 0.0, 1.0);"]
    body += ["    acc = %s(acc);" % name for name in functions]
    body += ["    frag_colour = acc;", "}", ""]
    parts.append("\n".join(body))
    return "".join(parts)


def main():
    parser = argparse.ArgumentParser(description="Write a synthetic OpenGL ES fragment shader.")
    parser.add_argument("--scale", type=int, default=1, help="size multiplier (default 1)")
    parser.add_argument("--out", help="output file (default: standard output)")
    arguments = parser.parse_args()
    text = generate(arguments.scale)
    if arguments.out:
        with open(arguments.out, "w", encoding="utf-8") as file:
            file.write(text)
    else:
        sys.stdout.write(text)


if __name__ == "__main__":
    main()
