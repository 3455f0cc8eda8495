#ifndef BRELK_SURFACE_GLSL
#define BRELK_SURFACE_GLSL

// The fragment side of the four mesh templates: what the vertex stage hands over, the
// surface a material evaluates to, and the functions of scene-aware material nodes.

#include "brelk_common.glsl"
#include "brelk_frame.glsl"
#include "brelk_material_library.glsl"

layout(location = BRELK_LOCATION_WORLD_POSITION) in vec3 inWorldPosition;
layout(location = BRELK_LOCATION_WORLD_NORMAL) in vec3 inWorldNormal;
layout(location = BRELK_LOCATION_WORLD_TANGENT) in vec4 inWorldTangent;
layout(location = BRELK_LOCATION_TEX_COORD) in vec2 inTexCoord;
layout(location = BRELK_LOCATION_VERTEX_COLOR) in vec4 inVertexColor;
layout(location = BRELK_LOCATION_PARTICLE_DATA) in vec4 inParticleData;
layout(location = BRELK_LOCATION_PARTICLE_VELOCITY) in vec3 inParticleVelocity;
layout(location = BRELK_LOCATION_PARTICLE_CUSTOM) in vec4 inParticleCustom;
layout(location = BRELK_LOCATION_INSTANCE_INDEX) flat in uint inInstanceIndex;

struct BrelkSurface {
    vec2 uv;
    vec3 baseColor;
    vec3 previewTint;   // what an editor's thumbnail shows of the material
    float alpha;
    vec3 normal;        // world space, unit length
    float roughness;
    float metallic;
    vec3 emissive;
    float ambientOcclusion;
};

BrelkSurface BrelkDefaultSurface() {
    BrelkSurface surface;
    surface.uv = inTexCoord;
    surface.baseColor = vec3(1.0);
    surface.previewTint = vec3(1.0);
    surface.alpha = 1.0;
    surface.normal = normalize(inWorldNormal);
    surface.roughness = 0.65;
    surface.metallic = 0.0;
    surface.emissive = vec3(0.0);
    surface.ambientOcclusion = 1.0;
    return surface;
}

// World space into the drawn object's space. Only variants with the object rows read the
// instance table from the fragment stage; without them object space is world space.
vec3 BrelkWorldToObject(vec3 worldPosition) {
#ifdef BRELK_OBJECT_ROWS
    return BrelkTransformPoint(brelkInstances.instances[inInstanceIndex].worldToObject, worldPosition);
#else
    return worldPosition;
#endif
}

vec2 BrelkScreenUv() { return gl_FragCoord.xy / max(pc.viewportSize.xy, vec2(1.0)); }

vec3 BrelkSceneWorldPosition() {
    vec2 screenUv = BrelkScreenUv();
    return BrelkWorldPositionFromDepth(screenUv, texture(sceneDepthTexture, screenUv).r);
}

// The scene behind the fragment projected into the object's unit box (-0.5..0.5) down its
// y axis: xy the texture coordinates, z the height in the box, w 1 inside the box and 0
// outside.
vec4 BrelkDecalProjection() {
    vec3 boxPosition = BrelkWorldToObject(BrelkSceneWorldPosition()) + 0.5;
    vec3 inside = step(vec3(0.0), boxPosition) * step(boxPosition, vec3(1.0));
    return vec4(boxPosition.xz, boxPosition.y, inside.x * inside.y * inside.z);
}

// A decal's texture coordinates come from its projection; every other surface keeps the
// mesh's.
vec2 ComputeSurfaceUv(vec2 uv) {
#ifdef BRELK_DECAL
    return BrelkDecalProjection().xy * material.uvScaleAlphaCutoff.xy;
#else
    return uv;
#endif
}

// The normal of a material without a normal input: the interpolated geometric normal,
// facing the viewer on the back side of double-sided surfaces. A decal lies on the scene,
// so its normal is that of the scene below it, from the depth buffer's slopes. Neither needs
// the coordinates, which are in the signature for materials that perturb the normal.
vec3 ComputeMaterialNormal(vec2 uv) {
#ifdef BRELK_DECAL
    vec3 scenePosition = BrelkSceneWorldPosition();
    vec3 sceneNormal = normalize(cross(dFdx(scenePosition), dFdy(scenePosition)));
    return dot(sceneNormal, frame.cameraPosition.xyz - scenePosition) < 0.0 ? -sceneNormal : sceneNormal;
#else
    vec3 normal = normalize(inWorldNormal);
    return gl_FrontFacing ? normal : -normal;
#endif
}

// 0 where the fragment touches the scene behind it, rising to 1 at `distance` in front of it.
float BrelkDepthFade(float distance) {
    float sceneDepth = BrelkLinearDepth(texture(sceneDepthTexture, BrelkScreenUv()).r);
    float fragmentDepth = BrelkLinearDepth(gl_FragCoord.z);
    return BrelkSaturate((sceneDepth - fragmentDepth) / max(distance, 0.0001));
}

// The view ray through a sphere of diameter 1 in object space, cut by the scene: x the
// thickness crossed, y the opacity of a medium of `density` along it, z the distance from
// the camera to where the ray enters, all in object units.
vec3 BrelkVolumeSphere(float density) {
    vec3 origin = BrelkWorldToObject(frame.cameraPosition.xyz);
    vec3 direction = normalize(BrelkWorldToObject(inWorldPosition) - origin);
    float b = dot(origin, direction);
    float c = dot(origin, origin) - 0.25;
    float h = b * b - c;
    if (h <= 0.0) return vec3(0.0);
    h = sqrt(h);
    float enter = max(-b - h, 0.0);
    float leave = min(-b + h, length(BrelkWorldToObject(BrelkSceneWorldPosition()) - origin));
    float thickness = max(leave - enter, 0.0);
    return vec3(thickness, 1.0 - exp(-density * thickness), enter);
}

#endif
