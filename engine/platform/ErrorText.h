#pragma once

#include <string>
#include <string_view>

namespace Brelk {

// Hands the reason of a call that returns false to a caller that asked for it: `error` is
// null when the caller only wants the answer.
inline void SetError(std::string* error, std::string_view message) {
    if (error != nullptr) error->assign(message);
}

} // namespace Brelk
