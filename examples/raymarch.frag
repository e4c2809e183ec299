#version 300 es
// Sphere tracing a signed distance field: the step count comes from a
// uniform, so the loop has no bound the compiler can see and the longest path
// is unbounded. The light direction depends on uniforms only, work that can
// move out of the per-pixel shader.
precision highp float;

in vec2 v_ndc;
out vec4 frag_color;

uniform vec3 u_eye;
uniform mat3 u_camera;
uniform vec3 u_sun_azimuth_elevation;
uniform int u_max_steps;

float scene(vec3 p) {
    float sphere = length(p - vec3(0.0, 1.0, 0.0)) - 1.0;
    float ground = p.y;
    return min(sphere, ground);
}

vec3 normal_at(vec3 p) {
    const vec2 e = vec2(0.001, 0.0);
    return normalize(vec3(scene(p + e.xyy) - scene(p - e.xyy), scene(p + e.yxy) - scene(p - e.yxy),
                          scene(p + e.yyx) - scene(p - e.yyx)));
}

void main() {
    vec3 sun = vec3(cos(u_sun_azimuth_elevation.x) * cos(u_sun_azimuth_elevation.y),
                    sin(u_sun_azimuth_elevation.y),
                    sin(u_sun_azimuth_elevation.x) * cos(u_sun_azimuth_elevation.y));
    vec3 direction = normalize(u_camera * vec3(v_ndc, 1.5));
    float travelled = 0.0;
    for (int i = 0; i < u_max_steps; ++i) {
        float distance = scene(u_eye + direction * travelled);
        if (distance < 0.001 || travelled > 50.0) break;
        travelled += distance;
    }
    vec3 hit = u_eye + direction * travelled;
    float light = travelled > 50.0 ? 0.0 : max(dot(normal_at(hit), sun), 0.0);
    frag_color = vec4(vec3(light), 1.0);
}
