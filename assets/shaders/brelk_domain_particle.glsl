#ifndef BRELK_DOMAIN_PARTICLE_GLSL
#define BRELK_DOMAIN_PARTICLE_GLSL

// Particles and volumes: translucent, tinted by the emitter's colour in the vertex colour,
// lit softly by the sun and the ambient term without a specular lobe.

#include "brelk_surface.glsl"
#include "brelk_lighting.glsl"
#include "brelk_debug_views.glsl"

BrelkSurface EvaluateMaterial();

#ifndef BRELK_SHADOW_PASS
layout(location = 0) out vec4 outColor;
#endif

void main() {
    BrelkSurface surface = EvaluateMaterial();
    float alpha = surface.alpha * inVertexColor.a;
#ifdef BRELK_ALPHA_TEST
    if (alpha < material.uvScaleAlphaCutoff.z) discard;
#endif
#ifndef BRELK_SHADOW_PASS
    // Half-Lambert wrap: a particle has no real normal, so its dark side must not go black.
    float wrap = dot(normalize(surface.normal), normalize(frame.sunDirection.xyz)) * 0.5 + 0.5;
    vec3 ambient = frame.ambientColor.rgb * frame.ambientColor.w;
#ifdef BRELK_AO_DARKENS_AMBIENT
    ambient *= surface.ambientOcclusion;
#endif
    vec3 light = frame.sunColor.rgb * frame.sunDirection.w * wrap + ambient;
    vec3 color = surface.baseColor * inVertexColor.rgb * light + surface.emissive;
    outColor = vec4(BrelkApplyDebugView(surface, color), alpha);
#endif
}

#endif
