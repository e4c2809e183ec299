#version 310 es
layout(local_size_x = 64) in;
layout(std430, binding = 0) buffer Data { highp float values[]; };
shared highp float tile[64];
void main() {
    uint i = gl_GlobalInvocationID.x;
    tile[gl_LocalInvocationIndex] = values[i];
    barrier();
    float v = tile[(gl_LocalInvocationIndex + 1u) % 64u];
    while (v > 1.0) { v *= 0.5; }
    values[i] = i % 2u == 0u ? v : -v;
}
