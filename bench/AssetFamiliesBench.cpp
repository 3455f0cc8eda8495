// Readers and writers of the clip, controller, UI document, rig and vector field families,
// each beside its floor: reading (or writing) the same bytes with nothing parsed.
#include "engine/assets/AssetRegistry.h"
#include "engine/assets/animation/AnimationClipFile.h"
#include "engine/assets/animation/AnimatorControllerFile.h"
#include "engine/assets/rig/RigDefinition.h"
#include "engine/assets/rig/Skeleton.h"
#include "engine/assets/ui/UiDocumentFile.h"
#include "engine/assets/vectorfield/VectorField.h"
#include "engine/core/Guid.h"
#include "engine/platform/Files.h"

#include <benchmark/benchmark.h>

#include <filesystem>
#include <string>

namespace {

namespace fs = std::filesystem;
using namespace Brelk::Assets;

class Files {
public:
    Files() : root_(fs::temp_directory_path() / ("brelk-bench-" + Brelk::Core::Guid::New().ToString())) {
        fs::create_directories(root_);
        Check(SaveAnimatorController(Path("Big.bcontroller"), Controller(), registry_));
        Check(SaveUiDocument(Path("Big.bui"), Document(), registry_));
        Check(SaveAnimationClip(Path("Big.bclip"), Clip(), registry_));
        Check(WriteVectorField(Path("Big.bvfield"), Field()));
    }
    ~Files() {
        std::error_code ignored;
        fs::remove_all(root_, ignored);
    }
    fs::path Path(const char* name) const { return root_ / name; }
    const AssetRegistry& Registry() const { return registry_; }

    // About 10,000 lines: 2,000 states of an event, a layer with a mask, and a transition.
    static AnimatorController Controller() {
        AnimatorController controller = MakeAnimatorController("Big");
        for (int i = 0; i < 2000; ++i) {
            AnimatorState& state = controller.states.emplace_back();
            state.name = "State " + std::to_string(i);
            (void)controller.stableIds.Assign(state.name);
            state.events.push_back({.time = 0.5f, .name = "step", .value = 1.0f, .flag = false, .textA = "a",
                                    .textB = "b", .action = 1, .audio = 0, .audioValue = 0.25f, .audioFlag = true,
                                    .actionText = "go"});
            AnimatorStateLayer& layer = state.layers.emplace_back();
            layer.name = "Upper";
            layer.masks.push_back({"Spine", true, 0.75f});
            AnimatorTransition& transition = controller.transitions.emplace_back();
            transition.id = controller.stableIds.Take();
            transition.source = state.name;
            transition.target = "State 0";
            transition.valueA = 0.2f;
        }
        return controller;
    }

    // 5,000 widgets: 50 panels of 99 children each.
    static UiDocumentAsset Document() {
        UiDocumentAsset document = MakeUiDocument("Big");
        for (int panel = 0; panel < 50; ++panel) {
            UiWidgetDefinition& parent = document.root.children.emplace_back();
            parent.id = "panel_" + std::to_string(panel);
            for (int child = 0; child < 99; ++child) {
                UiWidgetDefinition& widget = parent.children.emplace_back();
                widget.id = parent.id + "_" + std::to_string(child);
                widget.type = UiWidgetType::Button;
                widget.text = "Press";
                widget.offset = {static_cast<float>(child) * 1.5f, 0.25f};
            }
        }
        return document;
    }

    // One million keys over 1,000 tracks.
    static AnimationClip Clip() {
        AnimationClip clip;
        clip.name = "Big";
        for (int t = 0; t < 1000; ++t) {
            AnimationTrack& track = clip.tracks.emplace_back();
            track.boneName = "Bone" + std::to_string(t);
            track.index = t;
            for (int k = 0; k < 334; ++k) track.positionKeys.push_back({k * 0.03f, 1.0f, 2.0f, 3.0f});
            for (int k = 0; k < 333; ++k) track.rotationKeys.push_back({k * 0.03f, 0.0f, 0.0f, 0.0f, 1.0f});
            for (int k = 0; k < 333; ++k) track.scaleKeys.push_back({k * 0.03f, 1.0f, 1.0f, 1.0f});
        }
        return clip;
    }

    static VectorFieldAsset Field() {
        VectorFieldAsset field{64, 64, 64, {}};
        field.values.assign(64 * 64 * 64, glm::vec4(0.5f, -1.0f, 2.0f, 0.0f));
        return field;
    }

private:
    static void Check(bool ok) {
        if (!ok) throw std::runtime_error("bench setup failed");
    }
    fs::path root_;
    AssetRegistry registry_;
};

Files& Shared() {
    static Files files;
    return files;
}

void ReadFloor(benchmark::State& state, const char* name) {
    const fs::path path = Shared().Path(name);
    for (auto _ : state) {
        auto bytes = Brelk::Platform::ReadFileBytes(path);
        benchmark::DoNotOptimize(bytes);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * fs::file_size(path)));
}

void WriteFloor(benchmark::State& state, const char* name) {
    const auto bytes = *Brelk::Platform::ReadFileBytes(Shared().Path(name));
    const fs::path target = Shared().Path("Floor.out");
    for (auto _ : state) benchmark::DoNotOptimize(Brelk::Platform::WriteFileAtomic(target, bytes));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes.size()));
}

void BM_ControllerReadFloor(benchmark::State& state) { ReadFloor(state, "Big.bcontroller"); }
void BM_ControllerLoad(benchmark::State& state) {
    for (auto _ : state) {
        AnimatorController controller;
        benchmark::DoNotOptimize(LoadAnimatorController(Shared().Path("Big.bcontroller"), &controller, Shared().Registry()));
    }
}
void BM_ControllerWriteFloor(benchmark::State& state) { WriteFloor(state, "Big.bcontroller"); }
void BM_ControllerSave(benchmark::State& state) {
    AnimatorController controller;
    (void)LoadAnimatorController(Shared().Path("Big.bcontroller"), &controller, Shared().Registry());
    for (auto _ : state) {
        benchmark::DoNotOptimize(SaveAnimatorController(Shared().Path("Out.bcontroller"), controller, Shared().Registry()));
    }
}

void BM_UiDocumentReadFloor(benchmark::State& state) { ReadFloor(state, "Big.bui"); }
void BM_UiDocumentLoad(benchmark::State& state) {
    for (auto _ : state) {
        UiDocumentAsset document;
        benchmark::DoNotOptimize(LoadUiDocument(Shared().Path("Big.bui"), &document, Shared().Registry()));
    }
}
void BM_UiDocumentWriteFloor(benchmark::State& state) { WriteFloor(state, "Big.bui"); }
void BM_UiDocumentSave(benchmark::State& state) {
    const UiDocumentAsset document = Files::Document();
    for (auto _ : state) benchmark::DoNotOptimize(SaveUiDocument(Shared().Path("Out.bui"), document, Shared().Registry()));
}

void BM_ClipReadFloor(benchmark::State& state) { ReadFloor(state, "Big.bclip"); }
void BM_ClipLoad(benchmark::State& state) {
    for (auto _ : state) {
        AnimationClip clip;
        benchmark::DoNotOptimize(LoadAnimationClip(Shared().Path("Big.bclip"), Shared().Registry(), &clip));
    }
}

void BM_VectorFieldReadFloor(benchmark::State& state) { ReadFloor(state, "Big.bvfield"); }
void BM_VectorFieldRead(benchmark::State& state) {
    for (auto _ : state) {
        VectorFieldAsset field;
        benchmark::DoNotOptimize(ReadVectorField(Shared().Path("Big.bvfield"), &field));
    }
}

void BM_InferRigDefinition200Bones(benchmark::State& state) {
    Skeleton skeleton;
    skeleton.name = "Crowd";
    const char* parts[] = {"Hips", "Spine", "Neck", "Head", "LeftArm", "LeftForeArm", "LeftHand", "RightUpLeg",
                           "RightLeg", "RightFoot"};
    for (int i = 0; i < 200; ++i) {
        SkeletonBone& bone = skeleton.bones.emplace_back();
        bone.name = "mixamorig" + std::to_string(i / 10) + ":" + parts[i % 10];
        bone.parent = i == 0 ? -1 : i - 1;
        bone.bindTranslation = {0.0f, 0.1f, 0.0f};
    }
    skeleton.RebuildNameMap();
    for (auto _ : state) benchmark::DoNotOptimize(InferRigDefinition(skeleton));
}

BENCHMARK(BM_ControllerReadFloor)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ControllerLoad)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ControllerWriteFloor)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ControllerSave)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_UiDocumentReadFloor)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_UiDocumentLoad)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_UiDocumentWriteFloor)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_UiDocumentSave)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ClipReadFloor)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ClipLoad)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_VectorFieldReadFloor)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_VectorFieldRead)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_InferRigDefinition200Bones)->Unit(benchmark::kMicrosecond);

} // namespace
