#include "engine/assets/cooked/CookedContainer.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>

// Any bytes either open as a container, whose payload lies inside them and wraps again to
// the same payload, or fail with a message; a raw source passes whole.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace Brelk::Assets;
    const std::span<const std::uint8_t> bytes(data, size);
    const auto header = ParseCookedHeader(bytes);
    if (header && !IsCookedFile(bytes)) std::abort();

    const std::uint32_t kind = header ? header->kind : kCookedKindScene;
    const std::uint32_t version = header ? header->formatVersion : 1;
    std::string error;
    const auto payload = OpenCookedContainer(bytes, kind, version, "fuzz", &error);
    if (!payload) {
        if (error.rfind("Invalid cooked file fuzz: ", 0) != 0) std::abort();
    } else {
        if (payload->data() < data || payload->data() + payload->size() > data + size) std::abort();
        const std::vector<std::uint8_t> again = WriteCookedContainer(kind, version, *payload);
        const auto reopened = OpenCookedContainer(again, kind, version, "fuzz", &error);
        if (!reopened || !std::equal(reopened->begin(), reopened->end(), payload->begin(), payload->end())) std::abort();
    }

    const auto raw = OpenCookedOrRaw(bytes, kind, version, "fuzz", &error);
    if (!IsCookedFile(bytes) && (!raw || raw->size() != size)) std::abort();
    if (IsCookedFile(bytes) && raw.has_value() != payload.has_value()) std::abort();
    return 0;
}
