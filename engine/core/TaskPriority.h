#pragma once

#include <cstddef>
#include <cstdint>

namespace Brelk::Core::Tasks {

// Lower values run first.
enum class TaskPriority : std::uint8_t {
    High = 0,
    Normal = 1,
    // May occupy only part of the workers at once, so that long background work leaves
    // room for what a frame needs.
    Background = 2,
    // Blocking file work; runs on IO threads only, or as Background where there are none.
    Io = 3,
};

inline constexpr std::size_t kTaskPriorityCount = 4;

} // namespace Brelk::Core::Tasks
