#ifndef BRELK_LIGHTING_GLSL
#define BRELK_LIGHTING_GLSL

// Shading of an evaluated surface: the sun with a GGX specular lobe and a Lambert diffuse
// term, a flat ambient term, and the emissive light on top.

#include "brelk_common.glsl"
#include "brelk_frame.glsl"
#include "brelk_surface.glsl"

float BrelkDistributionGgx(float nDotH, float roughness) {
    float a = roughness * roughness;
    float a2 = a * a;
    float d = nDotH * nDotH * (a2 - 1.0) + 1.0;
    return a2 / max(BRELK_PI * d * d, BRELK_EPSILON);
}

// Height-correlated Smith visibility, already divided by 4 nDotL nDotV.
float BrelkVisibilitySmith(float nDotV, float nDotL, float roughness) {
    float a2 = roughness * roughness * roughness * roughness;
    float v = nDotL * sqrt(nDotV * nDotV * (1.0 - a2) + a2);
    float l = nDotV * sqrt(nDotL * nDotL * (1.0 - a2) + a2);
    return 0.5 / max(v + l, BRELK_EPSILON);
}

vec3 BrelkFresnelSchlick(float vDotH, vec3 f0) {
    return f0 + (vec3(1.0) - f0) * BrelkPow5(1.0 - vDotH);
}

vec3 BrelkEvaluateSun(BrelkSurface surface, vec3 worldPosition) {
    vec3 n = normalize(surface.normal);
    vec3 v = normalize(frame.cameraPosition.xyz - worldPosition);
    vec3 l = normalize(frame.sunDirection.xyz);
    vec3 h = normalize(v + l);
    float nDotL = BrelkSaturate(dot(n, l));
    float nDotV = max(dot(n, v), 0.0001);
    float nDotH = BrelkSaturate(dot(n, h));
    float vDotH = BrelkSaturate(dot(v, h));

    vec3 f0 = mix(vec3(0.04), surface.baseColor, surface.metallic);
    vec3 fresnel = BrelkFresnelSchlick(vDotH, f0);
    vec3 specular = fresnel * BrelkDistributionGgx(nDotH, surface.roughness) *
                    BrelkVisibilitySmith(nDotV, nDotL, surface.roughness);
    vec3 diffuse = (vec3(1.0) - fresnel) * (1.0 - surface.metallic) * surface.baseColor / BRELK_PI;
    return (diffuse + specular) * frame.sunColor.rgb * frame.sunDirection.w * nDotL;
}

vec3 BrelkEvaluateAmbient(BrelkSurface surface) {
    vec3 ambient = frame.ambientColor.rgb * frame.ambientColor.w * surface.baseColor * (1.0 - 0.5 * surface.metallic);
#ifdef BRELK_AO_DARKENS_AMBIENT
    ambient *= surface.ambientOcclusion;
#endif
    return ambient;
}

vec3 BrelkShadeSurface(BrelkSurface surface, vec3 worldPosition) {
    return BrelkEvaluateSun(surface, worldPosition) + BrelkEvaluateAmbient(surface) + surface.emissive;
}

#endif
