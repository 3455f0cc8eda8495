#include "engine/platform/Process.h"

namespace Brelk::Platform {

namespace {

bool NeedsQuotes(std::string_view text) {
    return text.find_first_of(" \t\n\v\"") != std::string_view::npos;
}

bool IsSeparator(char c) { return c == ' ' || c == '\t'; }

} // namespace

std::string ProcessArgument::Text() const {
    if (const auto* text = std::get_if<std::string>(&value)) return *text;
    return std::get<std::filesystem::path>(value).native();
}

std::string QuoteProcessArgument(std::string_view text) {
    if (text.empty()) return "\"\"";
    if (!NeedsQuotes(text)) return std::string(text);
    std::string quoted;
    quoted.reserve(text.size() + 2);
    quoted += '"';
    for (std::size_t i = 0;; ++i) {
        std::size_t backslashes = 0;
        while (i < text.size() && text[i] == '\\') {
            ++backslashes;
            ++i;
        }
        if (i == text.size()) {
            // Doubled, so that the closing quote stays a quote.
            quoted.append(backslashes * 2, '\\');
            break;
        }
        if (text[i] == '"') {
            quoted.append(backslashes * 2 + 1, '\\');
        } else {
            quoted.append(backslashes, '\\');
        }
        quoted += text[i];
    }
    quoted += '"';
    return quoted;
}

std::string FormatProcessCommandLine(const ProcessCommand& command) {
    std::string line = QuoteProcessArgument(command.executable.native());
    for (const ProcessArgument& argument : command.arguments) {
        line += ' ';
        line += QuoteProcessArgument(argument.Text());
    }
    return line;
}

std::vector<std::string> SplitProcessCommandLine(std::string_view line) {
    std::vector<std::string> arguments;
    std::string current;
    bool inArgument = false;
    bool inQuotes = false;
    std::size_t i = 0;
    while (i < line.size()) {
        const char c = line[i];
        if (IsSeparator(c) && !inQuotes) {
            if (inArgument) arguments.push_back(std::move(current));
            current.clear();
            inArgument = false;
            ++i;
            continue;
        }
        inArgument = true;
        if (c == '\\') {
            std::size_t backslashes = 0;
            while (i < line.size() && line[i] == '\\') {
                ++backslashes;
                ++i;
            }
            if (i < line.size() && line[i] == '"') {
                current.append(backslashes / 2, '\\');
                if (backslashes % 2 == 1) {
                    current += '"';
                    ++i;
                }
            } else {
                current.append(backslashes, '\\');
            }
        } else if (c == '"') {
            if (inQuotes && i + 1 < line.size() && line[i + 1] == '"') {
                current += '"';
                i += 2;
            } else {
                inQuotes = !inQuotes;
                ++i;
            }
        } else {
            current += c;
            ++i;
        }
    }
    if (inArgument) arguments.push_back(std::move(current));
    return arguments;
}

} // namespace Brelk::Platform
