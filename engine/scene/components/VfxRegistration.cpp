#include "engine/reflection/ReflectedTypeBuilder.h"
#include "engine/scene/ComponentRegistry.h"
#include "engine/scene/components/CatalogueRegistration.h"
#include "engine/scene/components/ComponentRegistrars.h"
#include "engine/scene/components/VfxComponents.h"

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
    RegisterCatalogueEnum<VfxEventAction>(
        "VfxEventAction",
        {{"SpawnEffect", "Spawn Effect"}, {"SpawnParticles", "Spawn Particles"}, {"NotifyScript", "Notify Script"}});

    Labelled(ReflectedTypeBuilder<VfxParameterDefinition>("VfxParameterDefinition", "VFX Parameter", "Rendering"))
        .Field("id", &VfxParameterDefinition::id, FieldAttr("VfxParameterDefinition"))
        .Field("name", &VfxParameterDefinition::name)
        .Field("type", &VfxParameterDefinition::type, EnumField("VfxParameterType"))
        .Field("defaultValue", &VfxParameterDefinition::defaultValue, FieldAttr("Default"))
        .Field("minimum", &VfxParameterDefinition::minimum)
        .Field("maximum", &VfxParameterDefinition::maximum)
        .Field("description", &VfxParameterDefinition::description)
        .Field("graphPosition", &VfxParameterDefinition::graphPosition);

    Labelled(ReflectedTypeBuilder<VfxParameterBinding>("VfxParameterBinding", "VFX Parameter Binding", "Rendering"))
        .Field("parameter", &VfxParameterBinding::parameter)
        .Field("emitter", &VfxParameterBinding::emitter)
        .Field("target", &VfxParameterBinding::target, EnumField("VfxParameterTarget"))
        .Field("mode", &VfxParameterBinding::mode, EnumField("VfxBindingMode"));

    Labelled(ReflectedTypeBuilder<VfxEventDefinition>("VfxEventDefinition", "VFX Event", "Rendering"))
        .Field("id", &VfxEventDefinition::id, FieldAttr("VfxEventDefinition"))
        .Field("name", &VfxEventDefinition::name)
        .Field("emitter", &VfxEventDefinition::emitter)
        .Field("trigger", &VfxEventDefinition::trigger, EnumField("VfxEventTrigger"))
        .Field("action", &VfxEventDefinition::action, EnumField("VfxEventAction"))
        .Field("effect", &VfxEventDefinition::effect, AssetField("VfxEffect"))
        .Field("targetEmitter", &VfxEventDefinition::targetEmitter)
        .Field("count", &VfxEventDefinition::count)
        .Field("probability", &VfxEventDefinition::probability, FieldAttr().Range(0.0f, 1.0f))
        .Field("maxPerSecond", &VfxEventDefinition::maxPerSecond, FieldAttr().Range(0.0f, 1000.0f))
        .Field("graphPosition", &VfxEventDefinition::graphPosition);

    Labelled(ReflectedTypeBuilder<VfxGraphNodeLayout>("VfxGraphNodeLayout", "VFX Graph Node", "Rendering"))
        .Field("emitter", &VfxGraphNodeLayout::emitter)
        .Field("position", &VfxGraphNodeLayout::position);

    Labelled(ReflectedTypeBuilder<VfxParameterValue>("VfxParameterValue", "VFX Parameter Value", "Rendering"))
        .Field("name", &VfxParameterValue::name)
        .Field("value", &VfxParameterValue::value);

    using D = VfxEffectDefinitionComponent;
    Labelled(RegisterComponent<D>("VfxEffectDefinitionComponent", "VFX Effect Definition", "Rendering",
                                  ComponentFlags::Saved)
                 .Description("Parameters, events and graph layout of a .bvfx effect; edited in Effect Bench."))
        .Field("description", &D::description)
        .Field("tags", &D::tags)
        .Field("effectNodePosition", &D::effectNodePosition)
        .Field("parameters", &D::parameters)
        .Field("bindings", &D::bindings)
        .Field("events", &D::events)
        .Field("layout", &D::layout);

    using E = VfxEffectComponent;
    Labelled(RegisterComponent<E>("VfxEffectComponent", "VFX Effect", "Rendering", kUserFlags)
                 .Description("Plays a .bvfx effect attached to this entity."))
        .Field("effect", &E::effect, AssetField("VfxEffect"))
        .Field("autoPlay", &E::autoPlay)
        .Field("loop", &E::loop)
        .Field("intensity", &E::intensity, FieldAttr().Range(0.0f, 10.0f))
        .Field("tint", &E::tint)
        .Field("sizeScale", &E::sizeScale, FieldAttr("Size").Range(0.0f, 10.0f))
        .Field("speedScale", &E::speedScale, FieldAttr("Speed").Range(0.0f, 10.0f))
        .Field("parameters", &E::parameters);

    RegisterComponent<VfxEmitterBaseline>("VfxEmitterBaseline", "VFX Emitter Baseline", "Rendering",
                                          ComponentFlags::RuntimeOnly)
        .Description("Authored values of one emitter of a playing effect, so its parameters can be reapplied.")
        .AddTransient(&VfxEmitterBaseline::emitter);
}

} // namespace Brelk::Scene
