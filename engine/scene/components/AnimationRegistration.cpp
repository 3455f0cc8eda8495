#include "engine/reflection/ReflectedTypeBuilder.h"
#include "engine/scene/ComponentRegistry.h"
#include "engine/scene/components/CatalogueRegistration.h"
#include "engine/scene/components/ComponentRegistrars.h"
#include "engine/assets/ByteStream.h"
#include "engine/core/Guid.h"
#include "engine/scene/components/AnimationComponents.h"
#include "engine/scene/components/RecordEdits.h"

#include <limits>
#include <optional>
#include <string>

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

// Version 1 saved the playback state with the authored settings; it is run-time state
// now, and "currentState" lives on as the state playback starts in.
void MigrateAnimator(Reflection::SchemaRecord& record, std::uint32_t fromVersion) {
    if (fromVersion >= 2) {
        return;
    }
    RenameRecordField(record, "currentState", "initialState");
    RemoveRecordFields(
        record, {"currentState", "currentTime", "nextState", "transitionDuration", "transitionTime", "blendAlpha"});
    ForEachArrayObject(record, "layers",
                       [](Reflection::SchemaRecord& layer) { RemoveRecordFields(layer, {"timeSeconds"}); });
    ForEachArrayObject(record, "parameters",
                       [](Reflection::SchemaRecord& parameter) { RemoveRecordFields(parameter, {"triggerArmed"}); });
}

// Calls `link(entity, guidText)` for every entity link of the animator's IK and look-at chains.
template <class Link> void ForEachAnimatorLink(AnimatorComponent& animator, Link&& link) {
    for (AnimatorIkChain& chain : animator.ikChains) {
        link(chain.targetEntity, chain.targetEntityGuid);
        link(chain.poleEntity, chain.poleEntityGuid);
    }
    for (AnimatorLookAtChain& chain : animator.lookAtChains) {
        link(chain.targetEntity, chain.targetEntityGuid);
    }
}

// A link's text is kept as the canonical text of a Guid, or empty. Without a Guid in the
// text, saving takes the Guid of the linked entity, if it has one.
std::string NormalisedLinkText(const std::string& text, const Registry* registry, Entity entity) {
    std::optional<Core::Guid> guid = Core::Guid::Parse(text);
    if ((!guid || !guid->IsValid()) && registry != nullptr) {
        guid = Detail::StableGuidOf(*registry, entity);
    }
    return guid && guid->IsValid() ? guid->ToString() : std::string();
}

void WriteLayerTimes(const AnimatorComponent& animator, Assets::ByteWriter& writer, const SaveGameFieldCodecContext&) {
    writer.WriteU32(static_cast<std::uint32_t>(animator.layers.size()));
    for (const AnimatorLayer& layer : animator.layers) {
        writer.WriteF32(layer.timeSeconds);
    }
}

// Times of layers that the animator no longer has are read and dropped; layers beyond the
// saved count keep their time.
void ReadLayerTimes(AnimatorComponent& animator, Assets::ByteReader& reader, const SaveGameFieldCodecContext&) {
    const std::uint32_t count = reader.ReadCount(sizeof(float), std::numeric_limits<std::uint32_t>::max());
    for (std::uint32_t index = 0; index < count; ++index) {
        const float time = reader.ReadF32();
        if (index < animator.layers.size()) {
            animator.layers[index].timeSeconds = time;
        }
    }
}

} // namespace

void RegisterAnimationComponents() {
    RegisterCatalogueEnum<AnimatorParameterType>("AnimatorParameterType", {{"Bool"}, {"Float"}, {"Int"}, {"Trigger"}});
    RegisterCatalogueEnum<AnimatorIkSolverType>("AnimatorIkSolverType", {{"TwoBone"}, {"FABRIK"}, {"CCD"}});
    RegisterCatalogueEnum<RagdollMode>("RagdollMode", {{"Animated"}, {"Simulated"}, {"Blend"}});
    RegisterCatalogueEnum<AnimatorLayerMode>("AnimatorLayerMode", {{"Override"}, {"Additive"}});

    Labelled(ReflectedTypeBuilder<BonePose>("BonePose", "BonePose", "Animation"))
        .Field("position", &BonePose::position)
        .Field("rotation", &BonePose::rotation)
        .Field("scale", &BonePose::scale);

    Labelled(
        ReflectedTypeBuilder<AnimatorParameterValue>("AnimatorParameterValue", "AnimatorParameterValue", "Animation"))
        .Field("name", &AnimatorParameterValue::name)
        .Field("type", &AnimatorParameterValue::type, EnumField("AnimatorParameterType"))
        .Field("boolValue", &AnimatorParameterValue::boolValue)
        .Field("floatValue", &AnimatorParameterValue::floatValue)
        .Field("intValue", &AnimatorParameterValue::intValue)
        .Field("triggerArmed", &AnimatorParameterValue::triggerArmed, FieldAttr().NotSaved());

    Labelled(ReflectedTypeBuilder<AnimatorBoneMaskRule>("AnimatorBoneMaskRule", "AnimatorBoneMaskRule", "Animation"))
        .Field("boneName", &AnimatorBoneMaskRule::boneName)
        .Field("includeDescendants", &AnimatorBoneMaskRule::includeDescendants)
        .Field("weight", &AnimatorBoneMaskRule::weight);

    Labelled(ReflectedTypeBuilder<AnimatorLayer>("AnimatorLayer", "AnimatorLayer", "Animation"))
        .Field("name", &AnimatorLayer::name)
        .Field("enabled", &AnimatorLayer::enabled)
        .Field("mode", &AnimatorLayer::mode, EnumField("AnimatorLayerMode"))
        .Field("clip", &AnimatorLayer::clip, AssetField("AnimationClip"))
        .Field("timeSeconds", &AnimatorLayer::timeSeconds, FieldAttr().NotSaved())
        .Field("speed", &AnimatorLayer::speed)
        .Field("weight", &AnimatorLayer::weight)
        .Field("looping", &AnimatorLayer::looping)
        .Field("boneMask", &AnimatorLayer::boneMask);

    Labelled(ReflectedTypeBuilder<AnimatorIkChain>("AnimatorIkChain", "AnimatorIkChain", "Animation"))
        .Field("name", &AnimatorIkChain::name)
        .Field("enabled", &AnimatorIkChain::enabled)
        .Field("solver", &AnimatorIkChain::solver, EnumField("AnimatorIkSolverType"))
        .Field("rootBoneName", &AnimatorIkChain::rootBoneName)
        .Field("midBoneName", &AnimatorIkChain::midBoneName)
        .Field("tipBoneName", &AnimatorIkChain::tipBoneName)
        .Field("boneNames", &AnimatorIkChain::boneNames)
        .Field("targetPosition", &AnimatorIkChain::targetPosition)
        .Field("targetRotationDegrees", &AnimatorIkChain::targetRotationDegrees)
        .Field("useTargetRotation", &AnimatorIkChain::useTargetRotation)
        .Field("useTargetEntity", &AnimatorIkChain::useTargetEntity)
        .Field("targetEntity", &AnimatorIkChain::targetEntity, EntityField().NotSaved())
        .Field("targetEntityGuid", &AnimatorIkChain::targetEntityGuid)
        .Field("targetEntityName", &AnimatorIkChain::targetEntityName)
        .Field("polePosition", &AnimatorIkChain::polePosition)
        .Field("usePoleVector", &AnimatorIkChain::usePoleVector)
        .Field("usePoleEntity", &AnimatorIkChain::usePoleEntity)
        .Field("poleEntity", &AnimatorIkChain::poleEntity, EntityField().NotSaved())
        .Field("poleEntityGuid", &AnimatorIkChain::poleEntityGuid)
        .Field("poleEntityName", &AnimatorIkChain::poleEntityName)
        .Field("weight", &AnimatorIkChain::weight)
        .Field("iterations", &AnimatorIkChain::iterations)
        .Field("tolerance", &AnimatorIkChain::tolerance);

    Labelled(ReflectedTypeBuilder<AnimatorLookAtChain>("AnimatorLookAtChain", "AnimatorLookAtChain", "Animation"))
        .Field("name", &AnimatorLookAtChain::name)
        .Field("enabled", &AnimatorLookAtChain::enabled)
        .Field("boneName", &AnimatorLookAtChain::boneName)
        .Field("targetPosition", &AnimatorLookAtChain::targetPosition)
        .Field("useTargetEntity", &AnimatorLookAtChain::useTargetEntity)
        .Field("targetEntity", &AnimatorLookAtChain::targetEntity, EntityField().NotSaved())
        .Field("targetEntityGuid", &AnimatorLookAtChain::targetEntityGuid)
        .Field("targetEntityName", &AnimatorLookAtChain::targetEntityName)
        .Field("localForwardAxis", &AnimatorLookAtChain::localForwardAxis)
        .Field("localUpAxis", &AnimatorLookAtChain::localUpAxis)
        .Field("weight", &AnimatorLookAtChain::weight);

    using A = AnimatorComponent;
    Labelled(RegisterComponent<A>("AnimatorComponent", "Animator", "Animation", kUserFlags)
                 .Description("Compatible skeleton found in this entity hierarchy.")
                 .Version(2)
                 .Migrate(MigrateAnimator))
        .Field("skeleton", &A::skeleton, AssetField("Skeleton"))
        .Field("rig", &A::rig, AssetField("Rig"))
        .Field("rigDefinition", &A::rigDefinition,
               AssetField("RigDefinition")
                   .Description("Bone roles (hips, spine, arms, legs) for spine lean and root motion. Empty uses the "
                                "roles generated for the skeleton at import."))
        .Field("clip", &A::clip, AssetField("AnimationClip"))
        .Field("controller", &A::controller, AssetField("AnimatorController"))
        .Field("enabled", &A::enabled)
        .Field("playing", &A::playing)
        .Field("loop", &A::loop)
        .Field("speed", &A::speed, FieldAttr().Range(0.0f, 10.0f))
        .Field("applyRootMotion", &A::applyRootMotion)
        .Field("enableAnimationLayers", &A::enableAnimationLayers, FieldAttr("Enable Layers").Category("Layers"))
        .Field("enableIk", &A::enableIk)
        .Field(
            "initialState", &A::initialState,
            FieldAttr().Description("Controller state playback starts in; empty uses the controller's default state."))
        .Field("manualPoseEnabled", &A::manualPoseEnabled)
        .Field("showBones", &A::showBones)
        .Field("renderBonesInFront", &A::renderBonesInFront)
        .Field("parameters", &A::parameters)
        .Field("layers", &A::layers)
        .Field("ikChains", &A::ikChains)
        .Field("lookAtChains", &A::lookAtChains)
        .Field("manualBonePose", &A::manualBonePose)
        .Done()
        .AddTransient(&A::currentTime)
        .AddTransient(&A::currentState)
        .AddTransient(&A::nextState)
        .AddTransient(&A::transitionDuration)
        .AddTransient(&A::transitionTime)
        .AddTransient(&A::blendAlpha)
        .AddTransient(&A::spineLeanDegrees)
        .AddTransient(&A::spineLeanForward)
        .AddTransient(&A::rebuildRuntimeState)
        .OnSave([](A& animator, const ComponentSaveContext& context) {
            ForEachAnimatorLink(animator, [&](Entity entity, std::string& text) {
                text = NormalisedLinkText(text, &context.registry, entity);
            });
        })
        .OnLoad([](A& animator, const ComponentLoadContext&) {
            ForEachAnimatorLink(
                animator, [](Entity, std::string& text) { text = NormalisedLinkText(text, nullptr, kNullEntity); });
        })
        .OnResolve([](A& animator, const Registry& registry, Entity) {
            ForEachAnimatorLink(animator, [&](Entity& entity, const std::string& text) {
                if (!text.empty()) {
                    entity = Detail::FindEntityByStableGuid(registry, Core::Guid::Parse(text).value_or(Core::Guid{}));
                }
            });
        })
        .OnCopy([](A& animator, ComponentCopyKind kind) {
            animator.rebuildRuntimeState = true;
            if (kind == ComponentCopyKind::Duplicate) {
                animator.manualBonePose.clear();
            }
        })
        .SaveGame("currentTime", &A::currentTime)
        .SaveGame("currentState", &A::currentState)
        .SaveGame("nextState", &A::nextState)
        .SaveGame("transitionDuration", &A::transitionDuration)
        .SaveGame("transitionTime", &A::transitionTime)
        .SaveGame("blendAlpha", &A::blendAlpha)
        .SaveGame("spineLeanDegrees", &A::spineLeanDegrees)
        .SaveGame("spineLeanForward", &A::spineLeanForward)
        .SaveGameValue("layerTimes", WriteLayerTimes, ReadLayerTimes);

    Labelled(ReflectedTypeBuilder<RagdollBoneSettings>("RagdollBoneSettings", "Ragdoll Bone Settings", "Animation"))
        .Field("enabled", &RagdollBoneSettings::enabled)
        .Field("shape", &RagdollBoneSettings::shape, EnumField("ColliderShapeType"))
        .Field("localOffset", &RagdollBoneSettings::localOffset)
        .Field("localRotation", &RagdollBoneSettings::localRotation)
        .Field("boxHalfExtents", &RagdollBoneSettings::boxHalfExtents)
        .Field("sphereRadius", &RagdollBoneSettings::sphereRadius)
        .Field("capsuleRadius", &RagdollBoneSettings::capsuleRadius)
        .Field("capsuleHeight", &RagdollBoneSettings::capsuleHeight)
        .Field("mass", &RagdollBoneSettings::mass)
        .Field("localAnchor", &RagdollBoneSettings::localAnchor)
        .Field("connectedAnchor", &RagdollBoneSettings::connectedAnchor);

    using R = RagdollComponent;
    Labelled(RegisterComponent<R>("RagdollComponent", "Ragdoll", "Animation", kUserFlags)
                 .Description("Available because this entity already has an Animator."))
        .Field("enabled", &R::enabled)
        .Field("usePhysicsPose", &R::usePhysicsPose)
        .Field("mode", &R::mode, EnumField("RagdollMode"))
        .Field("rigDefinition", &R::rigDefinition, AssetField("RigDefinition"))
        .Field("blendInSeconds", &R::blendInSeconds, FieldAttr().Range(0.0f, 10.0f))
        .Field("blendOutSeconds", &R::blendOutSeconds, FieldAttr().Range(0.0f, 10.0f))
        .Field("physicsBlendWeight", &R::physicsBlendWeight, FieldAttr().Range(0.0f, 1.0f))
        .Field("motorStrength", &R::motorStrength, FieldAttr().Range(0.0f, 10.0f))
        .Field("collisionLayer", &R::collisionLayer)
        .Field("bones", &R::bones)
        .Field("humanoidBoneSlots", &R::humanoidBoneSlots)
        .Field("currentPhysicsWeight", &R::currentPhysicsWeight, FieldAttr().ReadOnly().NotSaved());
}

} // namespace Brelk::Scene
