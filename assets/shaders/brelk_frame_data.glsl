#ifndef BRELK_FRAME_DATA_GLSL
#define BRELK_FRAME_DATA_GLSL

// Layouts that the renderer fills on the CPU side. A change here is a change of the
// renderer's structures too; the members are vec4-aligned so std140 and std430 agree.

struct BrelkFrameData {
    mat4 view;
    mat4 projection;
    mat4 viewProjection;
    mat4 inverseViewProjection;
    mat4 shadowViewProjection;
    vec4 cameraPosition;   // xyz world position
    vec4 timeData;         // x seconds since start, y frame delta, z frame index, w sin(x)
    vec4 sunDirection;     // xyz towards the sun, w intensity
    vec4 sunColor;         // rgb linear colour
    vec4 ambientColor;     // rgb flat ambient, w intensity
    vec4 depthParams;      // x near plane, y far plane
};

// One drawn object. The transforms are the three rows of an affine 3x4 matrix.
struct BrelkInstanceData {
    vec4 objectToWorld[3];
    vec4 worldToObject[3];
    vec4 color;            // multiplies the vertex colour
    vec4 particleData;     // x age, y lifetime, z speed, w random
    vec4 particleVelocity; // xyz world velocity
    vec4 particleCustom;   // two free channels of the emitter
    uvec4 skinning;        // x first joint matrix, y joint count
};

#endif
