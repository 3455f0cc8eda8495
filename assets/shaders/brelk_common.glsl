#ifndef BRELK_COMMON_GLSL
#define BRELK_COMMON_GLSL

// Shared by every stage of every material template: constants, the interface between the
// vertex and fragment stages, the descriptor set numbers and small helpers.

#define BRELK_PI 3.14159265358979
#define BRELK_EPSILON 0.00001

// Locations of the values a surface vertex hands to its fragment. The vertex and fragment
// programs are built separately, so both take their numbers from here.
#define BRELK_LOCATION_WORLD_POSITION 0
#define BRELK_LOCATION_WORLD_NORMAL 1
#define BRELK_LOCATION_WORLD_TANGENT 2
#define BRELK_LOCATION_TEX_COORD 3
#define BRELK_LOCATION_VERTEX_COLOR 4
#define BRELK_LOCATION_PARTICLE_DATA 5
#define BRELK_LOCATION_PARTICLE_VELOCITY 6
#define BRELK_LOCATION_PARTICLE_CUSTOM 7
#define BRELK_LOCATION_INSTANCE_INDEX 8

// Descriptor sets: what changes once a frame, once a draw list, once a material, and the
// bindless texture table, which changes only when textures stream in or out.
#define BRELK_SET_FRAME 0
#define BRELK_SET_OBJECTS 1
#define BRELK_SET_MATERIAL 2
#define BRELK_SET_BINDLESS 3

float BrelkSaturate(float value) { return clamp(value, 0.0, 1.0); }
vec3 BrelkSaturate(vec3 value) { return clamp(value, vec3(0.0), vec3(1.0)); }

float BrelkLuminance(vec3 color) { return dot(color, vec3(0.2126, 0.7152, 0.0722)); }

float BrelkPow5(float value) {
    float squared = value * value;
    return squared * squared * value;
}

vec3 BrelkSrgbToLinear(vec3 color) {
    vec3 low = color / 12.92;
    vec3 high = pow((color + 0.055) / 1.055, vec3(2.4));
    return mix(high, low, lessThanEqual(color, vec3(0.04045)));
}

vec3 BrelkLinearToSrgb(vec3 color) {
    vec3 low = color * 12.92;
    vec3 high = 1.055 * pow(max(color, vec3(0.0)), vec3(1.0 / 2.4)) - 0.055;
    return mix(high, low, lessThanEqual(color, vec3(0.0031308)));
}

#endif
