#ifndef BRELK_BINDLESS_GLSL
#define BRELK_BINDLESS_GLSL

// The engine's one table of sampled textures. Materials hold indices into it rather than
// bindings of their own, so switching materials never rebinds textures. Needs
// GL_EXT_nonuniform_qualifier, which every generated fragment program enables.

#include "brelk_common.glsl"

layout(set = BRELK_SET_BINDLESS, binding = 0) uniform sampler2D brelkTextures2D[];

// Indices may differ within a draw (a material per instance), hence nonuniform.
#define BRELK_BINDLESS_TEXTURE(index) brelkTextures2D[nonuniformEXT(index)]

#endif
