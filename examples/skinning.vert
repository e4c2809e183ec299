#version 300 es
// Skinned vertex: position depends on the bone matrices, the rest is varying work.
in vec4 a_position;
in vec3 a_normal;
in vec2 a_uv;
in vec4 a_weights;
in uvec4 a_bones;

uniform mat4 u_view_projection;
uniform mat4 u_bones[32];

out vec3 v_normal;
out vec2 v_uv;

void main() {
    mat4 skin = u_bones[a_bones.x] * a_weights.x + u_bones[a_bones.y] * a_weights.y +
                u_bones[a_bones.z] * a_weights.z + u_bones[a_bones.w] * a_weights.w;
    gl_Position = u_view_projection * (skin * a_position);
    v_normal = mat3(skin) * a_normal;
    v_uv = a_uv;
}
