#include "engine/reflection/ReflectedTypeBuilder.h"
#include "engine/scene/ComponentRegistry.h"
#include "engine/scene/components/CatalogueRegistration.h"
#include "engine/scene/components/ComponentRegistrars.h"
#include "engine/scene/components/AudioComponents.h"

namespace Brelk::Scene {
namespace {

using Detail::AssetField;
using Detail::EnumField;
using Detail::Labelled;
using Detail::RegisterCatalogueEnum;
using Reflection::FieldAttr;
using Reflection::ReflectedTypeBuilder;

constexpr ComponentFlags kUserFlags = ComponentFlags::UserAddable | ComponentFlags::Saved;

} // namespace

void RegisterAudioComponents() {
    RegisterCatalogueEnum<AudioAttenuationModel>("AudioAttenuationModel",
                                                 {{"Smooth"}, {"Linear"}, {"Inverse"}, {"Custom"}});

    using S = AudioSourceComponent;
    Labelled(RegisterComponent<S>("AudioSourceComponent", "Audio Source", "Audio", kUserFlags)
                 .Description("Plays an audio clip from this entity."))
        .Field("clip", &S::clip, AssetField("AudioClip"))
        .Field("enabled", &S::enabled)
        .Field("playOnAwake", &S::playOnAwake)
        .Field("loop", &S::loop)
        .Field("spatial", &S::spatial)
        .Field("volume", &S::volume)
        .Field("pitch", &S::pitch)
        .Field("muted", &S::muted)
        .Field("playing", &S::playing)
        .Field("previewInEditor", &S::previewInEditor)
        .Field("minDistance", &S::minDistance)
        .Field("maxDistance", &S::maxDistance)
        .Field("rolloff", &S::rolloff)
        .Field("dopplerScale", &S::dopplerScale)
        .Field("bus", &S::bus)
        .Field("priority", &S::priority)
        .Field("attenuation", &S::attenuation, EnumField("AudioAttenuationModel"))
        .Field("customCurve", &S::customCurve)
        .Field("spread", &S::spread)
        .Field("coneInnerAngle", &S::coneInnerAngle)
        .Field("coneOuterAngle", &S::coneOuterAngle)
        .Field("coneOuterVolume", &S::coneOuterVolume)
        .Field("lowPassCutoff", &S::lowPassCutoff, FieldAttr("Low-Pass Cutoff"));

    using L = AudioListenerComponent;
    Labelled(RegisterComponent<L>("AudioListenerComponent", "Audio Listener", "Audio", kUserFlags)
                 .Description("Receives spatial audio, usually on the active camera."))
        .Field("enabled", &L::enabled)
        .Field("gain", &L::gain);
}

} // namespace Brelk::Scene
