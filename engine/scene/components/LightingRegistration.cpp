#include "engine/reflection/ReflectedTypeBuilder.h"
#include "engine/scene/ComponentRegistry.h"
#include "engine/scene/components/CatalogueRegistration.h"
#include "engine/scene/components/ComponentRegistrars.h"
#include "engine/scene/components/LightComponents.h"
#include "engine/scene/components/RecordEdits.h"

#include <string>

namespace Brelk::Scene {
namespace {

using Detail::AssetField;
using Detail::EnumField;
using Detail::Labelled;
using Detail::RegisterCatalogueEnum;
using Reflection::FieldAttr;
using Reflection::ReflectedTypeBuilder;

constexpr ComponentFlags kUserFlags = ComponentFlags::UserAddable | ComponentFlags::Saved;

// Lights of version 1 fell off linearly and may not say so: whatever the record holds,
// the falloff it loads with is the linear one, while a new light is inverse-square.
void MigrateLightFalloff(Reflection::SchemaRecord& record, std::uint32_t fromVersion) {
    if (fromVersion < 2) {
        RemoveRecordFields(record, {"inverseSquareFalloff"});
        record.fields.push_back(
            Reflection::SchemaField{"inverseSquareFalloff", Reflection::SchemaValue(std::string("0"))});
    }
}

} // namespace

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

    using P = PointLightComponent;
    Labelled(RegisterComponent<P>("PointLightComponent", "Point Light", "Lighting", kUserFlags)
                 .Description("Local omnidirectional light with range and optional point shadows.")
                 .Version(2)
                 .Migrate(MigrateLightFalloff))
        .Field("color", &P::color, FieldAttr().Color())
        .Field("intensity", &P::intensity, FieldAttr().Range(0.0f, 100.0f))
        .Field("range", &P::range, FieldAttr().Range(0.1f, 250.0f))
        .Field("inverseSquareFalloff", &P::inverseSquareFalloff)
        .Field("enabled", &P::enabled)
        .Field("castsShadows", &P::castsShadows, FieldAttr().Category("Shadows"))
        .Field("shadowBias", &P::shadowBias, FieldAttr().Range(0.0f, 0.05f).Category("Shadows"))
        .Field("shadowNormalBias", &P::shadowNormalBias,
               FieldAttr("Normal Bias").Range(0.0f, 0.05f).Category("Shadows"))
        .Field("shadowSlopeBias", &P::shadowSlopeBias, FieldAttr("Slope Bias").Range(0.0f, 8.0f).Category("Shadows"))
        .Field("shadowStrength", &P::shadowStrength, FieldAttr().Range(0.0f, 1.0f).Category("Shadows"))
        .Field("shadowPcfRadius", &P::shadowPcfRadius, FieldAttr("PCF Radius").Range(0.0f, 3.0f).Category("Shadows"))
        .Field("shadowResolution", &P::shadowResolution, FieldAttr().Range(128.0f, 2048.0f).Category("Shadows"))
        .Field("shadowNearPlane", &P::shadowNearPlane,
               FieldAttr("Shadow Near").Range(0.001f, 10.0f).Category("Shadows"))
        .Field("shadowFarPlane", &P::shadowFarPlane, FieldAttr("Shadow Far").Range(0.0f, 1000.0f).Category("Shadows"));

    using S = SpotLightComponent;
    Labelled(RegisterComponent<S>("SpotLightComponent", "Spot Light", "Lighting", kUserFlags)
                 .Description("Cone light with range, angles, and optional shadow map.")
                 .Version(2)
                 .Migrate(MigrateLightFalloff))
        .Field("color", &S::color, FieldAttr().Color())
        .Field("intensity", &S::intensity, FieldAttr().Range(0.0f, 1000.0f))
        .Field("range", &S::range, FieldAttr().Range(0.0f, 10000.0f))
        .Field("inverseSquareFalloff", &S::inverseSquareFalloff)
        .Field("innerAngleDegrees", &S::innerAngleDegrees, FieldAttr("Inner Angle").Range(0.0f, 179.0f).Angle())
        .Field("outerAngleDegrees", &S::outerAngleDegrees, FieldAttr("Outer Angle").Range(0.0f, 179.0f).Angle())
        .Field("enabled", &S::enabled)
        .Field("castsShadows", &S::castsShadows, FieldAttr().Category("Shadows"))
        .Field("shadowBias", &S::shadowBias, FieldAttr().Category("Shadows"))
        .Field("shadowNormalBias", &S::shadowNormalBias, FieldAttr().Category("Shadows"))
        .Field("shadowSlopeBias", &S::shadowSlopeBias, FieldAttr().Category("Shadows"))
        .Field("shadowStrength", &S::shadowStrength, FieldAttr().Category("Shadows"))
        .Field("shadowPcfRadius", &S::shadowPcfRadius, FieldAttr().Category("Shadows"))
        .Field("shadowResolution", &S::shadowResolution, FieldAttr().Category("Shadows"))
        .Field("shadowNearPlane", &S::shadowNearPlane, FieldAttr().Category("Shadows"))
        .Field("shadowFarPlane", &S::shadowFarPlane, FieldAttr().Category("Shadows"));

    using R = ReflectionProbeComponent;
    Labelled(RegisterComponent<R>("ReflectionProbeComponent", "Reflection Probe", "Lighting", kUserFlags)
                 .Description("Captured reflections and ambient light for the surfaces inside its box (rooms, "
                              "interiors)."))
        .Field("boxExtents", &R::boxExtents, FieldAttr().Range(0.01f, 10000.0f))
        .Field("boxOffset", &R::boxOffset)
        .Field("blendDistance", &R::blendDistance, FieldAttr().Range(0.0f, 1000.0f))
        .Field("priority", &R::priority, FieldAttr().Range(-100.0f, 100.0f))
        .Field("intensity", &R::intensity, FieldAttr().Range(0.0f, 16.0f))
        .Field("parallaxCorrection", &R::parallaxCorrection)
        .Field("enabled", &R::enabled)
        .Field("bakeOnStart", &R::bakeOnStart, FieldAttr("Capture On Start").Category("Capture"))
        .Field("bakedTexture", &R::bakedTexture, FieldAttr("Baked Capture").AssetType("Texture").Category("Capture"))
        .Field("bakeRequested", &R::bakeRequested, FieldAttr("Capture Requested").Category("Capture").NotSaved());

    using V = ProbeVolumeComponent;
    Labelled(RegisterComponent<V>("ProbeVolumeComponent", "Probe Volume", "Lighting", kUserFlags)
                 .Description("Baked indirect diffuse light on a grid of probes over its box (rooms, interiors, "
                              "shaded areas)."))
        .Field("boxExtents", &V::boxExtents, FieldAttr().Range(0.01f, 10000.0f))
        .Field("boxOffset", &V::boxOffset)
        .Field("probeCountX", &V::probeCountX, FieldAttr("Probes X").Range(1.0f, 32.0f))
        .Field("probeCountY", &V::probeCountY, FieldAttr("Probes Y").Range(1.0f, 16.0f))
        .Field("probeCountZ", &V::probeCountZ, FieldAttr("Probes Z").Range(1.0f, 32.0f))
        .Field("blendDistance", &V::blendDistance, FieldAttr().Range(0.0f, 1000.0f))
        .Field("normalBias", &V::normalBias, FieldAttr().Range(0.0f, 1.0f))
        .Field("intensity", &V::intensity, FieldAttr().Range(0.0f, 16.0f))
        .Field("priority", &V::priority, FieldAttr().Range(-100.0f, 100.0f))
        .Field("enabled", &V::enabled)
        .Field("bakedData", &V::bakedData, FieldAttr("Baked Probes").AssetType("Texture").Category("Bake"))
        .Field("bakeRequested", &V::bakeRequested, FieldAttr().Category("Bake").NotSaved());
}

} // namespace Brelk::Scene
