#ifndef BRELK_POSTPROCESS_VERTEX_GLSL
#define BRELK_POSTPROCESS_VERTEX_GLSL

// One triangle that covers the screen, from the vertex index alone: no vertex buffer.

layout(location = 0) out vec2 vUv;

void main() {
    vec2 uv = vec2(float((gl_VertexIndex << 1) & 2), float(gl_VertexIndex & 2));
    vUv = uv;
    gl_Position = vec4(uv * 2.0 - 1.0, 0.0, 1.0);
}

#endif
