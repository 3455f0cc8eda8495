#include "engine/assets/animation/AnimatorControllerFile.h"

#include "engine/assets/AssetReference.h"
#include "engine/assets/AssetRegistry.h"
#include "engine/assets/text/LineTokens.h"
#include "engine/core/Logger.h"
#include "engine/core/NumberText.h"
#include "engine/platform/ErrorText.h"
#include "engine/platform/Files.h"

#include <stdexcept>
#include <unordered_map>
#include <unordered_set>

namespace Brelk::Assets {
namespace {

void LogWarning(std::string message) {
    Core::Logger::Get().Log(Core::LogCategory::Assets, Core::LogLevel::Warning, message);
}

// ---------------------------------------------------------------------------------------
// Writing

class ControllerWriter {
public:
    ControllerWriter(const AnimatorController& controller, const AssetRegistry& registry)
        : controller_(controller), registry_(registry) {}

    std::string Write() {
        Line("bcontroller");
        Int(kAnimatorControllerVersion);
        Line("name");
        Quoted(controller_.name);
        Line("skeleton");
        Reference(controller_.skeleton, [] { return std::string("controller.skeleton"); });
        Line("next_id");
        Int(controller_.stableIds.NextId());
        Line("default_state_id");
        Int(StateId(controller_.defaultState));
        Line("parameters");
        Int(controller_.parameters.size());
        for (const AnimatorParameter& parameter : controller_.parameters) {
            Line("parameter");
            Quoted(parameter.name);
            Int(static_cast<std::int32_t>(parameter.type));
            Bit(parameter.boolValue);
            AppendFloatField(out_, parameter.floatValue);
            Int(parameter.intValue);
            Bit(parameter.flag);
            AppendFloatField(out_, parameter.valueA);
            AppendFloatField(out_, parameter.valueB);
            Int(parameter.intA);
            Int(parameter.intB);
        }
        Line("motions");
        Int(controller_.motions.size());
        for (const AnimatorMotion& motion : controller_.motions) WriteMotion(motion);
        Line("states");
        Int(controller_.states.size());
        for (const AnimatorState& state : controller_.states) WriteState(state);
        Line("layer_groups");
        Int(controller_.layerGroups.size());
        for (const AnimatorLayerGroup& group : controller_.layerGroups) WriteGroup(group);
        Line("transitions");
        Int(controller_.transitions.size());
        for (const AnimatorTransition& transition : controller_.transitions) {
            Line("transition");
            Int(transition.id);
            Int(StateId(transition.source));
            Int(StateId(transition.target));
            AppendFloatField(out_, transition.valueA);
            Bit(transition.flagA);
            AppendFloatField(out_, transition.valueB);
            AppendFloatField(out_, transition.valueC);
            Int(transition.intA);
            Bit(transition.flagB);
            Int(transition.conditions.size());
            for (const AnimatorCondition& condition : transition.conditions) {
                Line("condition");
                Quoted(condition.parameter);
                Int(condition.intA);
                AppendFloatField(out_, condition.value);
                Int(condition.intB);
                Bit(condition.flag);
            }
        }
        out_.push_back('\n');
        return std::move(out_);
    }

private:
    void Line(std::string_view keyword) {
        if (!out_.empty()) out_.push_back('\n');
        out_.append(keyword);
    }
    template <class T>
    void Int(T value) {
        out_.push_back(' ');
        Core::AppendInteger(out_, value);
    }
    void Bit(bool value) { AppendBitField(out_, value); }
    void Quoted(std::string_view value) {
        out_.push_back(' ');
        AppendQuoted(out_, value);
    }
    // The place is built only for a handle that has lost its asset.
    template <class MakePlace>
    void Reference(AssetHandle handle, MakePlace&& place) {
        const std::string text = AssetReferenceOf(registry_, handle);
        if (handle != kNullAssetHandle && text.empty()) {
            LogWarning("Unresolved live animator controller asset handle while saving " + place());
        }
        Quoted(text);
    }
    std::uint64_t StateId(std::string_view name) const {
        return name.empty() ? 0 : controller_.stableIds.Find(name);
    }

    void WriteEvent(std::string_view keyword, const AnimationEvent& event, const std::string& owner) {
        Line(keyword);
        AppendFloatField(out_, event.time);
        Quoted(event.name);
        AppendFloatField(out_, event.value);
        Bit(event.flag);
        Quoted(event.textA);
        Quoted(event.textB);
        Int(event.action);
        Reference(event.audio, [&] { return owner + "' event '" + event.name + "'.audio"; });
        AppendFloatField(out_, event.audioValue);
        Bit(event.audioFlag);
        Quoted(event.actionText);
    }

    void WriteMasks(std::string_view keyword, const std::vector<AnimatorBoneMask>& masks) {
        for (const AnimatorBoneMask& mask : masks) {
            Line(keyword);
            Quoted(mask.boneName);
            Bit(mask.includeDescendants);
            AppendFloatField(out_, mask.weight);
        }
    }

    void WriteMotion(const AnimatorMotion& motion) {
        Line("motion");
        Int(motion.id);
        Quoted(motion.name);
        Int(motion.type);
        Reference(motion.clip, [&] { return "motion '" + motion.name + "'.clip"; });
        Quoted(motion.textA);
        Quoted(motion.textB);
        Int(motion.children.size());
        for (const AnimatorMotionChild& child : motion.children) {
            const std::string owner = "motion '" + motion.name + "' child '" + child.name;
            Line("motion_child");
            Int(child.id);
            Quoted(child.name);
            Reference(child.clip, [&] { return owner + "'.clip"; });
            for (const float value : child.values) AppendFloatField(out_, value);
            Int(child.events.size());
            for (const AnimationEvent& event : child.events) WriteEvent("motion_child_event", event, owner);
        }
    }

    void WriteState(const AnimatorState& state) {
        Line("state");
        Int(StateId(state.name));
        Quoted(state.name);
        Int(state.motionId);
        Bit(state.looping);
        AppendFloatField(out_, state.speed);
        Bit(state.flag);
        for (const float value : state.values) AppendFloatField(out_, value);
        Int(state.events.size());
        Int(state.layers.size());
        const std::string owner = "state '" + state.name;
        for (const AnimationEvent& event : state.events) WriteEvent("state_event", event, owner);
        for (const AnimatorStateLayer& layer : state.layers) {
            Line("state_layer");
            Quoted(layer.name);
            Bit(layer.enabled);
            Int(static_cast<std::int32_t>(layer.mode));
            Reference(layer.clip, [&] { return owner + "' layer '" + layer.name + "'.clip"; });
            AppendFloatField(out_, layer.timeSeconds);
            AppendFloatField(out_, layer.speed);
            AppendFloatField(out_, layer.weight);
            Bit(layer.looping);
            Int(layer.masks.size());
            WriteMasks("state_layer_mask", layer.masks);
        }
    }

    void WriteGroup(const AnimatorLayerGroup& group) {
        Line("layer_group");
        Int(group.id);
        Quoted(group.name);
        Bit(group.enabled);
        Int(static_cast<std::int32_t>(group.mode));
        Reference(group.clip, [&] { return "layer group '" + group.name + "'.clip"; });
        AppendFloatField(out_, group.timeSeconds);
        AppendFloatField(out_, group.speed);
        AppendFloatField(out_, group.weight);
        Bit(group.looping);
        for (const float value : group.values) AppendFloatField(out_, value);
        Int(group.masks.size());
        Int(group.members.size());
        for (const std::string& member : group.members) Int(StateId(member));
        WriteMasks("layer_group_mask", group.masks);
    }

    const AnimatorController& controller_;
    const AssetRegistry& registry_;
    std::string out_;
};

// ---------------------------------------------------------------------------------------
// Reading

struct ParseFailure {
    std::string_view message;
};

class ControllerReader {
public:
    ControllerReader(std::string_view text, AnimatorController& controller, const AssetRegistry& registry,
                     AnimatorControllerLoadReport& report)
        : lines_(SplitLines(text)), controller_(controller), registry_(registry), report_(report) {}

    void Read() {
        ReadHeader();
        ReadLine("name", "Missing controller name.", [&](LineTokens& line) { return line.Quoted(&controller_.name); });
        std::string skeleton;
        ReadLine("skeleton", "Missing controller skeleton reference.",
                 [&](LineTokens& line) { return line.Quoted(&skeleton); });
        Pend(std::move(skeleton));
        std::uint64_t nextId = 0;
        ReadLine("next_id", "Missing controller stable id counter.", [&](LineTokens& line) { return line.U64(&nextId); });
        std::uint64_t defaultStateId = 0;
        if (version_ >= 14) {
            ReadLine("default_state_id", "Missing controller default state.",
                     [&](LineTokens& line) { return line.U64(&defaultStateId); });
        } else {
            ReadLine("default_state", "Missing controller default state.",
                     [&](LineTokens& line) { return line.Quoted(&controller_.defaultState); });
        }
        ReadParameters();
        if (version_ >= 2) ReadMotions();
        ReadStates();
        if (version_ >= 13) ReadLayerGroups();
        ReadTransitions();

        ResolveReferences();
        controller_.stableIds.Clear();
        controller_.stableIds.SetNextId(nextId == 0 ? 1 : nextId);
        if (version_ >= 14) {
            ApplyStableIds(defaultStateId);
        } else {
            GiveIdsInFileOrder();
        }
        if (version_ == 1) MakeLegacyMotions();
    }

private:
    [[noreturn]] static void Fail(std::string_view message) { throw ParseFailure{message}; }

    // The next line that isn't blank, or an empty view past the end.
    bool NextLine(std::string_view* line) {
        while (next_ < lines_.size()) {
            const std::string_view candidate = lines_[next_++];
            if (candidate.find_first_not_of(" \t") != std::string_view::npos) {
                *line = candidate;
                return true;
            }
        }
        return false;
    }

    // Takes a line that must begin with `keyword`; `parse` reads the rest and the whole
    // line must be used.
    template <class Parse>
    void ReadLine(std::string_view keyword, std::string_view message, Parse&& parse) {
        std::string_view text;
        if (!NextLine(&text)) Fail(message);
        LineTokens line(text);
        std::string_view word;
        if (!line.Word(&word) || word != keyword || !parse(line) || !line.AtEnd()) Fail(message);
    }

    std::uint32_t ReadCountLine(std::string_view keyword, std::string_view message) {
        std::uint32_t count = 0;
        ReadLine(keyword, message, [&](LineTokens& line) { return line.U32(&count); });
        return count;
    }

    // References are kept as text in file order and resolved by one walk over the finished
    // controller in the same order, when no vector grows any more.
    void Pend(std::string text) { references_.push_back(std::move(text)); }

    void ReadHeader() {
        std::string_view text;
        if (!NextLine(&text)) Fail("Invalid controller asset header.");
        LineTokens line(text);
        std::string_view word;
        if (!line.Word(&word) || word != "bcontroller") Fail("Invalid controller asset header.");
        if (!line.U32(&version_) || version_ < 1 || version_ > kAnimatorControllerVersion || !line.AtEnd()) {
            Fail("Unsupported controller asset version.");
        }
        report_.version = version_;
    }

    void ReadParameters() {
        const std::uint32_t count = ReadCountLine("parameters", "Missing controller parameter list.");
        for (std::uint32_t i = 0; i < count; ++i) {
            AnimatorParameter& parameter = controller_.parameters.emplace_back();
            ReadLine("parameter", "Failed to parse controller parameter.", [&](LineTokens& line) {
                std::int32_t type = 0;
                if (!line.Quoted(&parameter.name) || !line.I32(&type) || type < 0 || type > 3 ||
                    !line.Bit(&parameter.boolValue) || !line.Float(&parameter.floatValue) ||
                    !line.I32(&parameter.intValue)) {
                    return false;
                }
                parameter.type = static_cast<AnimatorParameterType>(type);
                return version_ < 5 || (line.Bit(&parameter.flag) && line.Float(&parameter.valueA) &&
                                        line.Float(&parameter.valueB) && line.I32(&parameter.intA) &&
                                        line.I32(&parameter.intB));
            });
        }
    }

    // Events of every owner share one layout; the fields that version 11 added have their
    // own message.
    void ReadEvents(std::uint32_t count, std::vector<AnimationEvent>& events, std::string_view keyword,
                    std::string_view message, std::string_view actionMessage) {
        for (std::uint32_t i = 0; i < count; ++i) {
            AnimationEvent& event = events.emplace_back();
            std::string audio;
            std::string_view text;
            if (!NextLine(&text)) Fail(message);
            LineTokens line(text);
            std::string_view word;
            if (!line.Word(&word) || word != keyword || !line.Float(&event.time) || !line.Quoted(&event.name) ||
                !line.Float(&event.value) || !line.Bit(&event.flag) || !line.Quoted(&event.textA) ||
                !line.Quoted(&event.textB)) {
                Fail(message);
            }
            if (version_ >= 11 &&
                (!line.I32(&event.action) || !line.Quoted(&audio) || !line.Float(&event.audioValue) ||
                 !line.Bit(&event.audioFlag) || !line.Quoted(&event.actionText))) {
                Fail(actionMessage);
            }
            if (!line.AtEnd()) Fail(version_ >= 11 ? actionMessage : message);
            Pend(std::move(audio));
        }
    }

    static bool ReadMode(LineTokens& line, AnimatorLayerMode* mode) {
        std::int32_t value = 0;
        if (!line.I32(&value) || value < 0 || value > 1) return false;
        *mode = static_cast<AnimatorLayerMode>(value);
        return true;
    }

    void ReadMasks(std::uint32_t count, std::vector<AnimatorBoneMask>& masks, std::string_view keyword,
                   std::string_view message) {
        for (std::uint32_t i = 0; i < count; ++i) {
            AnimatorBoneMask& mask = masks.emplace_back();
            ReadLine(keyword, message, [&](LineTokens& line) {
                return line.Quoted(&mask.boneName) && line.Bit(&mask.includeDescendants) && line.Float(&mask.weight);
            });
        }
    }

    // Old files wrote fewer of the plain columns between a fixed head and the counts at the
    // end of a line; those present are the first ones, the rest keep their defaults.
    template <std::size_t N>
    static bool ReadOptionalFloats(std::vector<std::string_view>& words, std::size_t tail, std::array<float, N>& values,
                                   bool* leadingFlag) {
        if (words.size() < tail) return false;
        const std::size_t middle = words.size() - tail;
        std::size_t index = 0;
        if (leadingFlag && middle > 0) {
            LineTokens flag(words[index++]);
            if (!flag.Bit(leadingFlag)) return false;
        }
        if (middle - index > N) return false;
        for (std::size_t i = 0; index < middle; ++i, ++index) {
            LineTokens value(words[index]);
            if (!value.Float(&values[i])) return false;
        }
        words.erase(words.begin(), words.begin() + static_cast<std::ptrdiff_t>(middle));
        return true;
    }

    static std::vector<std::string_view> RemainingWords(LineTokens& line) {
        std::vector<std::string_view> words;
        std::string_view word;
        while (line.Word(&word)) words.push_back(word);
        return words;
    }

    static bool ParseU32(std::string_view word, std::uint32_t* value) {
        LineTokens token(word);
        return token.U32(value);
    }

    void ReadMotions() {
        const std::uint32_t count = ReadCountLine("motions", "Missing controller motion list.");
        for (std::uint32_t i = 0; i < count; ++i) {
            AnimatorMotion& motion = controller_.motions.emplace_back();
            std::string clip;
            std::uint32_t childCount = 0;
            ReadLine("motion", "Failed to parse controller motion.", [&](LineTokens& line) {
                return line.U64(&motion.id) && line.Quoted(&motion.name) && line.I32(&motion.type) &&
                       line.Quoted(&clip) && line.Quoted(&motion.textA) &&
                       (version_ < 7 || line.Quoted(&motion.textB)) && line.U32(&childCount);
            });
            Pend(std::move(clip));
            for (std::uint32_t c = 0; c < childCount; ++c) ReadMotionChild(motion);
        }
    }

    void ReadMotionChild(AnimatorMotion& motion) {
        AnimatorMotionChild& child = motion.children.emplace_back();
        std::string clip;
        std::uint32_t eventCount = 0;
        ReadLine("motion_child", "Failed to parse controller blend-tree child.", [&](LineTokens& line) {
            if (version_ >= 14 && !line.U64(&child.id)) return false;
            if (!line.Quoted(&child.name) || !line.Quoted(&clip)) return false;
            std::vector<std::string_view> words = RemainingWords(line);
            if (version_ >= 14 && words.size() != child.values.size() + 1) return false;
            return ReadOptionalFloats(words, 1, child.values, nullptr) && ParseU32(words[0], &eventCount);
        });
        Pend(std::move(clip));
        ReadEvents(eventCount, child.events, "motion_child_event", "Failed to parse controller blend-tree child event.",
                   "Failed to parse controller blend-tree child event action.");
    }

    void ReadStates() {
        const std::uint32_t count = ReadCountLine("states", "Missing controller state list.");
        for (std::uint32_t i = 0; i < count; ++i) {
            AnimatorState& state = controller_.states.emplace_back();
            std::uint64_t id = 0;
            std::uint32_t eventCount = 0;
            std::uint32_t layerCount = 0;
            if (version_ == 1) {
                std::string clip;
                ReadLine("state", "Failed to parse controller state.", [&](LineTokens& line) {
                    return line.Quoted(&state.name) && line.Quoted(&clip) && line.Bit(&state.looping) &&
                           line.Float(&state.speed);
                });
                Pend(std::move(clip));
                stateIds_.push_back(0);
                continue;
            }
            ReadLine("state", "Failed to parse controller state.", [&](LineTokens& line) {
                if (!line.U64(&id) || !line.Quoted(&state.name) || !line.U64(&state.motionId) ||
                    !line.Bit(&state.looping) || !line.Float(&state.speed)) {
                    return false;
                }
                std::vector<std::string_view> words = RemainingWords(line);
                if (version_ >= 14 && words.size() != 1 + state.values.size() + 2) return false;
                return ReadOptionalFloats(words, 2, state.values, &state.flag) && ParseU32(words[0], &eventCount) &&
                       ParseU32(words[1], &layerCount);
            });
            stateIds_.push_back(id);
            ReadEvents(eventCount, state.events, "state_event", "Failed to parse controller state event.",
                       "Failed to parse controller state event action.");
            for (std::uint32_t l = 0; l < layerCount; ++l) {
                AnimatorStateLayer& layer = state.layers.emplace_back();
                std::string clip;
                std::uint32_t maskCount = 0;
                ReadLine("state_layer", "Failed to parse controller state layer.", [&](LineTokens& line) {
                    return line.Quoted(&layer.name) && line.Bit(&layer.enabled) && ReadMode(line, &layer.mode) &&
                           line.Quoted(&clip) && line.Float(&layer.timeSeconds) && line.Float(&layer.speed) &&
                           line.Float(&layer.weight) && line.Bit(&layer.looping) && line.U32(&maskCount);
                });
                Pend(std::move(clip));
                ReadMasks(maskCount, layer.masks, "state_layer_mask", "Failed to parse controller state layer mask.");
            }
        }
    }

    void ReadLayerGroups() {
        const std::uint32_t count = ReadCountLine("layer_groups", "Missing controller layer group list.");
        for (std::uint32_t i = 0; i < count; ++i) {
            AnimatorLayerGroup& group = controller_.layerGroups.emplace_back();
            std::string clip;
            std::uint32_t maskCount = 0;
            std::uint32_t memberCount = 0;
            std::string_view text;
            if (!NextLine(&text)) Fail("Failed to parse controller layer group.");
            LineTokens line(text);
            std::string_view word;
            if (!line.Word(&word) || word != "layer_group" || (version_ >= 14 && !line.U64(&group.id)) ||
                !line.Quoted(&group.name) || !line.Bit(&group.enabled) || !ReadMode(line, &group.mode) ||
                !line.Quoted(&clip) || !line.Float(&group.timeSeconds) || !line.Float(&group.speed) ||
                !line.Float(&group.weight) || !line.Bit(&group.looping) || !line.Float(&group.values[0]) ||
                !line.Float(&group.values[1]) || !line.Float(&group.values[2]) || !line.Float(&group.values[3]) ||
                !line.U32(&maskCount) || !line.U32(&memberCount)) {
                Fail("Failed to parse controller layer group.");
            }
            std::vector<std::uint64_t>& members = groupMembers_.emplace_back();
            for (std::uint32_t m = 0; m < memberCount; ++m) {
                std::uint64_t member = 0;
                if (!line.U64(&member)) Fail("Failed to parse controller layer group members.");
                members.push_back(member);
            }
            if (!line.AtEnd()) Fail("Failed to parse controller layer group members.");
            Pend(std::move(clip));
            ReadMasks(maskCount, group.masks, "layer_group_mask", "Failed to parse controller layer group mask.");
        }
    }

    void ReadTransitions() {
        const std::uint32_t count = ReadCountLine("transitions", "Missing controller transition list.");
        for (std::uint32_t i = 0; i < count; ++i) {
            AnimatorTransition& transition = controller_.transitions.emplace_back();
            std::uint64_t sourceId = 0;
            std::uint64_t targetId = 0;
            std::uint32_t conditionCount = 0;
            ReadLine("transition", "Failed to parse controller transition.", [&](LineTokens& line) {
                if (version_ < 3) {
                    return line.Quoted(&transition.source) && line.Quoted(&transition.target) &&
                           line.Float(&transition.valueA) && line.Bit(&transition.flagA) &&
                           line.Float(&transition.valueB) && line.U32(&conditionCount);
                }
                if (!line.U64(&transition.id)) return false;
                const bool ends = version_ >= 14 ? line.U64(&sourceId) && line.U64(&targetId)
                                                 : line.Quoted(&transition.source) && line.Quoted(&transition.target);
                return ends && line.Float(&transition.valueA) && line.Bit(&transition.flagA) &&
                       line.Float(&transition.valueB) && line.Float(&transition.valueC) && line.I32(&transition.intA) &&
                       line.Bit(&transition.flagB) && line.U32(&conditionCount);
            });
            transitionEnds_.push_back({sourceId, targetId});
            for (std::uint32_t c = 0; c < conditionCount; ++c) {
                AnimatorCondition& condition = transition.conditions.emplace_back();
                ReadLine("condition", "Failed to parse controller condition.", [&](LineTokens& line) {
                    return line.Quoted(&condition.parameter) && line.I32(&condition.intA) &&
                           line.Float(&condition.value) && line.I32(&condition.intB) && line.Bit(&condition.flag);
                });
            }
        }
    }

    AssetHandle Resolve(const std::string& text, const std::string& place, AssetType type) {
        const AssetHandle handle = ResolveAssetReference(registry_, text, type);
        if (handle == kNullAssetHandle) {
            ++report_.unresolvedReferences;
            LogWarning("Unresolved animator controller asset reference in " + place);
        } else if (AssetReferenceOf(registry_, handle) != text) {
            ++report_.staleReferences;
        }
        return handle;
    }

    // One reference of the walk: resolved in place, with the place built only for a warning.
    template <class MakePlace>
    void ResolveNext(AssetHandle* target, AssetType type, MakePlace&& place) {
        const std::string& text = references_[nextReference_++];
        *target = kNullAssetHandle;
        if (text.empty()) return;
        *target = ResolveAssetReference(registry_, text, type);
        if (*target == kNullAssetHandle) {
            ++report_.unresolvedReferences;
            LogWarning("Unresolved animator controller asset reference in " + place());
        } else if (AssetReferenceOf(registry_, *target) != text) {
            ++report_.staleReferences;
        }
    }

    void ResolveEvents(std::vector<AnimationEvent>& events, const std::string& owner) {
        for (AnimationEvent& event : events) {
            ResolveNext(&event.audio, AssetType::Audio, [&] { return owner + "' event '" + event.name + "'.audio"; });
        }
    }

    void ResolveReferences() {
        ResolveNext(&controller_.skeleton, AssetType::Skeleton, [] { return std::string("controller.skeleton"); });
        for (AnimatorMotion& motion : controller_.motions) {
            ResolveNext(&motion.clip, AssetType::Clip, [&] { return "motion '" + motion.name + "'.clip"; });
            for (AnimatorMotionChild& child : motion.children) {
                const std::string owner = "motion '" + motion.name + "' child '" + child.name;
                ResolveNext(&child.clip, AssetType::Clip, [&] { return owner + "'.clip"; });
                ResolveEvents(child.events, owner);
            }
        }
        for (AnimatorState& state : controller_.states) {
            const std::string owner = "state '" + state.name;
            if (version_ == 1) {
                ResolveNext(&legacyClips_.emplace_back(), AssetType::Clip,
                            [&] { return "legacy_state '" + state.name + "'"; });
            }
            ResolveEvents(state.events, owner);
            for (AnimatorStateLayer& layer : state.layers) {
                ResolveNext(&layer.clip, AssetType::Clip, [&] { return owner + "' layer '" + layer.name + "'.clip"; });
            }
        }
        for (AnimatorLayerGroup& group : controller_.layerGroups) {
            ResolveNext(&group.clip, AssetType::Clip, [&] { return "layer group '" + group.name + "'.clip"; });
        }
    }

    void WarnMissingState(std::string_view label, std::uint64_t id) {
        ++report_.missingIds;
        LogWarning("Animator controller '" + controller_.name + "': " + std::string(label) +
                   " refers to missing state id " + std::to_string(id) + ".");
    }

    // The name of a state id; a missing one warns under `label` and gives the empty name.
    std::string NameOfStateId(const std::unordered_map<std::uint64_t, std::string>& names, std::uint64_t id,
                              std::string_view label) {
        if (id == 0) return {};
        const auto found = names.find(id);
        if (found != names.end()) return found->second;
        WarnMissingState(label, id);
        return {};
    }

    void ApplyStableIds(std::uint64_t defaultStateId) {
        AnimatorStableIds& ids = controller_.stableIds;
        std::unordered_map<std::uint64_t, std::string> names;
        for (std::size_t i = 0; i < controller_.states.size(); ++i) {
            ids.Set(controller_.states[i].name, stateIds_[i]);
            names.try_emplace(stateIds_[i], controller_.states[i].name);
        }
        controller_.defaultState = NameOfStateId(names, defaultStateId, "default state");
        for (std::size_t i = 0; i < controller_.transitions.size(); ++i) {
            controller_.transitions[i].source = NameOfStateId(names, transitionEnds_[i].source, "transition source");
            controller_.transitions[i].target = NameOfStateId(names, transitionEnds_[i].target, "transition target");
        }
        ResolveMembers([&](std::uint64_t id) { return NameOfStateId(names, id, "layer group member"); });
        for (const AnimatorMotion& motion : controller_.motions) ids.Reserve(motion.id);
        for (const AnimatorMotion& motion : controller_.motions) {
            for (const AnimatorMotionChild& child : motion.children) ids.Reserve(child.id);
        }
        for (const AnimatorLayerGroup& group : controller_.layerGroups) ids.Reserve(group.id);
        for (const AnimatorTransition& transition : controller_.transitions) ids.Reserve(transition.id);
        ResolveStateMotions();
    }

    // Before version 14 the ends of a transition and the default state are names already,
    // and ids are given in file order: states, blend-tree children, layer groups, and the
    // transitions of files older than version 3.
    void GiveIdsInFileOrder() {
        AnimatorStableIds& ids = controller_.stableIds;
        for (const AnimatorMotion& motion : controller_.motions) ids.Reserve(motion.id);
        for (const AnimatorTransition& transition : controller_.transitions) ids.Reserve(transition.id);
        std::unordered_map<std::uint64_t, std::string> names;
        for (std::size_t i = 0; i < controller_.states.size(); ++i) {
            ids.Assign(controller_.states[i].name);
            names.try_emplace(stateIds_[i], controller_.states[i].name);
        }
        for (AnimatorMotion& motion : controller_.motions) {
            for (AnimatorMotionChild& child : motion.children) child.id = ids.Take();
        }
        for (AnimatorLayerGroup& group : controller_.layerGroups) group.id = ids.Take();
        if (version_ < 3) {
            for (AnimatorTransition& transition : controller_.transitions) transition.id = ids.Take();
        }
        // Members were file ids of states, which keep their meaning only inside the file.
        ResolveMembers([&](std::uint64_t id) { return NameOfStateId(names, id, "layer group member"); });
        if (version_ >= 2) ResolveStateMotions();
    }

    template <class NameOf>
    void ResolveMembers(NameOf&& nameOf) {
        for (std::size_t g = 0; g < controller_.layerGroups.size(); ++g) {
            for (const std::uint64_t id : groupMembers_[g]) {
                std::string name = nameOf(id);
                if (!name.empty()) controller_.layerGroups[g].members.push_back(std::move(name));
            }
        }
    }

    void ResolveStateMotions() {
        std::unordered_map<std::uint64_t, const AnimatorMotion*> motions;
        for (const AnimatorMotion& motion : controller_.motions) motions.try_emplace(motion.id, &motion);
        for (AnimatorState& state : controller_.states) {
            if (state.motionId == 0) continue;
            const auto found = motions.find(state.motionId);
            if (found != motions.end()) {
                state.motion = found->second->name;
                continue;
            }
            ++report_.missingIds;
            LogWarning("Animator controller '" + controller_.name + "': state '" + state.name +
                       "' refers to missing motion id " + std::to_string(state.motionId) + ".");
            state.motionId = 0;
        }
    }

    // A version-1 state named its clip; each distinct clip becomes one motion that its
    // states share.
    void MakeLegacyMotions() {
        std::unordered_map<AssetHandle, std::size_t> motionOfClip;
        for (std::size_t i = 0; i < legacyClips_.size(); ++i) {
            const AssetHandle clip = legacyClips_[i];
            if (clip == kNullAssetHandle) continue;
            auto [entry, added] = motionOfClip.try_emplace(clip, controller_.motions.size());
            if (added) {
                AnimatorMotion& motion = controller_.motions.emplace_back();
                motion.id = controller_.stableIds.Take();
                motion.clip = clip;
                const AssetRecord* record = registry_.Find(clip);
                if (record && !record->name.empty()) {
                    motion.name = std::filesystem::path(record->name).stem().string();
                } else {
                    motion.name = "Motion " + std::to_string(clip);
                }
            }
            AnimatorState& state = controller_.states[i];
            state.motionId = controller_.motions[entry->second].id;
            state.motion = controller_.motions[entry->second].name;
        }
    }

    struct TransitionEnds {
        std::uint64_t source;
        std::uint64_t target;
    };

    std::vector<std::string_view> lines_;
    std::size_t next_ = 0;
    AnimatorController& controller_;
    const AssetRegistry& registry_;
    AnimatorControllerLoadReport& report_;
    std::uint32_t version_ = 0;
    std::vector<std::string> references_;
    std::size_t nextReference_ = 0;
    std::vector<std::uint64_t> stateIds_;
    std::vector<TransitionEnds> transitionEnds_;
    std::vector<std::vector<std::uint64_t>> groupMembers_;
    // The clip of each state of a version-1 file.
    std::vector<AssetHandle> legacyClips_;
};

} // namespace

std::string SerializeAnimatorController(const AnimatorController& controller, const AssetRegistry& registry) {
    return ControllerWriter(controller, registry).Write();
}

bool SaveAnimatorController(const std::filesystem::path& path, const AnimatorController& controller,
                            const AssetRegistry& registry, std::string* error) {
    if (registry.Mode() == AssetSourceMode::ReadOnly) {
        SetError(error, "SaveAnimatorControllerAsset is unavailable with read-only asset sources.");
        return false;
    }
    const std::string text = SerializeAnimatorController(controller, registry);
    std::string reason;
    if (Platform::WriteFileAtomic(path, text, &reason)) return true;
    SetError(error, reason.starts_with("Failed to write ") ? "Failed while writing controller asset data."
                                                           : "Failed to open controller asset for writing.");
    return false;
}

bool ParseAnimatorController(std::string_view text, AnimatorController* controller, const AssetRegistry& registry,
                             std::string* error, AnimatorControllerLoadReport* report) {
    AnimatorControllerLoadReport localReport;
    AnimatorControllerLoadReport& used = report ? *report : localReport;
    used = {};
    *controller = AnimatorController{};
    try {
        ControllerReader(text, *controller, registry, used).Read();
    } catch (const ParseFailure& failure) {
        SetError(error, failure.message);
        return false;
    }
    return true;
}

bool LoadAnimatorController(const std::filesystem::path& path, AnimatorController* controller,
                            const AssetRegistry& registry, std::string* error, AnimatorControllerLoadReport* report) {
    const std::optional<std::vector<std::uint8_t>> bytes = Platform::ReadFileBytes(path);
    if (!bytes) {
        SetError(error, "Failed to open controller asset.");
        return false;
    }
    const std::string_view text(reinterpret_cast<const char*>(bytes->data()), bytes->size());
    return ParseAnimatorController(text, controller, registry, error, report);
}

std::optional<AnimatorController> LoadAnimatorControllerAsset(const std::filesystem::path& path,
                                                              const AssetRegistry& registry) {
    AnimatorController controller;
    AnimatorControllerLoadReport report;
    std::string error;
    if (!LoadAnimatorController(path, &controller, registry, &error, &report)) {
        LogWarning("Failed to load animator controller asset '" + Platform::PathToUtf8(path) + "': " + error);
        return std::nullopt;
    }
    if (report.Repaired() && report.unresolvedReferences == 0 && registry.Mode() == AssetSourceMode::Authoring) {
        if (!SaveAnimatorController(path, controller, registry, &error)) {
            LogWarning("Failed to rewrite repaired animator controller asset '" + Platform::PathToUtf8(path) +
                       "': " + error);
        }
    }
    return controller;
}

} // namespace Brelk::Assets
