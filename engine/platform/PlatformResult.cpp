#include "engine/platform/PlatformResult.h"

#include <string.h>

namespace Brelk::Platform {

namespace {

// glibc and the XSI variant disagree on strerror_r's result; these two overloads take either.
[[maybe_unused]] const char* ErrorTextOf(int result, const char* buffer) { return result == 0 ? buffer : nullptr; }
[[maybe_unused]] const char* ErrorTextOf(const char* result, const char*) { return result; }

} // namespace

std::string SystemErrorText(int errorCode) {
    char buffer[256] = {};
    const char* text = ErrorTextOf(strerror_r(errorCode, buffer, sizeof buffer), buffer);
    std::string message = text != nullptr ? std::string(text) : std::string();
    while (!message.empty()) {
        const char last = message.back();
        if (last != '\r' && last != '\n' && last != ' ' && last != '\t') break;
        message.pop_back();
    }
    if (message.empty()) return "Unknown Win32 error";
    return message;
}

PlatformResult PlatformResult::FromSystemError(std::string_view what, int errorCode) {
    std::string message(what);
    message += ": ";
    message += SystemErrorText(errorCode);
    return Failure(PlatformStatus::SystemError, std::move(message));
}

} // namespace Brelk::Platform
