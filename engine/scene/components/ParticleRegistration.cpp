#include "engine/reflection/ReflectedTypeBuilder.h"
#include "engine/scene/ComponentRegistry.h"
#include "engine/scene/components/CatalogueRegistration.h"
#include "engine/scene/components/ComponentRegistrars.h"
#include "engine/scene/components/ParticleComponents.h"

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

    Labelled(ReflectedTypeBuilder<CurveKey>("CurveKey", "Curve Key", "Curves"))
        .Field("time", &CurveKey::time)
        .Field("value", &CurveKey::value)
        .Field("inSlope", &CurveKey::inSlope)
        .Field("outSlope", &CurveKey::outSlope)
        .Field("interpolation", &CurveKey::interpolation, EnumField("CurveInterpolation"));

    Labelled(ReflectedTypeBuilder<GradientKey>("GradientKey", "Gradient Key", "Curves"))
        .Field("time", &GradientKey::time)
        .Field("color", &GradientKey::color, FieldAttr().Color());

    using P = ParticleEmitterComponent;
    Labelled(RegisterComponent<P>("ParticleEmitterComponent", "Particle Emitter", "Rendering", kUserFlags)
                 .Description("Emits billboarded particles using the renderer particle path."))
        .Field("enabled", &P::enabled)
        .Field("playing", &P::playing)
        .Field("loop", &P::loop)
        .Field("visible", &P::visible)
        .Field("duration", &P::duration, FieldAttr().Range(0.0f, 100000.0f))
        .Field("emissionRate", &P::emissionRate, FieldAttr().Range(0.0f, 100000.0f))
        .Field("maxParticles", &P::maxParticles)
        .Field("material", &P::material, AssetField("Material"))
        .Field("startColor", &P::startColor, FieldAttr().Color())
        .Field("endColor", &P::endColor, FieldAttr().Color())
        .Field("playOnAwake", &P::playOnAwake)
        .Field("prewarm", &P::prewarm)
        .Field("allowOcclusion", &P::allowOcclusion)
        .Field("debugDraw", &P::debugDraw)
        .Field("followPrimaryCamera", &P::followPrimaryCamera)
        .Field("simulationSpeed", &P::simulationSpeed)
        .Field("startLifetimeMin", &P::startLifetimeMin)
        .Field("startLifetimeMax", &P::startLifetimeMax)
        .Field("startSpeedMin", &P::startSpeedMin)
        .Field("startSpeedMax", &P::startSpeedMax)
        .Field("startSizeMin", &P::startSizeMin)
        .Field("startSizeMax", &P::startSizeMax)
        .Field("endSizeMultiplier", &P::endSizeMultiplier)
        .Field("shapeRadius", &P::shapeRadius)
        .Field("coneAngleDegrees", &P::coneAngleDegrees)
        .Field("drag", &P::drag)
        .Field("maxDrawDistance", &P::maxDrawDistance)
        .Field("sortBias", &P::sortBias)
        .Field("randomSeed", &P::randomSeed)
        .Field("shape", &P::shape, EnumField("ParticleEmitterShape"))
        .Field("simulationSpace", &P::simulationSpace, EnumField("ParticleSimulationSpace"))
        .Field("facingMode", &P::facingMode, EnumField("BillboardFacingMode"))
        .Field("boxExtents", &P::boxExtents)
        .Field("followOffset", &P::followOffset)
        .Field("gravity", &P::gravity)
        .Field("simulationBackend", &P::simulationBackend, EnumField("ParticleSimulationBackend"))
        .Field("flipbookColumns", &P::flipbookColumns)
        .Field("flipbookRows", &P::flipbookRows)
        .Field("flipbookFrames", &P::flipbookFrames)
        .Field("flipbookFramesPerSecond", &P::flipbookFramesPerSecond)
        .Field("flipbookPlayback", &P::flipbookPlayback, EnumField("ParticleFlipbookPlayback"))
        .Field("flipbookRandomStart", &P::flipbookRandomStart)
        .Field("burstCount", &P::burstCount)
        .Field("burstInterval", &P::burstInterval)
        .Field("emissionPerMeter", &P::emissionPerMeter)
        .Field("sortParticles", &P::sortParticles)
        .Field("wind", &P::wind)
        .Field("turbulenceStrength", &P::turbulenceStrength)
        .Field("turbulenceFrequency", &P::turbulenceFrequency)
        .Field("turbulenceSpeed", &P::turbulenceSpeed)
        .Field("attractorOffset", &P::attractorOffset)
        .Field("attractorStrength", &P::attractorStrength)
        .Field("attractorRadius", &P::attractorRadius)
        .Field("vortexOffset", &P::vortexOffset)
        .Field("vortexAxis", &P::vortexAxis)
        .Field("vortexStrength", &P::vortexStrength)
        .Field("vortexPull", &P::vortexPull)
        .Field("vortexRadius", &P::vortexRadius)
        .Field("startRotationMinDegrees", &P::startRotationMinDegrees, FieldAttr("Start Rotation Min"))
        .Field("startRotationMaxDegrees", &P::startRotationMaxDegrees, FieldAttr("Start Rotation Max"))
        .Field("angularVelocityMinDegrees", &P::angularVelocityMinDegrees, FieldAttr("Angular Velocity Min"))
        .Field("angularVelocityMaxDegrees", &P::angularVelocityMaxDegrees, FieldAttr("Angular Velocity Max"))
        .Field("collisionShape", &P::collisionShape, EnumField("ParticleCollisionShape"))
        .Field("collisionCenter", &P::collisionCenter)
        .Field("collisionNormal", &P::collisionNormal)
        .Field("collisionRadius", &P::collisionRadius)
        .Field("collisionBounce", &P::collisionBounce)
        .Field("collisionFriction", &P::collisionFriction)
        .Field("collisionLifetimeLoss", &P::collisionLifetimeLoss)
        .Field("collisionDepthThickness", &P::collisionDepthThickness)
        .Field("sizeOverLifetime", &P::sizeOverLifetime)
        .Field("speedOverLifetime", &P::speedOverLifetime)
        .Field("alphaOverLifetime", &P::alphaOverLifetime)
        .Field("colorOverLifetime", &P::colorOverLifetime)
        .Field("velocityXOverLifetime", &P::velocityXOverLifetime, FieldAttr("Velocity X Over Lifetime"))
        .Field("velocityYOverLifetime", &P::velocityYOverLifetime, FieldAttr("Velocity Y Over Lifetime"))
        .Field("velocityZOverLifetime", &P::velocityZOverLifetime, FieldAttr("Velocity Z Over Lifetime"))
        .Field("subEmitterGuid", &P::subEmitterGuid, FieldAttr("Sub Emitter").EntityReference())
        .Field("deathSpawnCount", &P::deathSpawnCount)
        .Field("collisionSpawnCount", &P::collisionSpawnCount)
        .Field("subEmitterInheritVelocity", &P::subEmitterInheritVelocity)
        .Field("renderMode", &P::renderMode, EnumField("ParticleRenderMode"))
        .Field("ribbonMaxSegment", &P::ribbonMaxSegment)
        .Field("stretchFactor", &P::stretchFactor)
        .Field("lockedAxis", &P::lockedAxis)
        .Field("renderMesh", &P::renderMesh, AssetField("Mesh"))
        .Field("beamTargetGuid", &P::beamTargetGuid, FieldAttr("Beam Target").EntityReference())
        .Field("beamEndOffset", &P::beamEndOffset)
        .Field("beamSegments", &P::beamSegments)
        .Field("beamNoiseAmplitude", &P::beamNoiseAmplitude)
        .Field("beamNoiseFrequency", &P::beamNoiseFrequency)
        .Field("lightsEnabled", &P::lightsEnabled, FieldAttr("Lights"))
        .Field("lightUseParticleColor", &P::lightUseParticleColor, FieldAttr("Light Uses Particle Color"))
        .Field("lightFadeWithAlpha", &P::lightFadeWithAlpha, FieldAttr("Light Fades With Alpha"))
        .Field("lightScaleWithSize", &P::lightScaleWithSize, FieldAttr("Light Scales With Size"))
        .Field("lightRatio", &P::lightRatio)
        .Field("lightMaxCount", &P::lightMaxCount)
        .Field("lightRange", &P::lightRange)
        .Field("lightIntensity", &P::lightIntensity)
        .Field("lightColor", &P::lightColor, FieldAttr().Color())
        .Field("vectorField", &P::vectorField, AssetField("VectorField"))
        .Field("vectorFieldOffset", &P::vectorFieldOffset)
        .Field("vectorFieldSize", &P::vectorFieldSize)
        .Field("vectorFieldStrength", &P::vectorFieldStrength)
        .Field("vectorFieldFollow", &P::vectorFieldFollow)
        .Field("spawnMesh", &P::spawnMesh, AssetField("Mesh"))
        .Field("customAttributeMin", &P::customAttributeMin)
        .Field("customAttributeMax", &P::customAttributeMax)
        .Field("custom1OverLifetime", &P::custom1OverLifetime, FieldAttr("Custom 1 Over Lifetime"))
        .Field("custom2OverLifetime", &P::custom2OverLifetime, FieldAttr("Custom 2 Over Lifetime"))
        .Done()
        .AddTransient(&P::runtimeSeed)
        .OnLoad([](P& emitter, const ComponentLoadContext&) { emitter.runtimeSeed = emitter.randomSeed; })
        .OnCopy([](P& emitter, ComponentCopyKind) { emitter.runtimeSeed = emitter.randomSeed; });
}

} // namespace Brelk::Scene
