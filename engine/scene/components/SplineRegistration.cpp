#include "engine/reflection/ReflectedTypeBuilder.h"
#include "engine/scene/ComponentRegistry.h"
#include "engine/scene/components/CatalogueRegistration.h"
#include "engine/scene/components/ComponentRegistrars.h"
#include "engine/scene/components/SplineComponents.h"

namespace Brelk::Scene {
namespace {

using Detail::AssetField;
using Detail::EntityField;
using Detail::EnumField;
using Detail::Labelled;
using Detail::RegisterCatalogueEnum;
using Reflection::FieldAttr;
using Reflection::ReflectedTypeBuilder;

constexpr ComponentFlags kUserFlags = ComponentFlags::UserAddable | ComponentFlags::Saved;

} // namespace

void RegisterSplineComponents() {
    RegisterCatalogueEnum<SplineCurveType>("SplineCurveType", {{"CatmullRom", "Catmull-Rom"}, {"Hermite"}});
    RegisterCatalogueEnum<SplineMeshType>("SplineMeshType", {{"Tube"}, {"Ribbon", "Ribbon/Road"}});
    RegisterCatalogueEnum<SplineUvMode>("SplineUvMode", {{"WholeLength", "Whole Length"},
                                                         {"PerSegment", "Per Segment"},
                                                         {"DistanceTiled", "Distance Tiled"},
                                                         {"StretchToMesh", "Stretch To Mesh"}});

    Labelled(ReflectedTypeBuilder<SplinePoint>("SplinePoint", "Spline Point", "World"))
        .Field("position", &SplinePoint::position)
        .Field("tangentIn", &SplinePoint::tangentIn)
        .Field("tangentOut", &SplinePoint::tangentOut)
        .Field("rollRadians", &SplinePoint::rollRadians)
        .Field("scale", &SplinePoint::scale)
        .Field("width", &SplinePoint::width);

    Labelled(ReflectedTypeBuilder<SplineMeshSettings>("SplineMeshSettings", "Spline Mesh Settings", "World"))
        .Field("meshType", &SplineMeshSettings::meshType, EnumField("SplineMeshType"))
        .Field("uvMode", &SplineMeshSettings::uvMode, EnumField("SplineUvMode"))
        .Field("sampleCount", &SplineMeshSettings::sampleCount)
        .Field("useDistanceSpacing", &SplineMeshSettings::useDistanceSpacing)
        .Field("sampleSpacing", &SplineMeshSettings::sampleSpacing)
        .Field("radius", &SplineMeshSettings::radius)
        .Field("width", &SplineMeshSettings::width)
        .Field("radialSegments", &SplineMeshSettings::radialSegments)
        .Field("uTiling", &SplineMeshSettings::uTiling)
        .Field("vTiling", &SplineMeshSettings::vTiling)
        .Field("uOffset", &SplineMeshSettings::uOffset)
        .Field("vOffset", &SplineMeshSettings::vOffset)
        .Field("flipU", &SplineMeshSettings::flipU)
        .Field("flipV", &SplineMeshSettings::flipV);

    Labelled(ReflectedTypeBuilder<SplineCurveRecord>("SplineCurveRecord", "Spline Curve", "World"))
        .Field("closed", &SplineCurveRecord::closed)
        .Field("curveType", &SplineCurveRecord::curveType, EnumField("SplineCurveType"))
        .Field("cacheSamplesPerSegment", &SplineCurveRecord::cacheSamplesPerSegment)
        .Field("points", &SplineCurveRecord::points);

    Labelled(ReflectedTypeBuilder<SplineComponentRecord>("SplineComponentRecord", "Spline Authoring", "World"))
        .Field("spline", &SplineComponentRecord::spline)
        .Field("meshSettings", &SplineComponentRecord::meshSettings)
        .Field("material", &SplineComponentRecord::material, AssetField("Material"))
        .Field("materialSlots", &SplineComponentRecord::materialSlots, FieldAttr("Material").AssetType("Material"))
        .Field("segmentMaterialSlots", &SplineComponentRecord::segmentMaterialSlots)
        .Field("selectedPoint", &SplineComponentRecord::selectedPoint)
        .Field("generateMesh", &SplineComponentRecord::generateMesh)
        .Field("showDebug", &SplineComponentRecord::showDebug)
        .Field("showTangents", &SplineComponentRecord::showTangents)
        .Field("showDirectionMarkers", &SplineComponentRecord::showDirectionMarkers);

    using S = SplineComponent;
    Labelled(RegisterComponent<S>("SplineComponent", "Spline", "World", kUserFlags)
                 .Description("Creates an editable spline that can generate tube or ribbon mesh geometry."))
        .Field("material", &S::material, AssetField("Material"))
        .Field("generateMesh", &S::generateMesh)
        .Field("showDebug", &S::showDebug)
        .Field("showTangents", &S::showTangents)
        .Field("showDirectionMarkers", &S::showDirectionMarkers)
        .Field("meshSettings", &S::meshSettings)
        .Field("materialSlots", &S::materialSlots, AssetField("Material"))
        .Field("segmentMaterialSlots", &S::segmentMaterialSlots)
        .Field("selectedPoint", &S::selectedPoint)
        .Done()
        .AddCustom(&S::spline)
        .AddTransient(&S::generatedMesh)
        .AddTransient(&S::meshDirty)
        .SaveAs<SplineComponentRecord>(
            [](const S& component, SplineComponentRecord& record) { record = ToSplineComponentRecord(component); },
            [](const SplineComponentRecord& record, S& component) { FromSplineComponentRecord(record, component); })
        .OnLoad([](S& spline, const ComponentLoadContext&) { spline.meshDirty = true; });
}

} // namespace Brelk::Scene
