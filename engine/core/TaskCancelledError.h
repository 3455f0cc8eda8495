#pragma once

#include <stdexcept>

namespace Brelk::Core::Tasks {

// What the counter of a task receives when the task is dropped without running.
class TaskCancelledError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace Brelk::Core::Tasks
