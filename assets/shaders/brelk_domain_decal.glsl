#ifndef BRELK_DOMAIN_DECAL_GLSL
#define BRELK_DOMAIN_DECAL_GLSL

// Decals: a box drawn over the scene whose material lands on the scene's surface inside
// it. The projection gives the coverage; the colour blends over what is there.

#include "brelk_surface.glsl"
#include "brelk_lighting.glsl"
#include "brelk_debug_views.glsl"

BrelkSurface EvaluateMaterial();

#ifndef BRELK_SHADOW_PASS
layout(location = 0) out vec4 outColor;
#endif

void main() {
    BrelkSurface surface = EvaluateMaterial();
    float coverage = surface.alpha;
#ifdef BRELK_DECAL
    coverage *= BrelkDecalProjection().w;
    vec3 litPosition = BrelkSceneWorldPosition();
#else
    vec3 litPosition = inWorldPosition;
#endif
#ifdef BRELK_ALPHA_TEST
    if (coverage < material.uvScaleAlphaCutoff.z) discard;
#endif
#ifndef BRELK_SHADOW_PASS
    vec3 lit = BrelkShadeSurface(surface, litPosition);
    outColor = vec4(BrelkApplyDebugView(surface, lit), coverage);
#endif
}

#endif
