#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace Brelk::Platform {

// Status of a path or process operation. The values are stored; 3 is unused.
enum class PlatformStatus : std::uint8_t {
    Ok = 0,
    InvalidArgument = 1,
    NotFound = 2,
    SystemError = 4,
};

// Outcome of a path or process operation: a status and a UTF-8 message, empty on Ok.
struct PlatformResult {
    PlatformStatus status = PlatformStatus::Ok;
    std::string message;

    bool Ok() const noexcept { return status == PlatformStatus::Ok; }

    static PlatformResult Success() { return {}; }
    static PlatformResult Failure(PlatformStatus status, std::string message) {
        return PlatformResult{status, std::move(message)};
    }
    // `what` + ": " + the host's own text for the error code.
    static PlatformResult FromSystemError(std::string_view what, int errorCode);
};

// The host's text for an error code, with trailing line breaks and blanks cut off;
// "Unknown Win32 error" when the host has no text for it.
std::string SystemErrorText(int errorCode);

} // namespace Brelk::Platform
