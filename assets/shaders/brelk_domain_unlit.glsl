#ifndef BRELK_DOMAIN_UNLIT_GLSL
#define BRELK_DOMAIN_UNLIT_GLSL

// Unlit meshes: the base colour and the emissive light as they are.

#include "brelk_surface.glsl"
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
    vec3 color = surface.baseColor + surface.emissive;
#ifdef BRELK_AO_DARKENS_AMBIENT
    // Unlit has no ambient term; occlusion darkens what there is, as baked shading would.
    color *= surface.ambientOcclusion;
#endif
    outColor = vec4(BrelkApplyDebugView(surface, color), surface.alpha);
#endif
}

#endif
