precision mediump float;
varying vec2 v_uv;
uniform sampler2D u_tex;
uniform int u_count;
void main() {
    vec4 sum = vec4(0.0);
    for (int i = 0; i < 16; ++i) {
        if (i >= u_count) break;
        sum += texture2D(u_tex, v_uv + float(i) * 0.01);
    }
    gl_FragColor = sum / 16.0;
}
