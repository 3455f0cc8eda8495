#include "engine/assets/animation/AnimationClipFile.h"

#include "engine/assets/AssetReference.h"
#include "engine/assets/AssetRegistry.h"
#include "engine/assets/ByteStream.h"
#include "engine/assets/cooked/CookedContainer.h"
#include "engine/core/Logger.h"
#include "engine/platform/ErrorText.h"
#include "engine/platform/Files.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <stdexcept>

namespace Brelk::Assets {
namespace {

constexpr std::string_view kHeaderMessage = "Invalid animation clip asset header.";
constexpr std::string_view kPayloadMessage = "Invalid animation clip payload.";

constexpr std::uint64_t kVectorKeyBytes = 16;
constexpr std::uint64_t kRotationKeyBytes = 20;
// A track with an empty name and no keys: name length, index and three counts.
constexpr std::uint64_t kMinimumTrackBytes = 4 + 4 + 3 * 4;
// An event of version 1 or 2: time, empty name, value, flag.
constexpr std::uint64_t kMinimumEventBytes = 4 + 4 + 4 + 1;

void WriteEvent(ByteWriter& writer, const AnimationEvent& event) {
    writer.WriteF32(event.time);
    writer.WriteString(event.name);
    writer.WriteF32(event.value);
    writer.WriteU8(event.flag ? 1 : 0);
    writer.WriteString(event.textA);
    writer.WriteString(event.textB);
    writer.WriteU8(static_cast<std::uint8_t>(std::clamp(event.action, 0, 255)));
    writer.WriteU64(0);
    writer.WriteF32(event.audioValue);
    writer.WriteU8(event.audioFlag ? 1 : 0);
    writer.WriteString(event.actionText);
}

void WriteVectorKeys(ByteWriter& writer, const std::vector<AnimationVectorKey>& keys) {
    writer.WriteU32(static_cast<std::uint32_t>(keys.size()));
    for (const AnimationVectorKey& key : keys) {
        writer.WriteF32(key.time);
        writer.WriteF32(key.x);
        writer.WriteF32(key.y);
        writer.WriteF32(key.z);
    }
}

AnimationEvent ReadEvent(ByteReader& reader, std::uint32_t version) {
    AnimationEvent event;
    event.time = reader.ReadF32();
    event.name = reader.ReadString(reader.Remaining());
    event.value = reader.ReadF32();
    event.flag = reader.ReadU8() != 0;
    if (version >= 3) {
        event.textA = reader.ReadString(reader.Remaining());
        event.textB = reader.ReadString(reader.Remaining());
    }
    if (version >= 4) {
        event.action = reader.ReadU8();
        reader.ReadU64();  // a handle of the process that wrote it
        event.audioValue = reader.ReadF32();
        event.audioFlag = reader.ReadU8() != 0;
        event.actionText = reader.ReadString(reader.Remaining());
    }
    return event;
}

void ReadVectorKeys(ByteReader& reader, std::vector<AnimationVectorKey>& keys) {
    const std::uint32_t count = reader.ReadCount(kVectorKeyBytes, 0xFFFFFFFFu);
    keys.resize(count);
    for (AnimationVectorKey& key : keys) {
        key.time = reader.ReadF32();
        key.x = reader.ReadF32();
        key.y = reader.ReadF32();
        key.z = reader.ReadF32();
    }
}

void ReadPayload(ByteReader& reader, std::uint32_t version, AnimationClip& clip) {
    clip.duration = reader.ReadF32();
    if (version >= 2) {
        // max keeps 0 for a NaN, as the comparison with NaN is false.
        clip.valueA = std::max(0.0f, reader.ReadF32());
    }
    clip.looping = reader.ReadU8() != 0;
    if (version >= 2) {
        for (std::int32_t& mode : clip.modes) {
            mode = std::clamp(static_cast<std::int32_t>(reader.ReadU32()), 0, 2);
        }
        clip.flagA = reader.ReadU8() != 0;
        clip.flagB = reader.ReadU8() != 0;
        clip.flagC = reader.ReadU8() != 0;
        clip.valueB = reader.ReadF32();
        clip.flagD = reader.ReadU8() != 0;
        clip.text = reader.ReadString(reader.Remaining());
        clip.count = reader.ReadU32();
    }
    const std::uint32_t eventCount = reader.ReadCount(kMinimumEventBytes, 0xFFFFFFFFu);
    clip.events.reserve(eventCount);
    for (std::uint32_t i = 0; i < eventCount; ++i) clip.events.push_back(ReadEvent(reader, version));
    const std::uint32_t trackCount = reader.ReadCount(kMinimumTrackBytes, 0xFFFFFFFFu);
    clip.tracks.resize(trackCount);
    for (AnimationTrack& track : clip.tracks) {
        track.boneName = reader.ReadString(reader.Remaining());
        track.index = static_cast<std::int32_t>(reader.ReadU32());
        ReadVectorKeys(reader, track.positionKeys);
        const std::uint32_t rotationCount = reader.ReadCount(kRotationKeyBytes, 0xFFFFFFFFu);
        track.rotationKeys.resize(rotationCount);
        for (AnimationRotationKey& key : track.rotationKeys) {
            key.time = reader.ReadF32();
            key.x = reader.ReadF32();
            key.y = reader.ReadF32();
            key.z = reader.ReadF32();
            key.w = reader.ReadF32();
        }
        ReadVectorKeys(reader, track.scaleKeys);
    }
    if (!reader.AtEnd()) throw std::runtime_error(std::string(kPayloadMessage));
}

} // namespace

std::vector<std::uint8_t> SerializeAnimationClip(const AnimationClip& clip, const AssetRegistry& registry) {
    ByteWriter writer;
    writer.WriteU32(kAnimationClipMagic);
    writer.WriteU32(kAnimationClipVersion);
    writer.WriteString(clip.name);
    writer.WriteString(AssetReferenceOf(registry, clip.skeleton));
    writer.WriteF32(clip.duration);
    writer.WriteF32(clip.valueA);
    writer.WriteU8(clip.looping ? 1 : 0);
    for (const std::int32_t mode : clip.modes) writer.WriteU32(static_cast<std::uint32_t>(mode));
    writer.WriteU8(clip.flagA ? 1 : 0);
    writer.WriteU8(clip.flagB ? 1 : 0);
    writer.WriteU8(clip.flagC ? 1 : 0);
    writer.WriteF32(clip.valueB);
    writer.WriteU8(clip.flagD ? 1 : 0);
    writer.WriteString(clip.text);
    writer.WriteU32(clip.count);
    writer.WriteU32(static_cast<std::uint32_t>(clip.events.size()));
    for (const AnimationEvent& event : clip.events) WriteEvent(writer, event);
    writer.WriteU32(static_cast<std::uint32_t>(clip.tracks.size()));
    for (const AnimationTrack& track : clip.tracks) {
        writer.WriteString(track.boneName);
        writer.WriteU32(static_cast<std::uint32_t>(track.index));
        WriteVectorKeys(writer, track.positionKeys);
        writer.WriteU32(static_cast<std::uint32_t>(track.rotationKeys.size()));
        for (const AnimationRotationKey& key : track.rotationKeys) {
            writer.WriteF32(key.time);
            writer.WriteF32(key.x);
            writer.WriteF32(key.y);
            writer.WriteF32(key.z);
            writer.WriteF32(key.w);
        }
        WriteVectorKeys(writer, track.scaleKeys);
    }
    return writer.TakeBytes();
}

std::vector<std::uint8_t> CookAnimationClip(const AnimationClip& clip, const AssetRegistry& registry) {
    return WriteCookedContainer(kCookedKindClip, kCookedClipFormatVersion, SerializeAnimationClip(clip, registry));
}

bool SaveAnimationClip(const std::filesystem::path& path, const AnimationClip& clip, const AssetRegistry& registry,
                       std::string* error) {
    const std::vector<std::uint8_t> bytes = SerializeAnimationClip(clip, registry);
    std::string reason;
    if (Platform::WriteFileAtomic(path, bytes, &reason)) return true;
    // The atomic writer reports a failed write of the bytes as "Failed to write ..."; every
    // other failure is one of getting a file to write to.
    SetError(error, reason.starts_with("Failed to write ") ? "Failed while writing animation clip asset data."
                                                           : "Failed to open animation clip asset for writing.");
    return false;
}

bool ParseAnimationClip(std::span<const std::uint8_t> bytes, const AssetRegistry& registry, std::string_view label,
                        AnimationClip* clip, std::string* error) {
    ByteReader reader(bytes);
    std::uint32_t version = 0;
    std::string skeleton;
    try {
        if (reader.ReadU32() != kAnimationClipMagic) throw std::runtime_error("");
        version = reader.ReadU32();
        if (version < 1 || version > kAnimationClipVersion) throw std::runtime_error("");
        clip->name = reader.ReadString(reader.Remaining());
        skeleton = reader.ReadString(reader.Remaining());
    } catch (const std::runtime_error&) {
        SetError(error, kHeaderMessage);
        return false;
    }
    std::string name = std::move(clip->name);
    *clip = AnimationClip{};
    clip->name = std::move(name);
    try {
        ReadPayload(reader, version, *clip);
    } catch (const std::runtime_error&) {
        SetError(error, kPayloadMessage);
        return false;
    }
    clip->skeleton = ResolveAssetReference(registry, skeleton, AssetType::Skeleton);
    if (clip->skeleton == kNullAssetHandle && !skeleton.empty()) {
        BRELK_LOG(Core::LogCategory::Assets, Core::LogLevel::Warning, [&] {
            return "Unresolved animation clip skeleton reference in " + std::string(label) + " (clip.skeleton): " +
                   skeleton;
        });
    }
    clip->RebuildDerivedData();
    return true;
}

bool LoadAnimationClip(const std::filesystem::path& path, const AssetRegistry& registry, AnimationClip* clip,
                       std::string* error) {
    std::string reason;
    const std::optional<std::vector<std::uint8_t>> bytes = Platform::ReadFileBytes(path, &reason);
    const std::string label = Platform::PathToUtf8(path);
    std::optional<std::span<const std::uint8_t>> payload;
    if (bytes) payload = OpenCookedOrRaw(*bytes, kCookedKindClip, kCookedClipFormatVersion, label, &reason);
    if (!payload) {
        SetError(error, "Failed to open animation clip asset. " + reason);
        return false;
    }
    return ParseAnimationClip(*payload, registry, label, clip, error);
}

bool HasAnimationClipHead(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) return false;
    std::array<std::uint8_t, 8> head{};
    file.read(reinterpret_cast<char*>(head.data()), head.size());
    if (file.gcount() == static_cast<std::streamsize>(head.size())) {
        ByteReader reader(head);
        const std::uint32_t magic = reader.ReadU32();
        const std::uint32_t version = reader.ReadU32();
        if (magic == kAnimationClipMagic && version >= 1 && version <= kAnimationClipVersion) return true;
    }
    file.close();
    return IsCookedFileOfKind(path, kCookedKindClip);
}

} // namespace Brelk::Assets
