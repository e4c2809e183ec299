#version 300 es
#extension GL_EXT_shader_framebuffer_fetch : require
precision mediump float;
inout vec4 color;
void main() { color = color * 0.5 + 0.25; }
