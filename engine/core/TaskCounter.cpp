#include "engine/core/TaskCounter.h"

#include "engine/core/Logger.h"

#include <string>

namespace Brelk::Core::Tasks {
namespace Detail {

CounterState::~CounterState() {
    if (!exception || observed) {
        return;
    }
    // Without this line a failure of fire-and-forget work would vanish without a trace.
    std::string message = "Task failed and nobody waited for it: ";
    try {
        std::rethrow_exception(exception);
    } catch (const std::exception& error) {
        message += error.what();
    } catch (...) {
        message += "unknown exception";
    }
    try {
        LogError(message);
    } catch (...) {
        // A destructor must not throw; losing the line is the lesser harm.
    }
}

} // namespace Detail

TaskCounter::TaskCounter() : state_(std::make_shared<Detail::CounterState>()) {}

} // namespace Brelk::Core::Tasks
