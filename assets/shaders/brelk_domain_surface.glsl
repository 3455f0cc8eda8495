#ifndef BRELK_DOMAIN_SURFACE_GLSL
#define BRELK_DOMAIN_SURFACE_GLSL

// Lit opaque and translucent meshes. The generated code below the include defines
// EvaluateMaterial. The shadow variant keeps only the coverage test and writes no colour.

#include "brelk_surface.glsl"
#include "brelk_lighting.glsl"
#include "brelk_debug_views.glsl"

BrelkSurface EvaluateMaterial();

#ifndef BRELK_SHADOW_PASS
layout(location = 0) out vec4 outColor;
#endif

void main() {
    BrelkSurface surface = EvaluateMaterial();
#ifdef BRELK_ALPHA_TEST
    if (surface.alpha < material.uvScaleAlphaCutoff.z) discard;
#endif
#ifndef BRELK_SHADOW_PASS
    vec3 lit = BrelkShadeSurface(surface, inWorldPosition);
    outColor = vec4(BrelkApplyDebugView(surface, lit), surface.alpha);
#endif
}

#endif
