#include "engine/scene/ComponentRegistry.h"
#include "engine/scene/components/CatalogueRegistration.h"
#include "engine/scene/components/ClothComponent.h"
#include "engine/scene/components/ComponentRegistrars.h"
#include "engine/scene/components/OceanComponent.h"
#include "engine/scene/components/RenderComponents.h"
#include "engine/scene/components/SplineComponents.h"
#include "engine/scene/components/TerrainComponent.h"

namespace Brelk::Scene {
namespace {

using Detail::AssetField;
using Detail::EnumField;
using Detail::Labelled;
using Detail::RegisterCatalogueEnum;
using Reflection::FieldAttr;

constexpr ComponentFlags kUserFlags = ComponentFlags::UserAddable | ComponentFlags::Saved;

// A mesh that a neighbour component built at run time is rebuilt on load, so the file
// keeps no reference to it: none for a spline's, terrain's or ocean's mesh, the authored source for a cloth's.
void ForgetGeneratedMesh(MeshRendererComponent& renderer, const ComponentSaveContext& context) {
    if (renderer.mesh == 0) {
        return;
    }
    const auto generated = [&](const auto* neighbour) {
        return neighbour != nullptr && neighbour->generatedMesh != 0 && neighbour->generatedMesh == renderer.mesh;
    };
    if (generated(context.registry.TryGet<SplineComponent>(context.entity)) ||
        generated(context.registry.TryGet<TerrainComponent>(context.entity)) ||
        generated(context.registry.TryGet<OceanComponent>(context.entity))) {
        renderer.mesh = 0;
        return;
    }
    if (const auto* cloth = context.registry.TryGet<Physics::ClothComponent>(context.entity)) {
        if (cloth->runtimeMesh != 0 && cloth->runtimeMesh == renderer.mesh) {
            renderer.mesh = cloth->sourceMesh;
        }
    }
}

} // namespace

void RegisterRenderingComponents() {
    RegisterCatalogueEnum<BillboardFacingMode>("BillboardFacingMode",
                                               {{"ScreenAligned", "Screen Aligned"}, {"WorldUp", "World Up"}});

    using M = MeshRendererComponent;
    Labelled(RegisterComponent<M>("MeshRendererComponent", "Mesh Renderer", "Rendering", kUserFlags)
                 .Description("Draws a mesh with one or more materials."))
        .Field("mesh", &M::mesh, AssetField("Mesh"))
        .Field("material", &M::material, AssetField("Material"))
        .Field("materialSlots", &M::materialSlots, AssetField("Material"))
        .Field("skeleton", &M::skeleton, AssetField("Skeleton"))
        .Field("skinningEnabled", &M::skinningEnabled)
        .Field("visible", &M::visible)
        .Field("occluder", &M::occluder)
        .Field("allowOcclusion", &M::allowOcclusion)
        .Field("enableLod", &M::enableLod, FieldAttr().Category("LOD"))
        .Field("forceLodLevel", &M::forceLodLevel, FieldAttr().Category("LOD"))
        .Field("forcedLodLevel", &M::forcedLodLevel, FieldAttr().Category("LOD"))
        .Field("lodDistanceScale", &M::lodDistanceScale, FieldAttr().Range(0.01f, 100.0f).Category("LOD"))
        .Field("maxDrawDistance", &M::maxDrawDistance, FieldAttr().Range(0.0f, 100000.0f).Category("LOD"))
        .Done()
        .OnSave(ForgetGeneratedMesh);

    using B = BillboardComponent;
    Labelled(RegisterComponent<B>("BillboardComponent", "Billboard", "Rendering", kUserFlags)
                 .Description("Draws a camera-facing sprite or quad."))
        .Field("material", &B::material, AssetField("Material"))
        .Field("size", &B::size)
        .Field("pivot", &B::pivot)
        .Field("facingMode", &B::facingMode, EnumField("BillboardFacingMode"))
        .Field("visible", &B::visible)
        .Field("rotationDegrees", &B::rotationDegrees, FieldAttr("Rotation").Angle())
        .Field("allowOcclusion", &B::allowOcclusion)
        .Field("maxDrawDistance", &B::maxDrawDistance)
        .Field("sortBias", &B::sortBias);

    using C = CameraComponent;
    Labelled(RegisterComponent<C>("CameraComponent", "Camera", "Rendering", kUserFlags)
                 .Description("Renders a scene view when marked primary or targeted by camera logic."))
        .Field("verticalFovDegrees", &C::verticalFovDegrees, FieldAttr("Vertical FOV").Range(1.0f, 179.0f).Angle())
        .Field("nearClip", &C::nearClip, FieldAttr().Range(0.001f, 1000.0f))
        .Field("farClip", &C::farClip, FieldAttr().Range(0.01f, 100000.0f))
        .Field("primary", &C::primary);
}

} // namespace Brelk::Scene
