// Alpha-tested foliage (OpenGL ES 2.0): several texture fetches and little
// arithmetic, and a discard that makes the shader modify coverage.
precision mediump float;

varying vec2 v_uv;
varying vec2 v_detail_uv;
varying float v_fog;

uniform sampler2D u_leaves;
uniform sampler2D u_detail;
uniform sampler2D u_wind_noise;
uniform vec4 u_fog_color;
uniform float u_cutoff;

void main() {
    vec2 sway = texture2D(u_wind_noise, v_detail_uv).xy * 0.02;
    vec4 leaf = texture2D(u_leaves, v_uv + sway);
    if (leaf.a < u_cutoff) discard;
    vec3 detail = texture2D(u_detail, v_detail_uv).rgb;
    gl_FragColor = vec4(mix(leaf.rgb * detail * 2.0, u_fog_color.rgb, v_fog), 1.0);
}
