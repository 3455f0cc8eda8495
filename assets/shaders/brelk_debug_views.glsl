#ifndef BRELK_DEBUG_VIEWS_GLSL
#define BRELK_DEBUG_VIEWS_GLSL

// The editor's views of single surface channels, chosen per pass by pc.debugView.

#include "brelk_frame.glsl"
#include "brelk_surface.glsl"

#define BRELK_DEBUG_VIEW_LIT 0u
#define BRELK_DEBUG_VIEW_BASE_COLOR 1u
#define BRELK_DEBUG_VIEW_NORMAL 2u
#define BRELK_DEBUG_VIEW_ROUGHNESS 3u
#define BRELK_DEBUG_VIEW_METALLIC 4u
#define BRELK_DEBUG_VIEW_AMBIENT_OCCLUSION 5u
#define BRELK_DEBUG_VIEW_EMISSIVE 6u
#define BRELK_DEBUG_VIEW_PREVIEW_TINT 7u
#define BRELK_DEBUG_VIEW_TEXTURE_COORDINATES 8u

vec3 BrelkApplyDebugView(BrelkSurface surface, vec3 lit) {
    switch (pc.debugView) {
    case BRELK_DEBUG_VIEW_BASE_COLOR: return surface.baseColor;
    case BRELK_DEBUG_VIEW_NORMAL: return surface.normal * 0.5 + 0.5;
    case BRELK_DEBUG_VIEW_ROUGHNESS: return vec3(surface.roughness);
    case BRELK_DEBUG_VIEW_METALLIC: return vec3(surface.metallic);
    case BRELK_DEBUG_VIEW_AMBIENT_OCCLUSION: return vec3(surface.ambientOcclusion);
    case BRELK_DEBUG_VIEW_EMISSIVE: return surface.emissive;
    case BRELK_DEBUG_VIEW_PREVIEW_TINT: return surface.previewTint;
    case BRELK_DEBUG_VIEW_TEXTURE_COORDINATES: return vec3(fract(surface.uv), 0.0);
    default: return lit;
    }
}

#endif
