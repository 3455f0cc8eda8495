#include "engine/assets/AssetSidecar.h"

#include "engine/assets/AssetTypeWords.h"
#include "engine/core/NumberText.h"
#include "engine/platform/Files.h"
#include "engine/platform/Paths.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <stdexcept>
#include <system_error>

namespace Brelk::Assets {
namespace {

constexpr std::string_view kSidecarExtension = ".bmeta";

bool IsBlank(char c) noexcept { return c == ' ' || c == '\t' || c == '\r' || c == '\v' || c == '\f'; }

// One line of a sidecar and the words read from it so far. Every message of the reader
// that names a line is built here.
class SidecarLine {
public:
    SidecarLine(std::string_view text, std::size_t number) : text_(text), number_(number) {}

    // The next run of non-blank characters; false at the end of the line.
    bool NextWord(std::string_view* word) {
        SkipBlanks();
        const std::size_t start = position_;
        while (position_ < text_.size() && !IsBlank(text_[position_])) {
            ++position_;
        }
        *word = text_.substr(start, position_ - start);
        return position_ > start;
    }

    // A value in quoted form, with "\" taking the next character as it is. A value that
    // does not begin with a quote is a plain word. False if nothing is left on the line or
    // the closing quote is missing.
    bool NextQuoted(std::string* value) {
        SkipBlanks();
        if (position_ >= text_.size()) {
            return false;
        }
        if (text_[position_] != '"') {
            std::string_view word;
            NextWord(&word);
            value->assign(word);
            return true;
        }
        ++position_;
        value->clear();
        while (position_ < text_.size()) {
            const char c = text_[position_++];
            if (c == '"') {
                return true;
            }
            if (c == '\\' && position_ < text_.size()) {
                value->push_back(text_[position_++]);
            } else {
                value->push_back(c);
            }
        }
        return false;
    }

    bool NextUnsigned(std::uint32_t* value) {
        std::string_view word;
        if (!NextWord(&word)) {
            return false;
        }
        std::uint32_t parsed = 0;
        const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), parsed);
        if (error != std::errc() || end != word.data() + word.size()) {
            return false;
        }
        *value = parsed;
        return true;
    }

    [[noreturn]] static void Fail(std::string message) { throw std::runtime_error(std::move(message)); }

    [[noreturn]] void FailAtLine(std::string_view what) const {
        std::string message(what);
        message += " at line ";
        Core::AppendInteger(message, number_);
        message += '.';
        throw std::runtime_error(std::move(message));
    }

private:
    void SkipBlanks() {
        while (position_ < text_.size() && IsBlank(text_[position_])) {
            ++position_;
        }
    }

    std::string_view text_;
    std::size_t number_;
    std::size_t position_ = 0;
};

enum class Section { Top, Settings, SubAssets };

void ReadTopLine(std::string_view keyword, SidecarLine& line, AssetSidecar& sidecar, Section& section) {
    if (keyword == "bmeta") {
        std::uint32_t version = 0;
        if (!line.NextUnsigned(&version) || version == 0) {
            SidecarLine::Fail("Invalid bmeta version.");
        }
        if (version > kSidecarVersion) {
            std::string message = "bmeta version ";
            Core::AppendInteger(message, version);
            message += " is newer than this engine reads.";
            SidecarLine::Fail(std::move(message));
        }
        sidecar.version = version;
    } else if (keyword == "guid") {
        std::string_view word;
        line.NextWord(&word);
        const std::optional<Core::Guid> guid = Core::Guid::Parse(word);
        if (!guid || !guid->IsValid()) {
            SidecarLine::Fail("Invalid bmeta guid.");
        }
        sidecar.guid = *guid;
    } else if (keyword == "importer") {
        std::string_view word;
        if (line.NextWord(&word)) {
            sidecar.importer.assign(word);
            std::uint32_t version = 0;
            if (line.NextUnsigned(&version)) {
                sidecar.importerVersion = version;
            }
        }
    } else if (keyword == "settings") {
        section = Section::Settings;
    } else if (keyword == "subassets") {
        section = Section::SubAssets;
    }
}

void ReadSubAssetLine(std::string_view typeWord, SidecarLine& line, AssetSidecar& sidecar) {
    SidecarSubAsset subAsset;
    subAsset.type = AssetTypeFromWord(typeWord);
    std::string_view guidWord;
    if (!line.NextQuoted(&subAsset.subkey) || !line.NextWord(&guidWord)) {
        line.FailAtLine("Malformed sub-asset");
    }
    const std::optional<Core::Guid> guid = Core::Guid::Parse(guidWord);
    if (!guid || !guid->IsValid() || subAsset.type == AssetType::Unknown) {
        line.FailAtLine("Invalid sub-asset");
    }
    subAsset.guid = *guid;
    sidecar.subAssets.push_back(std::move(subAsset));
}

AssetSidecar ParseSidecarOrThrow(std::string_view text) {
    AssetSidecar sidecar;
    sidecar.version = 0;
    Section section = Section::Top;
    std::size_t lineNumber = 0;
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t end = text.find('\n', start);
        if (end == std::string_view::npos) {
            end = text.size();
        }
        std::string_view lineText = text.substr(start, end - start);
        start = end + 1;
        ++lineNumber;
        if (!lineText.empty() && lineText.back() == '\r') {
            lineText.remove_suffix(1);
        }

        SidecarLine line(lineText, lineNumber);
        std::string_view keyword;
        if (!line.NextWord(&keyword) || keyword.front() == '#') {
            continue;
        }
        if (section != Section::Top && keyword == "end") {
            section = Section::Top;
            continue;
        }
        switch (section) {
        case Section::Top:
            ReadTopLine(keyword, line, sidecar, section);
            break;
        case Section::Settings: {
            std::string value;
            if (!line.NextQuoted(&value)) {
                value.clear();
            }
            sidecar.settings.emplace_back(std::string(keyword), std::move(value));
            break;
        }
        case Section::SubAssets:
            ReadSubAssetLine(keyword, line, sidecar);
            break;
        }
    }
    if (sidecar.version == 0) {
        SidecarLine::Fail("Missing bmeta header.");
    }
    if (!sidecar.guid.IsValid()) {
        SidecarLine::Fail("Missing bmeta guid.");
    }
    return sidecar;
}

void AppendQuoted(std::string& out, std::string_view value) {
    out += '"';
    for (const char c : value) {
        if (c == '"' || c == '\\') {
            out += '\\';
        }
        out += c;
    }
    out += '"';
}

void AppendGuid(std::string& out, const Core::Guid& guid) {
    char text[Core::Guid::kTextLength];
    guid.ToChars(text);
    out.append(text, sizeof text);
}

bool SetError(std::string* error, std::string message) {
    if (error) {
        *error = std::move(message);
    }
    return false;
}

bool EqualsFileBytes(const std::filesystem::path& path, std::string_view text) {
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(path, ignored)) {
        return false;
    }
    const std::optional<std::vector<std::uint8_t>> bytes = Platform::ReadFileBytes(path);
    return bytes && bytes->size() == text.size() &&
           std::equal(bytes->begin(), bytes->end(), text.begin(),
                      [](std::uint8_t a, char b) { return a == static_cast<std::uint8_t>(b); });
}

} // namespace

std::filesystem::path SidecarPath(const std::filesystem::path& sourcePath) {
    std::filesystem::path path = sourcePath;
    path += kSidecarExtension;
    return path;
}

bool IsSidecarPath(const std::filesystem::path& path) {
    if (LowerExtension(path) != kSidecarExtension) {
        return false;
    }
    return path.stem().has_extension();
}

std::filesystem::path SourcePathOfSidecar(const std::filesystem::path& sidecarPath) {
    if (!IsSidecarPath(sidecarPath)) {
        return {};
    }
    std::filesystem::path source = sidecarPath;
    source.replace_extension();
    return source;
}

std::optional<AssetSidecar> ParseSidecar(std::string_view text, std::string* error) {
    try {
        return ParseSidecarOrThrow(text);
    } catch (const std::runtime_error& failure) {
        SetError(error, failure.what());
        return std::nullopt;
    }
}

std::optional<AssetSidecar> ReadSidecar(const std::filesystem::path& path, std::string* error) {
    const std::optional<std::vector<std::uint8_t>> bytes = Platform::ReadFileBytes(path);
    if (!bytes) {
        SetError(error, "Cannot open sidecar.");
        return std::nullopt;
    }
    return ParseSidecar(std::string_view(reinterpret_cast<const char*>(bytes->data()), bytes->size()), error);
}

std::string SerializeSidecar(const AssetSidecar& sidecar) {
    std::string text;
    text.reserve(128 + sidecar.settings.size() * 32 + sidecar.subAssets.size() * 64);
    text += "bmeta ";
    Core::AppendInteger(text, sidecar.version);
    text += "\nguid ";
    AppendGuid(text, sidecar.guid);
    text += "\nimporter ";
    text += sidecar.importer.empty() ? std::string_view("native") : std::string_view(sidecar.importer);
    text += ' ';
    Core::AppendInteger(text, sidecar.importerVersion);
    text += "\nsettings\n";
    for (const auto& [key, value] : sidecar.settings) {
        text += key;
        text += ' ';
        AppendQuoted(text, value);
        text += '\n';
    }
    text += "end\n";
    if (!sidecar.subAssets.empty()) {
        text += "subassets\n";
        for (const SidecarSubAsset& subAsset : sidecar.subAssets) {
            text += AssetTypeWord(subAsset.type);
            text += ' ';
            AppendQuoted(text, subAsset.subkey);
            text += ' ';
            AppendGuid(text, subAsset.guid);
            text += '\n';
        }
        text += "end\n";
    }
    return text;
}

bool WriteSidecar(const std::filesystem::path& path, const AssetSidecar& sidecar, std::string* error) {
    const std::string text = SerializeSidecar(sidecar);
    if (EqualsFileBytes(path, text)) {
        return true;
    }

    std::filesystem::path temporary = path;
    temporary += ".";
    temporary += Core::Guid::New().ToString();
    temporary += ".tmp";
    std::error_code ignored;
    {
        std::ofstream stream(temporary, std::ios::binary | std::ios::trunc);
        if (!stream.is_open()) {
            return SetError(error, "Cannot write sidecar.");
        }
        stream.write(text.data(), static_cast<std::streamsize>(text.size()));
        stream.flush();
        if (!stream) {
            stream.close();
            std::filesystem::remove(temporary, ignored);
            return SetError(error, "Failed while writing sidecar.");
        }
    }

    Platform::PlatformResult replaced = Platform::ReplaceFile(temporary, path, false);
    if (!replaced.Ok()) {
        std::filesystem::remove(temporary, ignored);
        return SetError(error, std::move(replaced.message));
    }
    return true;
}

AssetSidecar MakeDefaultSidecar(AssetType type, const std::filesystem::path& sourcePath, const Core::Guid& guid) {
    AssetSidecar sidecar;
    sidecar.version = kSidecarVersion;
    sidecar.guid = guid;
    sidecar.importerVersion = 1;
    const std::string extension = LowerExtension(sourcePath);
    if (type == AssetType::Texture) {
        sidecar.importer = "texture";
        sidecar.settings.emplace_back("encoding", "auto");
        sidecar.settings.emplace_back("max_size", "0");
    } else if (extension == ".fbx" || extension == ".gltf" || extension == ".glb" || extension == ".obj") {
        sidecar.importer = "model";
    } else if (type == AssetType::Audio) {
        sidecar.importer = "audio";
    } else {
        sidecar.importer = "native";
    }
    return sidecar;
}

bool SetSidecarSetting(AssetSidecar& sidecar, std::string_view key, std::string_view value) {
    for (auto& [existingKey, existingValue] : sidecar.settings) {
        if (existingKey == key) {
            if (existingValue == value) {
                return false;
            }
            existingValue.assign(value);
            return true;
        }
    }
    sidecar.settings.emplace_back(std::string(key), std::string(value));
    return true;
}

const std::string* FindSidecarSetting(const AssetSidecar& sidecar, std::string_view key) noexcept {
    for (const auto& [existingKey, value] : sidecar.settings) {
        if (existingKey == key) {
            return &value;
        }
    }
    return nullptr;
}

const SidecarSubAsset* FindSidecarSubAsset(const AssetSidecar& sidecar, AssetType type,
                                           std::string_view subkey) noexcept {
    for (const SidecarSubAsset& subAsset : sidecar.subAssets) {
        if (subAsset.type == type && subAsset.subkey == subkey) {
            return &subAsset;
        }
    }
    return nullptr;
}

SidecarSubAsset* FindSidecarSubAsset(AssetSidecar& sidecar, AssetType type, std::string_view subkey) noexcept {
    return const_cast<SidecarSubAsset*>(FindSidecarSubAsset(static_cast<const AssetSidecar&>(sidecar), type, subkey));
}

} // namespace Brelk::Assets
