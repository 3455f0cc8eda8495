#include "engine/assets/materials/MaterialCompiler.h"

#include "engine/assets/materials/MaterialHash.h"

#include <unordered_set>

namespace Brelk::Assets {
namespace {

bool StartsIdentifier(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

bool InIdentifier(char c) {
    return StartsIdentifier(c) || (c >= '0' && c <= '9');
}

// Calls `visit` with each whole identifier of `text` and the position it starts at. A run
// that starts with a digit (a number such as "1e5") is no identifier.
template <class Visit>
void ForEachIdentifier(std::string_view text, Visit&& visit) {
    std::size_t at = 0;
    while (at < text.size()) {
        if (InIdentifier(text[at]) && !StartsIdentifier(text[at])) {
            while (at < text.size() && InIdentifier(text[at])) ++at;
        } else if (StartsIdentifier(text[at])) {
            std::size_t end = at;
            while (end < text.size() && InIdentifier(text[end])) ++end;
            visit(text.substr(at, end - at), at);
            at = end;
        } else {
            ++at;
        }
    }
}

using NameMap = std::unordered_map<std::string, std::string, MaterialNameHash, std::equal_to<>>;

std::string ReplaceAliases(const std::string& text, const NameMap& aliases) {
    if (aliases.empty()) return text;
    std::string out;
    std::size_t copied = 0;
    ForEachIdentifier(text, [&](std::string_view identifier, std::size_t at) {
        const auto found = aliases.find(identifier);
        if (found == aliases.end()) return;
        out.append(text, copied, at - copied);
        out += found->second;
        copied = at + identifier.size();
    });
    if (copied == 0) return text;
    out.append(text, copied);
    return out;
}

} // namespace

void CleanUpStatements(std::vector<MaterialStatement>& statements, std::vector<std::string>& tailLines,
                       std::uint32_t& removedRepeats, std::uint32_t& removedDead) {
    // Two statements of one type and value compute the same thing: the later one becomes an
    // alias of the earlier, so equal maths gives equal text and so shares a shader.
    NameMap aliases;
    NameMap nameOfKey;
    std::vector<MaterialStatement> kept;
    kept.reserve(statements.size());
    for (MaterialStatement& statement : statements) {
        statement.value = ReplaceAliases(statement.value, aliases);
        std::string key = statement.type + " " + statement.value;
        const auto [found, inserted] = nameOfKey.emplace(std::move(key), statement.name);
        if (inserted) {
            kept.push_back(std::move(statement));
        } else {
            aliases[statement.name] = found->second;
            ++removedRepeats;
        }
    }
    for (std::string& line : tailLines) line = ReplaceAliases(line, aliases);

    std::unordered_set<std::string, MaterialNameHash, std::equal_to<>> live;
    for (const std::string& line : tailLines) {
        ForEachIdentifier(line, [&](std::string_view identifier, std::size_t) { live.emplace(identifier); });
    }
    std::vector<bool> keep(kept.size(), false);
    for (std::size_t i = kept.size(); i-- > 0;) {
        if (!live.contains(kept[i].name)) {
            ++removedDead;
            continue;
        }
        keep[i] = true;
        ForEachIdentifier(kept[i].value, [&](std::string_view identifier, std::size_t) { live.emplace(identifier); });
    }
    statements.clear();
    for (std::size_t i = 0; i < kept.size(); ++i) {
        if (keep[i]) statements.push_back(std::move(kept[i]));
    }
}

} // namespace Brelk::Assets
