#include "engine/scene/ComponentRegistry.h"
#include "engine/scene/components/CatalogueRegistration.h"
#include "engine/scene/components/ClothComponent.h"
#include "engine/scene/components/ComponentRegistrars.h"
#include "engine/scene/components/LightComponents.h"
#include "engine/scene/components/OceanComponent.h"
#include "engine/scene/components/RenderComponents.h"
#include "engine/scene/components/TerrainComponent.h"

namespace Brelk::Scene {
namespace {

using Detail::AssetField;
using Detail::Labelled;
using Detail::RegisterCatalogueEnum;
using Reflection::FieldAttr;

constexpr ComponentFlags kUserFlags = ComponentFlags::UserAddable | ComponentFlags::Saved;

// A mesh that a neighbour component built at run time is rebuilt on load, so the file
// keeps no reference to it: none for a terrain's or an ocean's mesh, the authored source for a cloth's.
void ForgetGeneratedMesh(MeshRendererComponent& renderer, const ComponentSaveContext& context) {
    if (renderer.mesh == 0) {
        return;
    }
    const auto generated = [&](const auto* neighbour) {
        return neighbour != nullptr && neighbour->generatedMesh != 0 && neighbour->generatedMesh == renderer.mesh;
    };
    if (generated(context.registry.TryGet<TerrainComponent>(context.entity)) ||
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

    using C = CameraComponent;
    Labelled(RegisterComponent<C>("CameraComponent", "Camera", "Rendering", kUserFlags)
                 .Description("Renders a scene view when marked primary or targeted by camera logic."))
        .Field("verticalFovDegrees", &C::verticalFovDegrees, FieldAttr("Vertical FOV").Range(1.0f, 179.0f).Angle())
        .Field("nearClip", &C::nearClip, FieldAttr().Range(0.001f, 1000.0f))
        .Field("farClip", &C::farClip, FieldAttr().Range(0.01f, 100000.0f))
        .Field("primary", &C::primary);
}

void RegisterParticleComponents() {
    RegisterCatalogueEnum<ParticleSimulationBackend>("ParticleSimulationBackend", {{"Cpu", "CPU"}, {"Gpu", "GPU"}});
    RegisterCatalogueEnum<ParticleCollisionShape>("ParticleCollisionShape",
                                                  {{"None"}, {"Plane"}, {"Sphere"}, {"SceneDepth", "Scene Depth"}});
    RegisterCatalogueEnum<CurveInterpolation>("CurveInterpolation", {{"Smooth"}, {"Linear"}, {"Constant"}});
    RegisterCatalogueEnum<ParticleRenderMode>(
        "ParticleRenderMode",
        {{"Billboard"}, {"Ribbon"}, {"Stretched"}, {"AxisLocked", "Axis Locked"}, {"Mesh"}, {"Beam"}});
    RegisterCatalogueEnum<ParticleFlipbookPlayback>(
        "ParticleFlipbookPlayback", {{"OverLifetime", "Over Lifetime"}, {"Loop"}, {"PingPong", "Ping Pong"}});
    RegisterCatalogueEnum<ParticleEmitterShape>("ParticleEmitterShape", {{"Point"},
                                                                         {"Sphere"},
                                                                         {"Box"},
                                                                         {"Cone"},
                                                                         {"Circle"},
                                                                         {"Line"},
                                                                         {"Cylinder"},
                                                                         {"MeshSurface", "Mesh Surface"},
                                                                         {"MeshVolume", "Mesh Volume"}});
    RegisterCatalogueEnum<ParticleSimulationSpace>("ParticleSimulationSpace", {{"Local"}, {"World"}});
}

void RegisterLightingComponents() {
    using D = DirectionalLightComponent;
    Labelled(RegisterComponent<D>("DirectionalLightComponent", "Directional Light", "Lighting", kUserFlags)
                 .Description("Global sun/moon-style light with optional cascaded shadows."))
        .Field("color", &D::color, FieldAttr().Color())
        .Field("intensity", &D::intensity, FieldAttr().Range(0.0f, 1000.0f))
        .Field("enabled", &D::enabled)
        .Field("castsShadows", &D::castsShadows)
        .Field("shadowResolution", &D::shadowResolution)
        .Field("shadowMaxDistance", &D::shadowMaxDistance, FieldAttr().Range(0.0f, 10000.0f))
        .Field("shadowBias", &D::shadowBias)
        .Field("shadowNormalBias", &D::shadowNormalBias, FieldAttr().Category("Shadows"))
        .Field("shadowSlopeBias", &D::shadowSlopeBias, FieldAttr().Category("Shadows"))
        .Field("shadowStrength", &D::shadowStrength, FieldAttr().Category("Shadows"))
        .Field("shadowPcfRadius", &D::shadowPcfRadius, FieldAttr().Category("Shadows"))
        .Field("shadowCascadeCount", &D::shadowCascadeCount, FieldAttr().Category("Shadows"))
        .Field("shadowCascadeLambda", &D::shadowCascadeLambda, FieldAttr().Category("Shadows"))
        .Field("showCascadeDebug", &D::showCascadeDebug, FieldAttr().Category("Shadows"));
}

void RegisterVfxComponents() {
    RegisterCatalogueEnum<VfxParameterType>("VfxParameterType",
                                            {{"Float"}, {"Color"}, {"Vector3", "Vector 3"}, {"Bool"}});
    RegisterCatalogueEnum<VfxParameterTarget>("VfxParameterTarget", {{"EmissionRate", "Emission Rate"},
                                                                     {"StartSize", "Start Size"},
                                                                     {"StartSpeed", "Start Speed"},
                                                                     {"Lifetime"},
                                                                     {"SimulationSpeed", "Simulation Speed"},
                                                                     {"Color"},
                                                                     {"LightIntensity", "Light Intensity"},
                                                                     {"Gravity"},
                                                                     {"Wind"},
                                                                     {"BeamEnd", "Beam End"},
                                                                     {"Enabled"},
                                                                     {"Turbulence"}});
    RegisterCatalogueEnum<VfxBindingMode>("VfxBindingMode", {{"Multiply"}, {"Override"}});
    RegisterCatalogueEnum<VfxEventTrigger>(
        "VfxEventTrigger", {{"OnSpawn", "On Spawn"}, {"OnDeath", "On Death"}, {"OnCollision", "On Collision"}});
    RegisterCatalogueEnum<VfxEventAction>("VfxEventAction", {{"SpawnEffect", "Spawn Effect"},
                                                             {"SpawnParticles", "Spawn Particles"},
                                                             {"NotifyScript", "Notify Script"}});
}

void RegisterAudioComponents() {
    RegisterCatalogueEnum<AudioAttenuationModel>("AudioAttenuationModel",
                                                 {{"Smooth"}, {"Linear"}, {"Inverse"}, {"Custom"}});
}

void RegisterUiComponents() {
    RegisterCatalogueEnum<UICanvasSpace>("UICanvasSpace", {{"Screen"}, {"WorldBillboard", "World Billboard"}});
}

} // namespace Brelk::Scene
