#pragma once

#include "engine/scene/components/ComponentEnums.h"

#include <glm/vec3.hpp>

#include <cstdint>
#include <vector>

// Splines and the tube or ribbon meshes generated along them.
namespace Brelk::Scene {

struct SplinePoint {
    glm::vec3 position{0.0f, 0.0f, 0.0f};
    glm::vec3 tangentIn{-0.5f, 0.0f, 0.0f};
    glm::vec3 tangentOut{0.5f, 0.0f, 0.0f};
    float rollRadians = 0.0f;
    glm::vec3 scale{1.0f, 1.0f, 1.0f};
    float width = 1.0f;

    friend bool operator==(const SplinePoint&, const SplinePoint&) = default;
};

struct SplineMeshSettings {
    SplineMeshType meshType = SplineMeshType::Tube;
    SplineUvMode uvMode = SplineUvMode::WholeLength;
    std::uint32_t sampleCount = 32;
    bool useDistanceSpacing = false;
    float sampleSpacing = 0.5f;
    float radius = 0.15f;
    float width = 1.0f;
    std::uint32_t radialSegments = 12;
    float uTiling = 1.0f;
    float vTiling = 1.0f;
    float uOffset = 0.0f;
    float vOffset = 0.0f;
    bool flipU = false;
    bool flipV = false;

    friend bool operator==(const SplineMeshSettings&, const SplineMeshSettings&) = default;
};

// The curve of a spline: `cacheSamplesPerSegment` samples per segment are cached for
// distance lookups along it.
struct SplineCurve {
    bool closed = false;
    SplineCurveType curveType = SplineCurveType::CatmullRom;
    std::uint32_t cacheSamplesPerSegment = 16;
    std::vector<SplinePoint> points;

    friend bool operator==(const SplineCurve&, const SplineCurve&) = default;
};

// The saved form of SplineCurve.
struct SplineCurveRecord {
    bool closed = false;
    SplineCurveType curveType = SplineCurveType::CatmullRom;
    std::uint32_t cacheSamplesPerSegment = 16;
    std::vector<SplinePoint> points;

    friend bool operator==(const SplineCurveRecord&, const SplineCurveRecord&) = default;
};

// The saved form of SplineComponent.
struct SplineComponentRecord {
    SplineCurveRecord spline;
    SplineMeshSettings meshSettings;
    std::uint64_t material = 0;
    std::vector<std::uint64_t> materialSlots;
    std::vector<std::uint32_t> segmentMaterialSlots;
    std::uint32_t selectedPoint = 0;
    bool generateMesh = true;
    bool showDebug = true;
    bool showTangents = true;
    bool showDirectionMarkers = true;

    friend bool operator==(const SplineComponentRecord&, const SplineComponentRecord&) = default;
};

struct SplineComponent {
    std::uint64_t material = 0;
    bool generateMesh = true;
    bool showDebug = true;
    bool showTangents = true;
    bool showDirectionMarkers = true;
    SplineMeshSettings meshSettings;
    std::vector<std::uint64_t> materialSlots;
    std::vector<std::uint32_t> segmentMaterialSlots;
    std::uint32_t selectedPoint = 0;

    // The curve, saved in the record's `spline`.
    SplineCurve spline;

    // The mesh built from the curve at run time, rebuilt whenever `meshDirty` is set: a
    // copy or a load builds its own.
    std::uint64_t generatedMesh = 0;
    bool meshDirty = true;

    friend bool operator==(const SplineComponent&, const SplineComponent&) = default;
};

SplineComponentRecord ToSplineComponentRecord(const SplineComponent& component);
// Fills the saved members of `component` and leaves its run-time members alone.
void FromSplineComponentRecord(const SplineComponentRecord& record, SplineComponent& component);

} // namespace Brelk::Scene
