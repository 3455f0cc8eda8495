#include "engine/platform/Time.h"

#include <time.h>

namespace Brelk::Platform {

// The re-entrant forms: localtime and gmtime share one static buffer between all threads.
bool LocalTime(std::time_t time, std::tm* out) noexcept {
    return out != nullptr && localtime_r(&time, out) != nullptr;
}

bool UniversalTime(std::time_t time, std::tm* out) noexcept {
    return out != nullptr && gmtime_r(&time, out) != nullptr;
}

} // namespace Brelk::Platform
