#pragma once

#include "engine/assets/materials/MaterialAsset.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Brelk::Assets {

// The ids of the node kinds. Graphs hold these numbers in memory and files the words, so
// an id never changes and a word never.
enum MaterialNodeType : std::uint32_t {
    kNodeMaterialOutput = 0,
    kNodePostProcessOutput = 1,
    kNodeFunctionInput = 2,
    kNodeFunctionOutput = 3,
    kNodeConstantBool = 4,
    kNodeConstantInt = 5,
    kNodeConstantFloat = 6,
    kNodeConstantVec2 = 7,
    kNodeConstantVec3 = 8,
    kNodeConstantVec4 = 9,
    kNodeConstantColor = 10,
    kNodeTexture2D = 11,
    kNodeTextureSample2D = 12,
    kNodeVertexNormal = 13,
    kNodeNormal = 14,
    kNodeVertexUV = 15,
    kNodeVertexUV1 = 16,
    kNodeVertexColor = 17,
    kNodeVertexPosition = 18,
    kNodeObjectPosition = 19,
    kNodeWorldPosition = 20,
    kNodeViewDirection = 21,
    kNodeTangent = 22,
    kNodeTime = 23,
    kNodeCameraPosition = 24,
    kNodeCameraVector = 25,
    kNodeScreenUV = 26,
    kNodeSceneColor = 27,
    kNodeSceneDepth = 28,
    kNodeResolution = 29,
    kNodeParameterFloat = 30,
    kNodeParameterVec2 = 31,
    kNodeParameterVec3 = 32,
    kNodeParameterVec4 = 33,
    kNodeParameterColor = 34,
    kNodeParameterTexture2D = 35,
    kNodeAdd = 36,
    kNodeSubtract = 37,
    kNodeMultiply = 38,
    kNodeDivide = 39,
    kNodePower = 40,
    kNodeSqrt = 41,
    kNodeAbs = 42,
    kNodeMin = 43,
    kNodeMax = 44,
    kNodeLerp = 45,
    kNodeStep = 46,
    kNodeSmoothstep = 47,
    kNodeClamp = 48,
    kNodeSaturate = 49,
    kNodeFloor = 50,
    kNodeCeil = 51,
    kNodeRound = 52,
    kNodeFrac = 53,
    kNodeSin = 54,
    kNodeCos = 55,
    kNodeTan = 56,
    kNodeLength = 57,
    kNodeDistance = 58,
    kNodeDot = 59,
    kNodeCross = 60,
    kNodeNormalize = 61,
    kNodeReflect = 62,
    kNodeCombine = 63,
    kNodeSplitChannels = 64,
    kNodeSwizzle = 65,
    kNodeAppend = 66,
    kNodeComponentMask = 67,
    kNodeRGBToHSV = 68,
    kNodeHSVToRGB = 69,
    kNodeBrightnessContrast = 70,
    kNodeGamma = 71,
    kNodeInvert = 72,
    kNodeMix = 73,
    kNodeDesaturate = 74,
    kNodeOneMinus = 75,
    kNodeRemap = 76,
    kNodeCompare = 77,
    kNodeChecker = 78,
    kNodeGradient = 79,
    kNodeFresnel = 80,
    kNodeNoise = 81,
    kNodeTextureCoordinate = 82,
    kNodeTextureScaleOffset = 83,
    kNodeNormalMap = 84,
    kNodeCustomCode = 85,
    kNodeFunctionCall = 86,
    kNodeParticleData = 87,
    kNodeFlipbookUV = 88,
    kNodeDissolve = 89,
    kNodeParticleCustom = 90,
    kNodeDepthFade = 91,
    kNodeDecalProjection = 92,
    kNodeVolumeSphere = 93,
};

inline constexpr std::uint32_t kMaterialNodeKindCount = 94;

struct MaterialPinDefinition {
    std::uint32_t direction = kPinInput;
    std::uint32_t type = kPinFloat;
    std::string name;
    bool optional = false;
};

struct MaterialPropertyDefinition {
    std::string key;
    std::string defaultValue;
};

struct MaterialNodeDefinition {
    std::uint32_t type = 0;
    std::string name;  // the word in files
    std::string title; // of a new node
    std::string label; // the palette's line; empty with the category for rows it doesn't offer
    std::string category;
    std::vector<MaterialPinDefinition> pins;
    std::vector<MaterialPropertyDefinition> properties;
    // The node's pins are its own to choose (function ports, operand lists, custom code), so
    // its pin names are never checked against the row.
    bool dynamicPins = false;
};

// The 94 rows in id order, built once on first use; read-only afterwards, from any thread.
std::span<const MaterialNodeDefinition> MaterialNodeCatalogue();

// Null for an unknown id or word.
const MaterialNodeDefinition* FindMaterialNode(std::uint32_t type);
const MaterialNodeDefinition* FindMaterialNode(std::string_view name);

// The names of the node's input pins that its row doesn't list; empty for a row with
// dynamic pins and for an unknown type.
std::vector<std::string> UnknownInputPins(const MaterialGraphNode& node);

// A word with a blank before each new word: a capital after a small letter, or the last
// capital of an acronym that a small letter follows ("RGBToHSV" gives "RGB To HSV",
// "VertexUV1" "Vertex UV1").
std::string SpacedNodeWord(std::string_view word);

// A new node of the row: its title, pins (ids from `graph.nextId`, the node first, then its
// inputs, then its outputs) and default properties; appended to the graph. Null for an
// unknown type.
MaterialGraphNode* AddMaterialNode(MaterialGraph& graph, std::uint32_t type, float x, float y);

} // namespace Brelk::Assets
