#include "engine/reflection/ReflectedTypeBuilder.h"
#include "engine/scene/ComponentRegistry.h"
#include "engine/scene/components/CatalogueRegistration.h"
#include "engine/scene/components/ComponentRegistrars.h"
#include "engine/scene/components/AiComponents.h"

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

void RegisterAiComponents() {
    RegisterCatalogueEnum<BlackboardValueType>("BlackboardValueType",
                                               {{"Bool"}, {"Float"}, {"Vec3", "Vector 3"}, {"String"}});

    Labelled(ReflectedTypeBuilder<BlackboardValue>("BlackboardValue", "Blackboard Value", "AI"))
        .Field("key", &BlackboardValue::key, FieldAttr("Blackboard Value"))
        .Field("type", &BlackboardValue::type, EnumField("BlackboardValueType"))
        .Field("boolValue", &BlackboardValue::boolValue)
        .Field("floatValue", &BlackboardValue::floatValue)
        .Field("vec3Value", &BlackboardValue::vec3Value, FieldAttr("Vector Value"))
        .Field("stringValue", &BlackboardValue::stringValue);

    using B = BlackboardComponent;
    Labelled(RegisterComponent<B>("BlackboardComponent", "Blackboard", "AI", kUserFlags)
                 .Description("Stores named Bool, Float, Vector 3, and String values used by Behavior Trees."))
        .Field("values", &B::values);

    using C = AIControllerComponent;
    Labelled(RegisterComponent<C>("AIControllerComponent", "AI Controller", "AI", kUserFlags)
                 .Description("Evaluates an assigned Behavior Tree during Play mode."))
        .Field("enabled", &C::enabled)
        .Field("behaviorTree", &C::behaviorTree, AssetField("BehaviorTree"))
        .Field("restartOnTreeChange", &C::restartOnTreeChange)
        .Field("debugState", &C::debugState, FieldAttr().NotSaved());

    using P = AIPerceptionComponent;
    Labelled(
        RegisterComponent<P>("AIPerceptionComponent", "AI Perception", "AI", kUserFlags)
            .Description("Sight cone with line-of-sight raycasts and hearing of noise events; writes the blackboard."))
        .Field("enabled", &P::enabled)
        .Field("sightRange", &P::sightRange, FieldAttr().Range(0.0f, 1000.0f))
        .Field("sightAngleDegrees", &P::sightAngleDegrees, FieldAttr("Sight Angle").Range(0.0f, 360.0f))
        .Field("eyeHeight", &P::eyeHeight, FieldAttr().Range(0.0f, 10.0f))
        .Field("requireLineOfSight", &P::requireLineOfSight)
        .Field("hearingRange", &P::hearingRange, FieldAttr().Range(0.0f, 1000.0f))
        .Field("updateIntervalSeconds", &P::updateIntervalSeconds, FieldAttr("Update Interval").Range(0.0f, 10.0f))
        .Field("memorySeconds", &P::memorySeconds, FieldAttr("Memory").Range(0.0f, 600.0f))
        .Field("team", &P::team)
        .Field("targetKey", &P::targetKey);

    using V = AIPerceivableComponent;
    Labelled(RegisterComponent<V>("AIPerceivableComponent", "AI Perceivable", "AI", kUserFlags)
                 .Description("Can be seen by AI Perception."))
        .Field("enabled", &V::enabled)
        .Field("team", &V::team)
        .Field("targetHeight", &V::targetHeight, FieldAttr().Range(0.0f, 10.0f));
}

} // namespace Brelk::Scene
