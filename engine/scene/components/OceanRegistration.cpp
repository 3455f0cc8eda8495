#include "engine/reflection/ReflectedTypeBuilder.h"
#include "engine/scene/ComponentRegistry.h"
#include "engine/scene/components/CatalogueRegistration.h"
#include "engine/scene/components/ComponentRegistrars.h"
#include "engine/scene/components/OceanComponent.h"

namespace Brelk::Scene {

using Detail::EnumField;
using Detail::Labelled;
using Detail::RegisterCatalogueEnum;
using Reflection::FieldAttr;
using Reflection::ReflectedTypeBuilder;

namespace {
constexpr ComponentFlags kUserFlags = ComponentFlags::UserAddable | ComponentFlags::Saved;
} // namespace

void RegisterOceanComponents() {
    RegisterCatalogueEnum<OceanPreset>("OceanPreset",
                                       {{"Calm"}, {"Coastal"}, {"OpenSea", "Open Sea"}, {"Storm"}, {"Custom"}});
    RegisterCatalogueEnum<OceanQuality>("OceanQuality", {{"Low"}, {"Medium"}, {"High"}, {"Ultra"}});
    RegisterCatalogueEnum<OceanBodyMode>("OceanBodyMode",
                                         {{"Bounded", "Bounded Water Body"}, {"Infinite", "Infinite Ocean"}});

    using W = OceanWaveSettings;
    Labelled(ReflectedTypeBuilder<W>("OceanWaveSettings", "Ocean Wave", "Water"))
        .Field("direction", &W::direction)
        .Field("amplitude", &W::amplitude)
        .Field("wavelength", &W::wavelength);

    using O = OceanComponent;
    Labelled(RegisterComponent<O>("OceanComponent", "Ocean", "World", kUserFlags)
                 .Description("Creates an ocean surface with waves, foam, shore data, and underwater support."))
        .Field("enabled", &O::enabled)
        .Field("visible", &O::visible)
        .Field("bodyMode", &O::bodyMode, EnumField("OceanBodyMode").Category("Water Body"))
        .Field("bodySize", &O::bodySize, FieldAttr().Category("Water Body"))
        .Field("volumeDepth", &O::volumeDepth, FieldAttr().Range(0.1f, 100000.0f).Category("Water Body"))
        .Field("preset", &O::preset, FieldAttr("Sea State").Enum("OceanPreset").Category("Wave Spectrum"))
        .Field("windDirection", &O::windDirection, FieldAttr().Category("Wave Spectrum"))
        .Field("windSpeed", &O::windSpeed, FieldAttr().Range(0.0f, 80.0f).Category("Wave Spectrum"))
        .Field("fetch", &O::fetch, FieldAttr().Range(10.0f, 500000.0f).Category("Wave Spectrum"))
        .Field("waveHeight", &O::waveHeight, FieldAttr().Range(0.0f, 30.0f).Category("Wave Spectrum"))
        .Field("swell", &O::swell, FieldAttr().Range(0.0f, 1.0f).Category("Wave Spectrum"))
        .Field("choppiness", &O::choppiness, FieldAttr().Range(0.0f, 1.25f).Category("Wave Spectrum"))
        .Field("directionalSpread", &O::directionalSpread, FieldAttr().Range(0.0f, 1.0f).Category("Wave Spectrum"))
        .Field("shortWaveStrength", &O::shortWaveStrength, FieldAttr().Range(0.0f, 2.0f).Category("Wave Spectrum"))
        .Field("shortWaveScale", &O::shortWaveScale, FieldAttr().Range(0.1f, 100.0f).Category("Wave Spectrum"))
        .Field("animationSpeed", &O::animationSpeed, FieldAttr().Range(0.0f, 8.0f).Category("Wave Spectrum"))
        .Field("shallowColor", &O::shallowColor, FieldAttr().Category("Surface").Color())
        .Field("deepColor", &O::deepColor, FieldAttr().Category("Surface").Color())
        .Field("foamColor", &O::foamColor, FieldAttr().Category("Surface").Color())
        .Field("reflectivity", &O::reflectivity, FieldAttr().Range(0.0f, 1.0f).Category("Surface"))
        .Field("roughness", &O::roughness, FieldAttr().Range(0.02f, 1.0f).Category("Surface"))
        .Field("refractionStrength", &O::refractionStrength, FieldAttr().Range(0.0f, 0.1f).Category("Surface"))
        .Field("environmentReflectionIntensity", &O::environmentReflectionIntensity,
               FieldAttr("HDRI Intensity").Range(0.0f, 4.0f).Category("Reflections"))
        .Field("environmentReflectionBlur", &O::environmentReflectionBlur,
               FieldAttr("HDRI Blur").Range(0.0f, 1.0f).Category("Reflections"))
        .Field("screenSpaceReflectionIntensity", &O::screenSpaceReflectionIntensity,
               FieldAttr("Screen Space Intensity").Range(0.0f, 1.0f).Category("Reflections"))
        .Field("sunSpecularIntensity", &O::sunSpecularIntensity,
               FieldAttr("Sun Glint Intensity").Range(0.0f, 4.0f).Category("Reflections"))
        .Field("reflectionHighlightLimit", &O::reflectionHighlightLimit,
               FieldAttr("HDR Highlight Limit").Range(0.25f, 64.0f).Category("Reflections"))
        .Field("foamIntensity", &O::foamIntensity, FieldAttr("Wave Foam Intensity").Range(0.0f, 3.0f).Category("Foam"))
        .Field("shoreFoamIntensity", &O::shoreFoamIntensity, FieldAttr().Range(0.0f, 3.0f).Category("Foam"))
        .Field("shoreFoamDistance", &O::shoreFoamDistance, FieldAttr().Range(0.05f, 100.0f).Category("Foam"))
        .Field("volumeColor", &O::volumeColor, FieldAttr("Water Volume Color").Category("Underwater").Color())
        .Field("underwaterVisibility", &O::underwaterVisibility,
               FieldAttr("Visibility").Range(0.1f, 10000.0f).Category("Underwater"))
        .Field("underwaterTintStrength", &O::underwaterTintStrength,
               FieldAttr("Tint Strength").Range(0.0f, 1.0f).Category("Underwater"))
        .Field("underwaterDistortionStrength", &O::underwaterDistortionStrength,
               FieldAttr("Distortion Strength").Range(0.0f, 0.1f).Category("Underwater"))
        .Field("causticsIntensity", &O::causticsIntensity,
               FieldAttr().Range(0.0f, 4.0f).Category("Underwater Lighting"))
        .Field("causticsScale", &O::causticsScale, FieldAttr().Range(0.001f, 10.0f).Category("Underwater Lighting"))
        .Field("causticsSpeed", &O::causticsSpeed, FieldAttr().Range(0.0f, 8.0f).Category("Underwater Lighting"))
        .Field("causticsColor", &O::causticsColor, FieldAttr().Category("Underwater Lighting").Color())
        .Field("causticsSharpness", &O::causticsSharpness,
               FieldAttr().Range(0.0f, 1.0f).Category("Underwater Lighting"))
        .Field("causticsDepthFade", &O::causticsDepthFade,
               FieldAttr().Range(0.1f, 1000.0f).Category("Underwater Lighting"))
        .Field("godRaysIntensity", &O::godRaysIntensity, FieldAttr().Range(0.0f, 4.0f).Category("Underwater Lighting"))
        .Field("quality", &O::quality, EnumField("OceanQuality").Category("Rendering"))
        .Field("renderDistance", &O::renderDistance, FieldAttr().Range(8.0f, 200000.0f).Category("Rendering"))
        .Field("fresnelPower", &O::fresnelPower)
        .Field("normalStrength", &O::normalStrength)
        .Field("foamThreshold", &O::foamThreshold)
        .Field("foamScale", &O::foamScale)
        .Field("underwaterBrightness", &O::underwaterBrightness)
        .Field("underwaterContrast", &O::underwaterContrast)
        .Field("absorptionStrength", &O::absorptionStrength)
        .Field("underwaterDistortionScale", &O::underwaterDistortionScale)
        .Field("underwaterDistortionSpeed", &O::underwaterDistortionSpeed)
        .Field("waterlineSoftness", &O::waterlineSoftness)
        .Field("godRaysScale", &O::godRaysScale)
        .Field("causticsOnSurface", &O::causticsOnSurface)
        .Field("spectrum", &O::spectrum, FieldAttr().ReadOnly().NotSaved())
        .Done()
        .AddTransient(&O::generatedMesh);
}

} // namespace Brelk::Scene
