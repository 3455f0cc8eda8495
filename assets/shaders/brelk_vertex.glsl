#ifndef BRELK_VERTEX_GLSL
#define BRELK_VERTEX_GLSL

// The vertex program of every mesh template: object to world through the instance table,
// skinning when BRELK_SKINNING is 1, and everything the fragment side reads. The shadow
// vertex program is this one seen from the sun.

#include "brelk_common.glsl"
#include "brelk_frame.glsl"
#include "brelk_vertex_input.glsl"

layout(location = BRELK_LOCATION_WORLD_POSITION) out vec3 outWorldPosition;
layout(location = BRELK_LOCATION_WORLD_NORMAL) out vec3 outWorldNormal;
layout(location = BRELK_LOCATION_WORLD_TANGENT) out vec4 outWorldTangent;
layout(location = BRELK_LOCATION_TEX_COORD) out vec2 outTexCoord;
layout(location = BRELK_LOCATION_VERTEX_COLOR) out vec4 outVertexColor;
layout(location = BRELK_LOCATION_PARTICLE_DATA) out vec4 outParticleData;
layout(location = BRELK_LOCATION_PARTICLE_VELOCITY) out vec3 outParticleVelocity;
layout(location = BRELK_LOCATION_PARTICLE_CUSTOM) out vec4 outParticleCustom;
layout(location = BRELK_LOCATION_INSTANCE_INDEX) flat out uint outInstanceIndex;

// Directions go through the inverse transpose, whose columns are the rows of worldToObject.
vec3 BrelkTransformDirection(vec4 worldToObject[3], vec3 direction) {
    return worldToObject[0].xyz * direction.x + worldToObject[1].xyz * direction.y + worldToObject[2].xyz * direction.z;
}

void main() {
    uint instanceIndex = BrelkInstanceIndex();
    BrelkInstanceData instance = brelkInstances.instances[instanceIndex];
    vec3 position = inPosition;
    vec3 normal = inNormal;
    vec3 tangent = inTangent.xyz;
#if BRELK_SKINNING
    mat4 skin = BrelkSkinMatrix(instance);
    position = (skin * vec4(position, 1.0)).xyz;
    normal = mat3(skin) * normal;
    tangent = mat3(skin) * tangent;
#endif
    vec3 worldPosition = BrelkTransformPoint(instance.objectToWorld, position);
#ifdef BRELK_SHADOW_VERTEX
    gl_Position = frame.shadowViewProjection * vec4(worldPosition, 1.0);
#else
    gl_Position = frame.viewProjection * vec4(worldPosition, 1.0);
#endif
    outWorldPosition = worldPosition;
    outWorldNormal = normalize(BrelkTransformDirection(instance.worldToObject, normal));
    vec3 worldTangent = vec3(dot(instance.objectToWorld[0].xyz, tangent), dot(instance.objectToWorld[1].xyz, tangent),
                             dot(instance.objectToWorld[2].xyz, tangent));
    outWorldTangent = vec4(normalize(worldTangent), inTangent.w);
    outTexCoord = inUv0;
    outVertexColor = inColor * instance.color;
    outParticleData = instance.particleData;
    outParticleVelocity = instance.particleVelocity.xyz;
    outParticleCustom = instance.particleCustom;
    outInstanceIndex = instanceIndex;
}

#endif
