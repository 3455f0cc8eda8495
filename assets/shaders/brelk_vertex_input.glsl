#ifndef BRELK_VERTEX_INPUT_GLSL
#define BRELK_VERTEX_INPUT_GLSL

// The vertex layout of meshes, and the joint palette of skinned ones.

#include "brelk_common.glsl"
#include "brelk_frame.glsl"

#ifndef BRELK_SKINNING
#define BRELK_SKINNING 0
#endif

layout(location = 0) in vec3 inPosition;
layout(location = 1) in vec3 inNormal;
layout(location = 2) in vec4 inTangent;   // w the handedness of the bitangent
layout(location = 3) in vec2 inUv0;
layout(location = 4) in vec4 inColor;
#if BRELK_SKINNING
layout(location = 5) in uvec4 inJoints;
layout(location = 6) in vec4 inWeights;

layout(std430, set = BRELK_SET_OBJECTS, binding = 1) readonly buffer BrelkJointBuffer {
    mat4 joints[];
} brelkJoints;

mat4 BrelkSkinMatrix(BrelkInstanceData instance) {
    uint first = instance.skinning.x;
    return brelkJoints.joints[first + inJoints.x] * inWeights.x + brelkJoints.joints[first + inJoints.y] * inWeights.y +
           brelkJoints.joints[first + inJoints.z] * inWeights.z + brelkJoints.joints[first + inJoints.w] * inWeights.w;
}
#endif

uint BrelkInstanceIndex() { return pc.instanceOffset + uint(gl_InstanceIndex); }

#endif
