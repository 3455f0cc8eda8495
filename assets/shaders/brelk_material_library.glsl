#ifndef BRELK_MATERIAL_LIBRARY_GLSL
#define BRELK_MATERIAL_LIBRARY_GLSL

// What every material's code may use in any domain: its parameter block, its textures and
// the functions that material nodes call.

#include "brelk_common.glsl"
#include "bindless.glsl"

// The material compiler's limits; its slot numbers index these arrays.
#define BRELK_MAX_MATERIAL_VECTORS 32
#define BRELK_MAX_MATERIAL_TEXTURES 14

layout(std140, set = BRELK_SET_MATERIAL, binding = 0) uniform BrelkMaterialBlock {
    vec4 parameterVectors[BRELK_MAX_MATERIAL_VECTORS];
    vec4 uvScaleAlphaCutoff; // xy texture coordinate scale, z alpha-mask cutoff
    vec4 emissiveFactor;     // rgb added to the emissive input, a scales the sum
    uvec4 textureIndices[(BRELK_MAX_MATERIAL_TEXTURES + 3) / 4]; // bindless indices, four to a vector
} material;

#define BRELK_MATERIAL_TEXTURE(slot) BRELK_BINDLESS_TEXTURE(material.textureIndices[(slot) / 4][(slot) % 4])

float BrelkHash21(vec2 p) {
    p = fract(p * vec2(123.34, 456.21));
    p += dot(p, p + 45.32);
    return fract(p.x * p.y);
}

// Smooth value noise in 0..1 with one lattice value per unit cell.
float ValueNoise(vec2 p) {
    vec2 cell = floor(p);
    vec2 f = fract(p);
    vec2 u = f * f * (3.0 - 2.0 * f);
    float a = BrelkHash21(cell);
    float b = BrelkHash21(cell + vec2(1.0, 0.0));
    float c = BrelkHash21(cell + vec2(0.0, 1.0));
    float d = BrelkHash21(cell + vec2(1.0, 1.0));
    return mix(mix(a, b, u.x), mix(c, d, u.x), u.y);
}

vec3 RGBToHSV(vec3 c) {
    vec4 k = vec4(0.0, -1.0 / 3.0, 2.0 / 3.0, -1.0);
    vec4 p = mix(vec4(c.bg, k.wz), vec4(c.gb, k.xy), step(c.b, c.g));
    vec4 q = mix(vec4(p.xyw, c.r), vec4(c.r, p.yzx), step(p.x, c.r));
    float d = q.x - min(q.w, q.y);
    return vec3(abs(q.z + (q.w - q.y) / (6.0 * d + 1.0e-10)), d / (q.x + 1.0e-10), q.x);
}

vec3 HSVToRGB(vec3 c) {
    vec4 k = vec4(1.0, 2.0 / 3.0, 1.0 / 3.0, 3.0);
    vec3 p = abs(fract(c.xxx + k.xyz) * 6.0 - k.www);
    return c.z * mix(k.xxx, clamp(p - k.xxx, 0.0, 1.0), c.y);
}

#endif
