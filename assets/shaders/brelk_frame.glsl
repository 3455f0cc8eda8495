#ifndef BRELK_FRAME_GLSL
#define BRELK_FRAME_GLSL

#include "brelk_common.glsl"
#include "brelk_frame_data.glsl"

layout(std140, set = BRELK_SET_FRAME, binding = 0) uniform BrelkFrameBlock {
    BrelkFrameData frame;
};

// The scene's colour as it stood before translucent surfaces (for refraction), its depth,
// and the colour a post-process pass reads.
layout(set = BRELK_SET_FRAME, binding = 1) uniform sampler2D sceneColorSnapshot;
layout(set = BRELK_SET_FRAME, binding = 2) uniform sampler2D sceneDepthTexture;
layout(set = BRELK_SET_FRAME, binding = 3) uniform sampler2D sceneColorTexture;

layout(std430, set = BRELK_SET_OBJECTS, binding = 0) readonly buffer BrelkInstanceBuffer {
    BrelkInstanceData instances[];
} brelkInstances;

layout(push_constant) uniform BrelkPushConstants {
    // xyz camera position; w the water height in scene passes, and the time in seconds in
    // post-process passes, which have no frame block of their own to read it from.
    vec4 cameraPositionWaterHeight;
    vec4 viewportSize;     // xy pixels, zw their reciprocals
    uint instanceOffset;
    uint debugView;
    uint passFlags;
    uint reserved;
} pc;

float BrelkLinearDepth(float depth) {
    float near = frame.depthParams.x;
    float far = frame.depthParams.y;
    return near * far / max(far - depth * (far - near), BRELK_EPSILON);
}

vec3 BrelkWorldPositionFromDepth(vec2 screenUv, float depth) {
    vec4 clip = vec4(screenUv * 2.0 - 1.0, depth, 1.0);
    vec4 world = frame.inverseViewProjection * clip;
    return world.xyz / world.w;
}

vec3 BrelkTransformPoint(vec4 rows[3], vec3 point) {
    vec4 p = vec4(point, 1.0);
    return vec3(dot(rows[0], p), dot(rows[1], p), dot(rows[2], p));
}

#endif
