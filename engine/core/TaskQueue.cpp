#include "engine/core/TaskQueue.h"

#include "engine/core/TaskCounter.h"

namespace Brelk::Core::Tasks {

void TaskQueue::PushBack(Task&& task) {
    std::lock_guard lock(mutex_);
    tasks_.push_back(std::move(task));
}

bool TaskQueue::PopFront(Task& task) {
    std::lock_guard lock(mutex_);
    if (tasks_.empty()) {
        return false;
    }
    task = std::move(tasks_.front());
    tasks_.pop_front();
    return true;
}

bool TaskQueue::PopBack(Task& task) {
    std::lock_guard lock(mutex_);
    if (tasks_.empty()) {
        return false;
    }
    task = std::move(tasks_.back());
    tasks_.pop_back();
    return true;
}

std::deque<Task> TaskQueue::TakeAll() {
    std::deque<Task> taken;
    std::lock_guard lock(mutex_);
    taken.swap(tasks_);
    return taken;
}

} // namespace Brelk::Core::Tasks
