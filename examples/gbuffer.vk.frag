#version 450
// Vulkan deferred lighting in a subpass: reads the G-buffer through input
// attachments (framebuffer reads) and takes the light from push constants.
// Compile with --vulkan.
layout(input_attachment_index = 0, set = 0, binding = 0) uniform subpassInput g_albedo;
layout(input_attachment_index = 1, set = 0, binding = 1) uniform subpassInput g_normal;
layout(input_attachment_index = 2, set = 0, binding = 2) uniform subpassInput g_depth;

layout(push_constant) uniform Light {
    mat4 inverse_view_projection;
    vec4 position_radius;
    vec4 color;
} light;

layout(location = 0) in vec2 v_ndc;
layout(location = 0) out vec4 radiance;

void main() {
    vec3 albedo = subpassLoad(g_albedo).rgb;
    vec3 normal = normalize(subpassLoad(g_normal).xyz * 2.0 - 1.0);
    vec4 clip = vec4(v_ndc, subpassLoad(g_depth).x, 1.0);
    vec4 world = light.inverse_view_projection * clip;
    vec3 to_light = light.position_radius.xyz - world.xyz / world.w;
    float distance = length(to_light);
    float falloff = clamp(1.0 - distance / light.position_radius.w, 0.0, 1.0);
    radiance = vec4(albedo * light.color.rgb * max(dot(normal, to_light / distance), 0.0) * falloff * falloff, 1.0);
}
