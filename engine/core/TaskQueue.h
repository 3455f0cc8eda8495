#pragma once

#include "engine/core/TaskPriority.h"

#include <deque>
#include <functional>
#include <memory>
#include <mutex>

namespace Brelk::Core::Tasks {
namespace Detail {
struct CounterState;
} // namespace Detail

// One unit of work and the counter that it reports to. Tasks are moved, never copied.
struct Task {
    std::function<void()> function;
    std::shared_ptr<Detail::CounterState> counter;
    TaskPriority priority = TaskPriority::Normal;
};

// A locked double-ended queue. Its mutex is held only around one push or pop and never
// together with another lock.
class TaskQueue {
public:
    void PushBack(Task&& task);
    bool PopFront(Task& task);
    bool PopBack(Task& task);
    // Everything queued, oldest first; the queue is left empty.
    std::deque<Task> TakeAll();
    // Pushes unless `refuse` reads true under the queue's mutex; false if refused.
    template <class Refuse>
    bool PushBackUnless(Task&& task, Refuse&& refuse) {
        std::lock_guard lock(mutex_);
        if (refuse()) {
            return false;
        }
        tasks_.push_back(std::move(task));
        return true;
    }

private:
    std::mutex mutex_;
    std::deque<Task> tasks_;
};

} // namespace Brelk::Core::Tasks
