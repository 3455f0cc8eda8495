#include "engine/scene/SceneTextWriter.h"

namespace Brelk::Scene {

void AppendSceneToken(std::string& out, std::string_view text) {
    out.push_back('"');
    std::size_t start = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '"' || text[i] == '\\') {
            out.append(text.substr(start, i - start));
            out.push_back('\\');
            start = i;
        }
    }
    out.append(text.substr(start));
    out.push_back('"');
}

void AppendEntityHeaderLines(std::string& out, const Core::Guid& guid, std::string_view name,
                             const Core::Guid& parent) {
    char guidText[Core::Guid::kTextLength];
    out += "entity ";
    guid.ToChars(guidText);
    AppendSceneToken(out, std::string_view(guidText, sizeof guidText));
    out += ' ';
    AppendSceneToken(out, name);
    out += "\nparent ";
    if (parent.IsValid()) {
        parent.ToChars(guidText);
        AppendSceneToken(out, std::string_view(guidText, sizeof guidText));
    } else {
        out += "\"\"";
    }
    out += '\n';
}

} // namespace Brelk::Scene
