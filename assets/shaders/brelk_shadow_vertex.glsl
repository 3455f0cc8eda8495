#ifndef BRELK_SHADOW_VERTEX_GLSL
#define BRELK_SHADOW_VERTEX_GLSL

// The mesh vertex program seen from the sun, for shadow and depth passes. It hands the
// fragment side the same values, so that alpha-masked shadow variants can test coverage.

#define BRELK_SHADOW_VERTEX
#include "brelk_vertex.glsl"

#endif
