#ifndef BRELK_DOMAIN_POSTPROCESS_GLSL
#define BRELK_DOMAIN_POSTPROCESS_GLSL

// Full-screen passes: the generated EvaluatePostProcess reads the scene's colour and depth
// at vUv and returns the new colour.

#include "brelk_common.glsl"
#include "brelk_frame.glsl"
#include "brelk_material_library.glsl"

layout(location = 0) in vec2 vUv;
layout(location = 0) out vec4 outColor;

vec4 EvaluatePostProcess();

void main() {
    outColor = EvaluatePostProcess();
}

#endif
