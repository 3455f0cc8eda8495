// Arbitrary bytes as plugin component and field names, against a reference that spells the
// rules out through the C library's own character classes. A load trusts this test alone
// to tell a plugin's record from a broken one, so every byte value matters, NUL and the
// bytes of UTF-8 included. Two valid field names joined by a dot must always make a valid
// component name, whatever the split of the input.

#include "engine/scene/PluginComponentNames.h"

#include <cctype>
#include <clocale>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

namespace {

void Check(bool condition) {
    if (!condition) {
        std::abort();
    }
}

bool IsLetter(char c) { return std::isalpha(static_cast<unsigned char>(c)) != 0; }
bool IsLetterOrDigit(char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0; }

bool ReferenceComponentName(std::string_view name) {
    if (name.size() < 3 || !IsLetter(name[0])) {
        return false;
    }
    bool dot = false;
    for (const char c : name) {
        if (c == '.') {
            dot = true;
        } else if (!IsLetterOrDigit(c) && c != '-' && c != '_') {
            return false;
        }
    }
    return dot;
}

bool ReferenceFieldName(std::string_view name) {
    if (name.empty() || name.size() > 64 || !IsLetter(name[0])) {
        return false;
    }
    for (const char c : name) {
        if (!IsLetterOrDigit(c) && c != '_') {
            return false;
        }
    }
    return true;
}

void CheckName(std::string_view name) {
    using Brelk::Scene::IsPluginComponentName;
    using Brelk::Scene::IsValidPluginFieldName;
    const bool component = IsPluginComponentName(name);
    const bool field = IsValidPluginFieldName(name);
    Check(component == ReferenceComponentName(name));
    Check(field == ReferenceFieldName(name));
    // A field name has no dot, so it can never pass for a component.
    Check(!(component && field));
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // The rules are those of the C locale; a process that changed it would test another rule.
    Check(std::strcmp(std::setlocale(LC_CTYPE, nullptr), "C") == 0);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using Brelk::Scene::IsPluginComponentName;
    using Brelk::Scene::IsValidPluginFieldName;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    CheckName(text);

    // The first byte, if any, says where to split the rest into a plugin id and a name.
    if (text.empty()) {
        return 0;
    }
    const std::string_view rest = text.substr(1);
    const std::size_t split = rest.empty() ? 0 : static_cast<unsigned char>(text[0]) % (rest.size() + 1);
    const std::string_view pluginId = rest.substr(0, split);
    const std::string_view local = rest.substr(split);
    CheckName(pluginId);
    CheckName(local);
    std::string joined;
    joined.reserve(rest.size() + 1);
    joined.append(pluginId).push_back('.');
    joined.append(local);
    CheckName(joined);
    if (IsValidPluginFieldName(pluginId) && IsValidPluginFieldName(local)) {
        Check(IsPluginComponentName(joined));
    }
    // A valid component name stays valid behind a valid plugin id: "<plugin>.<a>.<b>".
    if (IsValidPluginFieldName(pluginId) && IsPluginComponentName(local)) {
        Check(IsPluginComponentName(joined));
    }
    return 0;
}
