#include "engine/scene/components/SplineComponents.h"

namespace Brelk::Scene {

SplineComponentRecord ToSplineComponentRecord(const SplineComponent& component) {
    SplineComponentRecord record;
    record.spline = SplineCurveRecord{component.spline.closed, component.spline.curveType,
                                      component.spline.cacheSamplesPerSegment, component.spline.points};
    record.meshSettings = component.meshSettings;
    record.material = component.material;
    record.materialSlots = component.materialSlots;
    record.segmentMaterialSlots = component.segmentMaterialSlots;
    record.selectedPoint = component.selectedPoint;
    record.generateMesh = component.generateMesh;
    record.showDebug = component.showDebug;
    record.showTangents = component.showTangents;
    record.showDirectionMarkers = component.showDirectionMarkers;
    return record;
}

void FromSplineComponentRecord(const SplineComponentRecord& record, SplineComponent& component) {
    component.spline = SplineCurve{record.spline.closed, record.spline.curveType, record.spline.cacheSamplesPerSegment,
                                   record.spline.points};
    component.meshSettings = record.meshSettings;
    component.material = record.material;
    component.materialSlots = record.materialSlots;
    component.segmentMaterialSlots = record.segmentMaterialSlots;
    component.selectedPoint = record.selectedPoint;
    component.generateMesh = record.generateMesh;
    component.showDebug = record.showDebug;
    component.showTangents = record.showTangents;
    component.showDirectionMarkers = record.showDirectionMarkers;
}

} // namespace Brelk::Scene
