#include "engine/reflection/ReflectedTypeBuilder.h"
#include "engine/scene/components/CatalogueRegistration.h"
#include "engine/scene/components/ComponentRegistrars.h"
#include "engine/scene/components/EnvironmentSettings.h"

namespace Brelk::Scene {

using Detail::LabelCase;
using Detail::Labelled;
using Reflection::FieldAttr;
using Reflection::ReflectedTypeBuilder;

void RegisterEnvironmentTypes() {
    using P = PostProcessSettings;
    Labelled(ReflectedTypeBuilder<P>("PostProcessSettings", "Post Processing", "Environment"), LabelCase::Sentence)
        .Field("enabled", &P::enabled)
        .Field("debugView", &P::debugView)
        .Field("exposure", &P::exposure)
        .Field("exposureMode", &P::exposureMode)
        .Field("exposureEv100", &P::exposureEv100)
        .Field("exposureCompensation", &P::exposureCompensation)
        .Field("autoExposureMinEv100", &P::autoExposureMinEv100)
        .Field("autoExposureMaxEv100", &P::autoExposureMaxEv100)
        .Field("autoExposureSpeedUp", &P::autoExposureSpeedUp)
        .Field("autoExposureSpeedDown", &P::autoExposureSpeedDown)
        .Field("toneMapper", &P::toneMapper)
        .Field("gamma", &P::gamma)
        .Field("applyGamma", &P::applyGamma)
        .Field("contrast", &P::contrast)
        .Field("saturation", &P::saturation)
        .Field("tintColor", &P::tintColor)
        .Field("tintStrength", &P::tintStrength)
        .Field("vignetteEnabled", &P::vignetteEnabled)
        .Field("vignetteStrength", &P::vignetteStrength)
        .Field("vignetteRadius", &P::vignetteRadius)
        .Field("vignetteSoftness", &P::vignetteSoftness)
        .Field("bloomEnabled", &P::bloomEnabled)
        .Field("bloomThreshold", &P::bloomThreshold)
        .Field("bloomKnee", &P::bloomKnee)
        .Field("bloomIntensity", &P::bloomIntensity)
        .Field("bloomRadius", &P::bloomRadius)
        .Field("bloomIterations", &P::bloomIterations)
        .Field("atmosphericFogEnabled", &P::atmosphericFogEnabled)
        .Field("atmosphericFogColor", &P::atmosphericFogColor)
        .Field("atmosphericFogDensity", &P::atmosphericFogDensity)
        .Field("atmosphericFogStartDistance", &P::atmosphericFogStartDistance)
        .Field("atmosphericFogMaxOpacity", &P::atmosphericFogMaxOpacity)
        .Field("atmosphericFogBaseHeight", &P::atmosphericFogBaseHeight)
        .Field("atmosphericFogHeightFalloff", &P::atmosphericFogHeightFalloff)
        .Field("atmosphericFogAffectSky", &P::atmosphericFogAffectSky)
        .Field("atmosphericFogDirectionalScattering", &P::atmosphericFogDirectionalScattering)
        .Field("atmosphericFogScatteringStrength", &P::atmosphericFogScatteringStrength)
        .Field("atmosphericFogAnisotropy", &P::atmosphericFogAnisotropy)
        .Field("ambientOcclusionEnabled", &P::ambientOcclusionEnabled)
        .Field("ambientOcclusionRadius", &P::ambientOcclusionRadius)
        .Field("ambientOcclusionIntensity", &P::ambientOcclusionIntensity)
        .Field("cameraNear", &P::cameraNear, FieldAttr().Category("Runtime").ReadOnly().NotSaved())
        .Field("cameraFar", &P::cameraFar, FieldAttr().Category("Runtime").ReadOnly().NotSaved());

    using E = EnvironmentSettings;
    Labelled(ReflectedTypeBuilder<E>("EnvironmentSettings", "Environment", "Environment"))
        .Field("texture", &E::texture, Detail::AssetField("Texture"))
        .Field("lightIntensity", &E::lightIntensity)
        .Field("backgroundIntensity", &E::backgroundIntensity)
        .Field("rotationDegrees", &E::rotationDegrees)
        .Field("showBackground", &E::showBackground)
        .Field("postProcess", &E::postProcess, FieldAttr("Post Processing"))
        .Field("postProcessMaterials", &E::postProcessMaterials, Detail::AssetField("Material"));
}

} // namespace Brelk::Scene
