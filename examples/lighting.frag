#version 310 es
// Per-pixel lighting with a normal map: texture and arithmetic heavy.
precision mediump float;

in highp vec3 v_position;
in vec3 v_normal;
in vec3 v_tangent;
in vec2 v_uv;

uniform sampler2D u_albedo;
uniform sampler2D u_normal_map;
uniform highp vec3 u_camera;
uniform vec3 u_light_direction;
uniform vec3 u_light_color;
uniform float u_shininess;

out vec4 frag_color;

void main() {
    vec3 n = normalize(v_normal);
    vec3 t = normalize(v_tangent - n * dot(n, v_tangent));
    vec3 b = cross(n, t);
    vec3 mapped = texture(u_normal_map, v_uv).xyz * 2.0 - 1.0;
    vec3 normal = normalize(mat3(t, b, n) * mapped);

    vec3 view = normalize(u_camera - v_position);
    vec3 halfway = normalize(u_light_direction + view);
    float diffuse = max(dot(normal, u_light_direction), 0.0);
    float specular = pow(max(dot(normal, halfway), 0.0), u_shininess);

    vec4 albedo = texture(u_albedo, v_uv);
    frag_color = vec4(albedo.rgb * u_light_color * diffuse + u_light_color * specular, albedo.a);
}
