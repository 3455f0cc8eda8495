#include "engine/core/Guid.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <stdexcept>
#include <string_view>

// Both parsers take hostile text. A Guid that either accepts must print and parse back to
// itself, and the strict parser must accept nothing that the lenient one refuses.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using Brelk::Core::Guid;
    const std::string_view text(reinterpret_cast<const char*>(data), size);

    const std::optional<Guid> lenient = Guid::Parse(text);
    if (lenient) {
        const std::optional<Guid> again = Guid::Parse(lenient->ToString());
        if (!again || !(*again == *lenient)) std::abort();
    }

    try {
        const Guid strict = Brelk::Core::ParseStableGuid(text);
        if (!text.empty()) {
            if (!lenient || !(*lenient == strict)) std::abort();
        } else if (strict.IsValid()) {
            std::abort();
        }
        if (strict.IsValid() && !(Brelk::Core::ParseStableGuid(strict.ToString()) == strict)) std::abort();
    } catch (const std::runtime_error& error) {
        // Refusal is the expected answer to most inputs, but only with one of its four sentences.
        const std::string_view message = error.what();
        if (message != "Invalid stable GUID length." && message != "Invalid stable GUID separator." &&
            message != "Invalid stable GUID digit." && message != "Invalid stable GUID.")
            std::abort();
    }
    return 0;
}
