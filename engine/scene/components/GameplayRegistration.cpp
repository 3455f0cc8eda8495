#include "engine/reflection/ReflectedTypeBuilder.h"
#include "engine/scene/ComponentRegistry.h"
#include "engine/scene/components/CatalogueRegistration.h"
#include "engine/scene/components/ComponentRegistrars.h"
#include "engine/scene/components/GameplayComponents.h"

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

ReplicationSettings HealthTolerance() {
    ReplicationSettings settings;
    settings.mode = 1;
    settings.tolerance = 0.01f;
    settings.hasTolerance = true;
    settings.minimum = 0.0f;
    settings.maximum = 100000.0f;
    settings.hasRange = true;
    return settings;
}

} // namespace

void RegisterGameplayComponents() {
    using R = RotatorComponent;
    Labelled(RegisterComponent<R>("RotatorComponent", "Rotator", "Gameplay", kUserFlags)
                 .Description("Rotates the entity continuously at a fixed rate."))
        .Field("degreesPerSecond", &R::degreesPerSecond, FieldAttr().Angle());

    using L = GameplayLayerComponent;
    Labelled(RegisterComponent<L>("GameplayLayerComponent", "Gameplay Layer", "Gameplay", kUserFlags)
                 .Description("Assigns gameplay/physics layer metadata to the entity."))
        .Field("layer", &L::layer, EnumField("GameplayLayer"));

    using C = CharacterControllerComponent;
    Labelled(RegisterComponent<C>("CharacterControllerComponent", "Character Controller", "Gameplay", kUserFlags)
                 .Description("Runtime capsule controller for player or NPC movement."))
        .Field("enabled", &C::enabled)
        .Field("height", &C::height, FieldAttr().Range(0.1f, 20.0f).Category("Shape"))
        .Field("radius", &C::radius, FieldAttr().Range(0.01f, 10.0f).Category("Shape"))
        .Field("walkSpeed", &C::walkSpeed, FieldAttr().Range(0.0f, 100.0f).Category("Movement"))
        .Field("runMultiplier", &C::runMultiplier, FieldAttr().Range(0.0f, 20.0f).Category("Movement"))
        .Field("jumpSpeed", &C::jumpSpeed, FieldAttr().Range(0.0f, 100.0f).Category("Jump Tuning"))
        .Field("jumpImpulseDelaySeconds", &C::jumpImpulseDelaySeconds,
               FieldAttr("Jump Impulse Delay").Range(0.0f, 5.0f).Category("Jump Tuning"))
        .Field("coyoteTimeSeconds", &C::coyoteTimeSeconds,
               FieldAttr("Coyote Time").Range(0.0f, 5.0f).Category("Jump Tuning"))
        .Field("jumpBufferSeconds", &C::jumpBufferSeconds,
               FieldAttr("Jump Buffer").Range(0.0f, 5.0f).Category("Jump Tuning"))
        .Field("gravity", &C::gravity, FieldAttr().Range(0.0f, 1000.0f).Category("Movement"))
        .Field("pushRigidBodies", &C::pushRigidBodies, FieldAttr().Category("Physical Interaction"))
        .Field("pushForce", &C::pushForce, FieldAttr().Range(0.0f, 10000.0f).Category("Physical Interaction"))
        .Field("pushMaxMass", &C::pushMaxMass, FieldAttr().Range(0.0f, 100000.0f).Category("Physical Interaction"))
        .Field("pushMinClosingSpeed", &C::pushMinClosingSpeed,
               FieldAttr().Range(0.0f, 100.0f).Category("Physical Interaction"))
        .Field("pushGameplayLayerMask", &C::pushGameplayLayerMask,
               FieldAttr("Push Layer Mask").Category("Physical Interaction"))
        .Field("rotateWithMouse", &C::rotateWithMouse, FieldAttr().Category("Mouse Look"))
        .Field("requireRightMouseForMouseLook", &C::requireRightMouseForMouseLook,
               FieldAttr("Require Right Mouse").Category("Mouse Look"))
        .Field("mouseSensitivity", &C::mouseSensitivity, FieldAttr().Range(0.0f, 10.0f).Category("Mouse Look"))
        .Field("syncVisualTransform", &C::syncVisualTransform, FieldAttr().Category("Visual"))
        .Field("visualRoot", &C::visualRoot, EntityField().Category("Visual").NotSaved())
        .Field("maxSlopeAngleDegrees", &C::maxSlopeAngleDegrees)
        .Field("groundCheckDistance", &C::groundCheckDistance)
        .Field("airControl", &C::airControl)
        .Field("groundedGraceSeconds", &C::groundedGraceSeconds,
               FieldAttr("Grounded Grace").Range(0.0f, 1.0f).Category("Movement"))
        .Field("maxStepHeight", &C::maxStepHeight, FieldAttr().Range(0.0f, 5.0f).Category("Shape"))
        .Field("crouchHeight", &C::crouchHeight, FieldAttr().Range(0.1f, 20.0f).Category("Shape"))
        .Field("crouchSpeedMultiplier", &C::crouchSpeedMultiplier, FieldAttr().Range(0.0f, 1.0f).Category("Movement"))
        .Field("mass", &C::mass, FieldAttr().Range(1.0f, 10000.0f).Category("Physical Interaction"))
        .Field("collisionLayer", &C::collisionLayer, FieldAttr().Category("Physical Interaction"))
        .Field("visualRootGuid", &C::visualRootGuid, FieldAttr().Hidden())
        .Field("visualLocalPosition", &C::visualLocalPosition)
        .Field("visualLocalRotation", &C::visualLocalRotation)
        .Field("visualLocalScale", &C::visualLocalScale)
        .Field("crouchRequested", &C::crouchRequested, FieldAttr().Category("Movement").NotSaved())
        .Field("crouched", &C::crouched, FieldAttr().Category("Movement").ReadOnly().NotSaved())
        .Done()
        .EntityLink(&C::visualRoot, &C::visualRootGuid)
        .AddTransient(&C::velocity)
        .AddTransient(&C::grounded)
        .AddTransient(&C::jumpPending)
        .AddTransient(&C::jumpDelayTimer)
        .AddTransient(&C::jumpBufferTimer)
        .AddTransient(&C::groundedGraceTimer)
        .AddTransient(&C::scriptMotion)
        .AddTransient(&C::scriptMoveDirection)
        .AddTransient(&C::groundNormal)
        .AddTransient(&C::groundVelocity)
        .AddTransient(&C::groundEntity)
        .AddTransient(&C::groundContact)
        .AddTransient(&C::groundContactLostSeconds)
        .AddTransient(&C::achievedVelocity)
        .SaveGame("velocity", &C::velocity)
        .SaveGame("grounded", &C::grounded)
        .SaveGame("jumpPending", &C::jumpPending)
        .SaveGame("jumpDelayTimer", &C::jumpDelayTimer)
        .SaveGame("jumpBufferTimer", &C::jumpBufferTimer)
        .SaveGame("groundedGraceTimer", &C::groundedGraceTimer)
        .SaveGame("crouchRequested", &C::crouchRequested)
        .SaveGame("crouched", &C::crouched)
        .SaveGame("scriptMotion", &C::scriptMotion)
        .SaveGame("scriptMoveDirection", &C::scriptMoveDirection)
        .SaveGame("groundNormal", &C::groundNormal)
        .SaveGame("groundVelocity", &C::groundVelocity)
        .SaveGameEntity("groundEntity", &C::groundEntity)
        .SaveGame("groundContact", &C::groundContact)
        .SaveGame("groundContactLostSeconds", &C::groundContactLostSeconds)
        .SaveGame("achievedVelocity", &C::achievedVelocity);

    using F = FirstPersonCameraControllerComponent;
    Labelled(RegisterComponent<F>("FirstPersonCameraControllerComponent", "First Person Camera Controller", "Gameplay",
                                  kUserFlags)
                 .Description("Adds mouse-look movement for first-person camera setups."))
        .Field("enabled", &F::enabled)
        .Field("requireRightMouse", &F::requireRightMouse)
        .Field("mouseSensitivity", &F::mouseSensitivity, FieldAttr().Range(0.0f, 10.0f))
        .Field("eyeHeight", &F::eyeHeight)
        .Field("minPitchDegrees", &F::minPitchDegrees)
        .Field("maxPitchDegrees", &F::maxPitchDegrees);

    using T = ThirdPersonCameraControllerComponent;
    Labelled(RegisterComponent<T>("ThirdPersonCameraControllerComponent", "Third Person Camera Controller", "Gameplay",
                                  kUserFlags)
                 .Description("Adds orbit/follow camera behavior around a target entity."))
        .Field("enabled", &T::enabled)
        .Field("requireRightMouse", &T::requireRightMouse, FieldAttr().Category("Mouse Look"))
        .Field("target", &T::target, EntityField().NotSaved())
        .Field("distance", &T::distance, FieldAttr().Range(0.0f, 1000.0f).Category("Camera"))
        .Field("shoulderOffset", &T::shoulderOffset, FieldAttr().Range(-10.0f, 10.0f).Category("Camera"))
        .Field("height", &T::height, FieldAttr().Range(-1000.0f, 1000.0f).Category("Camera"))
        .Field("showCrosshair", &T::showCrosshair, FieldAttr().Category("Crosshair Aim"))
        .Field("driveAimTarget", &T::driveAimTarget, FieldAttr().Category("Crosshair Aim"))
        .Field("aimTarget", &T::aimTarget, EntityField().Category("Crosshair Aim").NotSaved())
        .Field("crosshairOffsetPixels", &T::crosshairOffsetPixels,
               FieldAttr("Crosshair Offset").Category("Crosshair Aim"))
        .Field("targetGuid", &T::targetGuid, FieldAttr().Hidden())
        .Field("aimTargetGuid", &T::aimTargetGuid, FieldAttr().Hidden())
        .Field("mouseSensitivity", &T::mouseSensitivity)
        .Field("collisionRadius", &T::collisionRadius)
        .Field("pitchDegrees", &T::pitchDegrees)
        .Field("minPitchDegrees", &T::minPitchDegrees)
        .Field("maxPitchDegrees", &T::maxPitchDegrees)
        .Field("aimDefaultDistance", &T::aimDefaultDistance)
        .Field("aimMaxDistance", &T::aimMaxDistance)
        .Field("aimUsePhysicsRaycast", &T::aimUsePhysicsRaycast)
        .Field("aimRotateTargetToCamera", &T::aimRotateTargetToCamera)
        .Field("crosshairGap", &T::crosshairGap)
        .Field("crosshairLength", &T::crosshairLength)
        .Field("crosshairThickness", &T::crosshairThickness)
        .Field("crosshairColor", &T::crosshairColor)
        .Done()
        .EntityLink(&T::target, &T::targetGuid)
        .EntityLink(&T::aimTarget, &T::aimTargetGuid);

    using H = HealthComponent;
    Labelled(RegisterComponent<H>("HealthComponent", "Health", "Gameplay", kUserFlags)
                 .Description("Stores hit points and invulnerability state."))
        .Field("maxHealth", &H::maxHealth, FieldAttr().Range(0.0f, 100000.0f))
        .Field("currentHealth", &H::currentHealth, FieldAttr().Range(0.0f, 100000.0f))
        .Field("invulnerable", &H::invulnerable)
        .Done()
        .Replicated("maxHealth", HealthTolerance())
        .Replicated("currentHealth", HealthTolerance())
        .Replicated("invulnerable");

    using S = SpawnPointComponent;
    Labelled(RegisterComponent<S>("SpawnPointComponent", "Spawn Point", "Gameplay", kUserFlags)
                 .Description("Marks this entity as a spawn location."))
        .Field("playerSpawn", &S::playerSpawn)
        .Field("tag", &S::tag);
}

} // namespace Brelk::Scene
