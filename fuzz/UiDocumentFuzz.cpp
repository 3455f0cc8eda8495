// UI documents are hand-edited text. Whatever the reader accepts (with its ids repaired)
// must come back through the writer to the same text.
#include "engine/assets/AssetRegistry.h"
#include "engine/assets/ui/UiDocumentFile.h"
#include "engine/core/Logger.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace Brelk::Assets;
    static const AssetRegistry registry;
    static const bool quiet = (Brelk::Core::Logger::Get().SetAllThresholds(Brelk::Core::LogLevel::Off), true);
    (void)quiet;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    UiDocumentAsset document;
    std::string error;
    if (!ParseUiDocument(text, "fuzz", &document, registry, &error)) {
        if (error.empty()) std::abort();
        return 0;
    }
    if (!HasUniqueUiWidgetIds(document)) std::abort();
    const std::string written = SerializeUiDocument(document, registry);
    UiDocumentAsset reread;
    if (!ParseUiDocument(written, "fuzz", &reread, registry, &error)) std::abort();
    if (SerializeUiDocument(reread, registry) != written) std::abort();
    return 0;
}
