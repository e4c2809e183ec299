#version 310 es
// Horizontal box blur through workgroup shared storage.
precision highp float;
layout(local_size_x = 64) in;

layout(binding = 0, rgba8) readonly uniform highp image2D u_source;
layout(binding = 1, rgba8) writeonly uniform highp image2D u_target;

shared vec4 row[64 + 8];

void main() {
    ivec2 pixel = ivec2(gl_GlobalInvocationID.xy);
    uint local = gl_LocalInvocationID.x;
    row[local + 4u] = imageLoad(u_source, pixel);
    if (local < 4u) {
        row[local] = imageLoad(u_source, pixel - ivec2(4, 0));
        row[local + 68u] = imageLoad(u_source, pixel + ivec2(64, 0));
    }
    barrier();
    vec4 sum = vec4(0.0);
    for (int i = 0; i <= 8; ++i) sum += row[int(local) + i];
    imageStore(u_target, pixel, sum / 9.0);
}
