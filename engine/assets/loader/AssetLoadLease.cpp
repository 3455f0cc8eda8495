#include "engine/assets/loader/AssetLoadLease.h"

namespace Brelk::Assets {

std::string_view AssetLoadStateName(AssetLoadState state) noexcept {
    switch (state) {
    case AssetLoadState::Unloaded: return "Unloaded";
    case AssetLoadState::Queued: return "Queued";
    case AssetLoadState::Loading: return "Loading";
    case AssetLoadState::WaitingForDependencies: return "WaitingForDependencies";
    case AssetLoadState::Uploading: return "Uploading";
    case AssetLoadState::Ready: return "Ready";
    case AssetLoadState::Failed: return "Failed";
    }
    return "Unknown";
}

AssetLoadLease::AssetLoadLease(std::shared_ptr<Detail::AssetLoadSlot> slot) noexcept : slot_(std::move(slot)) {
    if (slot_) slot_->referenceCount.fetch_add(1, std::memory_order_relaxed);
}

AssetLoadLease::AssetLoadLease(const AssetLoadLease& other) noexcept : slot_(other.slot_) {
    if (slot_) slot_->referenceCount.fetch_add(1, std::memory_order_relaxed);
}

AssetLoadLease& AssetLoadLease::operator=(AssetLoadLease other) noexcept {
    std::swap(slot_, other.slot_);
    return *this;
}

AssetLoadLease::~AssetLoadLease() {
    if (slot_) slot_->referenceCount.fetch_sub(1, std::memory_order_acq_rel);
}

AssetLoadState AssetLoadLease::State() const noexcept {
    return slot_ ? slot_->publicState.load(std::memory_order_acquire) : AssetLoadState::Unloaded;
}

std::uint64_t AssetLoadLease::Generation() const noexcept {
    return slot_ ? slot_->generation.load(std::memory_order_acquire) : 0;
}

std::string AssetLoadLease::Error() const {
    return slot_ ? slot_->Error() : std::string();
}

std::size_t AssetLoadGroup::FailedCount() const noexcept {
    std::size_t count = 0;
    for (const AssetLoadLease& lease : leases_) count += lease.State() == AssetLoadState::Failed;
    return count;
}

std::size_t AssetLoadGroup::ReadyCount() const noexcept {
    std::size_t count = 0;
    for (const AssetLoadLease& lease : leases_) count += lease.State() == AssetLoadState::Ready;
    return count;
}

std::size_t AssetLoadGroup::SettledCount() const noexcept {
    std::size_t count = 0;
    for (const AssetLoadLease& lease : leases_) count += !IsPendingLoadState(lease.State());
    return count;
}

float AssetLoadGroup::Progress() const noexcept {
    if (leases_.empty()) return 1.0f;
    return static_cast<float>(SettledCount()) / static_cast<float>(leases_.size());
}

} // namespace Brelk::Assets
