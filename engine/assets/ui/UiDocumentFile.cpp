#include "engine/assets/ui/UiDocumentFile.h"

#include "engine/assets/AssetReference.h"
#include "engine/assets/AssetRegistry.h"
#include "engine/assets/text/LineTokens.h"
#include "engine/core/Logger.h"
#include "engine/core/NumberText.h"
#include "engine/platform/ErrorText.h"
#include "engine/platform/Files.h"

#include <array>
#include <span>
#include <stdexcept>

namespace Brelk::Assets {
namespace {

void LogWarning(std::string message) {
    Core::Logger::Get().Log(Core::LogCategory::Assets, Core::LogLevel::Warning, message);
}

constexpr std::array<std::string_view, 5> kScaleModeNames = {"MatchMin", "MatchWidth", "MatchHeight", "Expand",
                                                             "ConstantPixel"};
constexpr std::array<std::string_view, 10> kAnchorNames = {"TopLeft",    "TopCenter",    "TopRight",
                                                           "CenterLeft", "Center",       "CenterRight",
                                                           "BottomLeft", "BottomCenter", "BottomRight",
                                                           "Stretch"};
constexpr std::array<std::string_view, 3> kSizeModeNames = {"Auto", "Pixels", "Percent"};
constexpr std::array<std::string_view, 4> kStackDirectionNames = {"None", "Vertical", "Horizontal", "Grid"};
constexpr std::array<std::string_view, 4> kAlignmentNames = {"Start", "Center", "End", "Stretch"};
constexpr std::array<std::string_view, 4> kDistributionNames = {"Start", "Center", "End", "SpaceBetween"};
constexpr std::array<std::string_view, 3> kImageFitNames = {"Stretch", "Contain", "Cover"};
constexpr std::array<std::string_view, 2> kTemplateKindNames = {"None", "InventoryGrid"};
constexpr std::array<std::string_view, 3> kTitleModeNames = {"None", "FullRow", "Tab"};

template <class Enum, std::size_t N>
std::string_view NameOf(const std::array<std::string_view, N>& names, Enum value) {
    const auto index = static_cast<std::size_t>(value);
    return index < N ? names[index] : names[0];
}

// An unknown name leaves the value as it was.
template <class Enum, std::size_t N>
void ReadEnum(LineTokens& line, const std::array<std::string_view, N>& names, Enum* value) {
    std::string_view word;
    if (!line.Word(&word)) return;
    for (std::size_t i = 0; i < N; ++i) {
        if (names[i] == word) {
            *value = static_cast<Enum>(i);
            return;
        }
    }
}

enum class StyleValue { Colour, Edges, Pair, Float, Flag };

struct StyleKey {
    std::string_view key;
    StyleValue kind;
    glm::vec4 UiStyle::*vector4 = nullptr;
    glm::vec2 UiStyle::*vector2 = nullptr;
    float UiStyle::*number = nullptr;
    bool UiStyle::*flag = nullptr;
};

constexpr StyleKey Colour(std::string_view key, glm::vec4 UiStyle::*member) {
    return {key, StyleValue::Colour, member};
}
constexpr StyleKey Edges(std::string_view key, glm::vec4 UiStyle::*member) { return {key, StyleValue::Edges, member}; }

const std::array<StyleKey, 22> kStyleKeys = {
    Colour("background", &UiStyle::background),
    Colour("background_hover", &UiStyle::backgroundHover),
    Colour("background_pressed", &UiStyle::backgroundPressed),
    Colour("background_focus", &UiStyle::backgroundFocus),
    Colour("border_color", &UiStyle::borderColor),
    Colour("text_color", &UiStyle::textColor),
    Colour("text_hover", &UiStyle::textHover),
    Colour("text_disabled", &UiStyle::textDisabled),
    Colour("progress_fill", &UiStyle::progressFill),
    Colour("shadow_color", &UiStyle::shadowColor),
    Edges("padding", &UiStyle::padding),
    Edges("margin", &UiStyle::margin),
    StyleKey{"shadow_offset", StyleValue::Pair, nullptr, &UiStyle::shadowOffset},
    StyleKey{"border_thickness", StyleValue::Float, nullptr, nullptr, &UiStyle::borderThickness},
    StyleKey{"corner_radius", StyleValue::Float, nullptr, nullptr, &UiStyle::cornerRadius},
    StyleKey{"font_size", StyleValue::Float, nullptr, nullptr, &UiStyle::fontSize},
    StyleKey{"line_height", StyleValue::Float, nullptr, nullptr, &UiStyle::lineHeight},
    StyleKey{"opacity", StyleValue::Float, nullptr, nullptr, &UiStyle::opacity},
    StyleKey{"shadow_softness", StyleValue::Float, nullptr, nullptr, &UiStyle::shadowSoftness},
    StyleKey{"clip_children", StyleValue::Flag, nullptr, nullptr, nullptr, &UiStyle::clipChildren},
    Colour("background_disabled", &UiStyle::backgroundDisabled),
    StyleKey{"transition", StyleValue::Float, nullptr, nullptr, &UiStyle::transition},
};

const StyleKey* FindStyleKey(std::string_view key) {
    for (const StyleKey& entry : kStyleKeys) {
        if (entry.key == key) return &entry;
    }
    return nullptr;
}

// "1", "true", "True" and "TRUE"; anything else, or nothing, is false.
bool ReadBool(LineTokens& line) {
    std::string_view word;
    line.Word(&word);
    return word == "1" || word == "true" || word == "True" || word == "TRUE";
}

// A value that doesn't parse leaves the field as it was.
void ReadFloats(LineTokens& line, std::span<float> values) {
    for (float& value : values) {
        float parsed = 0.0f;
        if (!line.Float(&parsed)) return;
        value = parsed;
    }
}

void ReadFloat(LineTokens& line, float* value) { ReadFloats(line, std::span(value, 1)); }
void ReadVec2(LineTokens& line, glm::vec2* value) { ReadFloats(line, std::span(&value->x, 2)); }
void ReadVec4(LineTokens& line, glm::vec4* value) { ReadFloats(line, std::span(&value->x, 4)); }
void ReadInt(LineTokens& line, std::int32_t* value) {
    std::int32_t parsed = 0;
    if (line.I32(&parsed)) *value = parsed;
}
void ReadString(LineTokens& line, std::string* value) {
    std::string parsed;
    if (line.Quoted(&parsed)) *value = std::move(parsed);
}

void ReadStyleValue(const StyleKey& key, LineTokens& line, UiStyle& style) {
    switch (key.kind) {
    case StyleValue::Colour:
    case StyleValue::Edges: ReadVec4(line, &(style.*key.vector4)); break;
    case StyleValue::Pair: ReadVec2(line, &(style.*key.vector2)); break;
    case StyleValue::Float: ReadFloat(line, &(style.*key.number)); break;
    case StyleValue::Flag: style.*key.flag = ReadBool(line); break;
    }
}

// ---------------------------------------------------------------------------------------
// Writing

class UiWriter {
public:
    UiWriter(const UiDocumentAsset& document, const AssetRegistry& registry)
        : document_(document), registry_(registry) {}

    std::string Write() {
        out_.append("bui 1\n");
        Begin(0, "name");
        Quoted(document_.name);
        Begin(0, "reference_resolution");
        Floats(&document_.referenceResolution.x, 2);
        Begin(0, "pixel_perfect");
        AppendBitField(out_, document_.pixelPerfect);
        Begin(0, "tab_navigation");
        AppendBitField(out_, document_.tabNavigation);
        Begin(0, "scale_mode");
        Word(NameOf(kScaleModeNames, document_.scaleMode));
        for (const UiStyleClass& style : document_.styles) {
            Begin(0, "style_begin");
            Quoted(style.name);
            WriteStyle(1, "", style.style);
            Begin(0, "end_style");
        }
        WriteWidget(document_.root, 0);
        out_.push_back('\n');
        return std::move(out_);
    }

private:
    void Begin(std::size_t depth, std::string_view keyword) {
        if (out_.back() != '\n') out_.push_back('\n');
        out_.append(depth * 2, ' ');
        out_.append(keyword);
    }
    void Word(std::string_view word) {
        out_.push_back(' ');
        out_.append(word);
    }
    void Quoted(std::string_view text) {
        out_.push_back(' ');
        AppendQuoted(out_, text);
    }
    void Floats(const float* values, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) AppendFloatField(out_, values[i]);
    }
    void Int(std::int32_t value) {
        out_.push_back(' ');
        Core::AppendInteger(out_, value);
    }
    void Reference(AssetHandle handle, const UiWidgetDefinition& widget, std::string_view key) {
        const std::string text = AssetReferenceOf(registry_, handle);
        if (handle != kNullAssetHandle && text.empty()) {
            LogWarning("Unresolved live UI document asset handle while saving widget '" + widget.id + "'." +
                       std::string(key));
        }
        Quoted(text);
    }

    void WriteStyle(std::size_t depth, std::string_view prefix, const UiStyle& style) {
        std::string keyword;
        for (const StyleKey& key : kStyleKeys) {
            keyword.assign(prefix).append(key.key);
            Begin(depth, keyword);
            switch (key.kind) {
            case StyleValue::Colour:
            case StyleValue::Edges: Floats(&(style.*key.vector4).x, 4); break;
            case StyleValue::Pair: Floats(&(style.*key.vector2).x, 2); break;
            case StyleValue::Float: Floats(&(style.*key.number), 1); break;
            case StyleValue::Flag: AppendBitField(out_, style.*key.flag); break;
            }
        }
    }

    void WriteWidget(const UiWidgetDefinition& widget, std::size_t depth) {
        Begin(depth, "widget_begin");
        Quoted(widget.id);
        Word(UiWidgetTypeName(widget.type));
        Begin(depth, "name");
        Quoted(widget.name);
        Begin(depth, "style_class");
        Quoted(widget.styleClass);
        Begin(depth, "text");
        Quoted(widget.text);
        Begin(depth, "action");
        Quoted(widget.action);
        Begin(depth, "image");
        Reference(widget.image, widget, "image");
        AppendBitField(out_, widget.preserveAspect);
        Word(NameOf(kImageFitNames, widget.imageFit));
        Begin(depth, "progress");
        Floats(&widget.progress, 1);
        Begin(depth, "visible");
        AppendBitField(out_, widget.visible);
        Begin(depth, "enabled");
        AppendBitField(out_, widget.enabled);
        Begin(depth, "input_enabled");
        AppendBitField(out_, widget.inputEnabled);
        Begin(depth, "focusable");
        AppendBitField(out_, widget.focusable);
        Begin(depth, "anchor");
        Word(NameOf(kAnchorNames, widget.anchor));
        Begin(depth, "offset");
        Floats(&widget.offset.x, 2);
        Begin(depth, "size");
        Word(NameOf(kSizeModeNames, widget.widthMode));
        Floats(&widget.width, 1);
        Word(NameOf(kSizeModeNames, widget.heightMode));
        Floats(&widget.height, 1);
        Begin(depth, "min_size");
        Floats(&widget.minSize.x, 2);
        Begin(depth, "max_size");
        Floats(&widget.maxSize.x, 2);
        Begin(depth, "flex_weight");
        Floats(&widget.flexWeight, 1);
        Begin(depth, "alignment");
        Word(NameOf(kAlignmentNames, widget.horizontalAlignment));
        Word(NameOf(kAlignmentNames, widget.verticalAlignment));
        Begin(depth, "stack");
        Word(NameOf(kStackDirectionNames, widget.stackDirection));
        Floats(&widget.stackSpacing, 1);
        Word(NameOf(kDistributionNames, widget.stackDistribution));
        Word(NameOf(kAlignmentNames, widget.stackAlignment));
        if (widget.gridColumns != 3) {
            Begin(depth, "grid_columns");
            Int(widget.gridColumns);
        }
        if (widget.valueMin != 0.0f || widget.valueMax != 100.0f || widget.valueStep != 1.0f) {
            Begin(depth, "value_range");
            Floats(&widget.valueMin, 1);
            Floats(&widget.valueMax, 1);
            Floats(&widget.valueStep, 1);
        }
        if (widget.flexShrink != 0.0f) {
            Begin(depth, "flex_shrink");
            Floats(&widget.flexShrink, 1);
        }
        if (widget.wrap) Begin(depth, "wrap 1");
        if (widget.textLayoutA || widget.textLayoutB) {
            Begin(depth, "text_layout");
            AppendBitField(out_, widget.textLayoutA);
            AppendBitField(out_, widget.textLayoutB);
        }
        if (widget.tabIndex != 0) {
            Begin(depth, "tab_index");
            Int(widget.tabIndex);
        }
        Begin(depth, "template");
        Word(NameOf(kTemplateKindNames, widget.templateKind));
        Int(widget.templateColumns);
        Int(widget.templateRows);
        Floats(&widget.templateCellWidth, 1);
        Floats(&widget.templateCellHeight, 1);
        Begin(depth, "template_slot_image");
        Reference(widget.templateSlotImage, widget, "template_slot_image");
        AppendBitField(out_, widget.templateSlotPreserveAspect);
        Word(NameOf(kImageFitNames, widget.templateSlotImageFit));
        Begin(depth, "template_title");
        Word(NameOf(kTitleModeNames, widget.templateTitleMode));
        Quoted(widget.templateTitleText);
        Floats(widget.templateTitleValues.data(), 2);
        WriteStyle(depth, "slot_", widget.templateSlotStyle);
        WriteStyle(depth, "title_", widget.templateTitleStyle);
        WriteStyle(depth, "", widget.style);
        for (const UiWidgetDefinition& child : widget.children) WriteWidget(child, depth + 1);
        Begin(depth, "widget_end");
    }

    const UiDocumentAsset& document_;
    const AssetRegistry& registry_;
    std::string out_;
};

// ---------------------------------------------------------------------------------------
// Reading

struct ParseFailure {
    std::string message;
};

constexpr std::size_t kMaxUiWidgetDepth = 256;

[[noreturn]] void Fail(std::string message) { throw ParseFailure{std::move(message)}; }

// Path of child indices from the root: widgets are held by value, so a pointer into the
// tree would not survive a sibling's growth.
using WidgetPath = std::vector<std::size_t>;

struct PendingImage {
    WidgetPath path;
    bool slot = false;
    std::string text;
    std::size_t line = 0;
};

class UiReader {
public:
    UiReader(std::string_view text, std::string_view label, UiDocumentAsset& document, const AssetRegistry& registry)
        : text_(text), label_(label), document_(document), registry_(registry) {}

    void Read() {
        document_ = UiDocumentAsset{};
        bool headerSeen = false;
        UiStyle* openStyle = nullptr;
        bool rootTaken = false;
        std::size_t lineNumber = 0;
        std::size_t start = 0;
        while (start < text_.size()) {
            std::size_t end = text_.find('\n', start);
            if (end == std::string_view::npos) end = text_.size();
            std::string_view text = text_.substr(start, end - start);
            start = end + 1;
            ++lineNumber;
            LineTokens line(text);
            std::string_view keyword;
            if (!line.Word(&keyword)) continue;
            if (!headerSeen) {
                if (keyword != "bui") continue;
                std::uint32_t version = 0;
                if (!line.U32(&version) || version != 1) Fail("Unsupported UI document format version.");
                headerSeen = true;
                continue;
            }
            if (openStyle) {
                if (keyword == "end_style") {
                    openStyle = nullptr;
                    continue;
                }
                const StyleKey* key = FindStyleKey(keyword);
                if (!key) {
                    Fail("Unknown UI style property '" + std::string(keyword) + "' at line " +
                         std::to_string(lineNumber));
                }
                ReadStyleValue(*key, line, *openStyle);
                continue;
            }
            if (keyword == "widget_begin") {
                UiWidgetDefinition widget;
                std::string_view typeName;
                if (!line.Quoted(&widget.id) || !line.Word(&typeName) || !ParseUiWidgetType(typeName, &widget.type)) {
                    Fail("Malformed widget_begin at line " + std::to_string(lineNumber));
                }
                if (!rootTaken && scope_.empty()) {
                    rootTaken = true;
                    widget.children.clear();
                    document_.root = std::move(widget);
                    scope_.push_back(WidgetPath{});
                } else {
                    WidgetPath parent = scope_.empty() ? WidgetPath{} : scope_.back();
                    // Walks over the tree recurse, so a hostile depth must stop here.
                    if (parent.size() >= kMaxUiWidgetDepth) {
                        Fail("UI document nests widgets deeper than " + std::to_string(kMaxUiWidgetDepth) +
                             " levels at line " + std::to_string(lineNumber));
                    }
                    UiWidgetDefinition& owner = At(parent);
                    parent.push_back(owner.children.size());
                    owner.children.push_back(std::move(widget));
                    scope_.push_back(std::move(parent));
                }
                continue;
            }
            if (keyword == "widget_end") {
                if (!scope_.empty()) scope_.pop_back();
                continue;
            }
            if (!scope_.empty()) {
                ReadWidgetProperty(keyword, line, lineNumber);
                continue;
            }
            ReadDocumentProperty(keyword, line, &openStyle);
        }
        if (!headerSeen) Fail("Missing UI document header.");
        if (!scope_.empty()) Fail("UI document ended with unclosed widget scopes.");
        if (document_.root.id.empty()) document_.root.id = "root";
        ResolveImages();
        for (const UiWidgetIdRepair& repair : RepairUiWidgetIds(document_)) {
            std::string message = "UI document '" + document_.name + "': ";
            message += repair.oldId.empty() ? std::string("a widget without an id")
                                            : "duplicate widget id '" + repair.oldId + "'";
            message += " renamed to '" + repair.newId + "'. Save the document to keep the new id.";
            LogWarning(std::move(message));
        }
    }

private:
    UiWidgetDefinition& At(const WidgetPath& path) {
        UiWidgetDefinition* widget = &document_.root;
        for (const std::size_t index : path) widget = &widget->children[index];
        return *widget;
    }

    void ReadDocumentProperty(std::string_view keyword, LineTokens& line, UiStyle** openStyle) {
        if (keyword == "name") {
            ReadString(line, &document_.name);
        } else if (keyword == "reference_resolution") {
            ReadVec2(line, &document_.referenceResolution);
        } else if (keyword == "pixel_perfect") {
            document_.pixelPerfect = ReadBool(line);
        } else if (keyword == "tab_navigation") {
            document_.tabNavigation = ReadBool(line);
        } else if (keyword == "scale_mode") {
            ReadEnum(line, kScaleModeNames, &document_.scaleMode);
        } else if (keyword == "style_begin") {
            UiStyleClass& style = document_.styles.emplace_back();
            ReadString(line, &style.name);
            *openStyle = &style.style;
        }
        // Other words at the top are left for later versions of the format.
    }

    void ReadWidgetProperty(std::string_view key, LineTokens& line, std::size_t lineNumber) {
        UiWidgetDefinition& widget = At(scope_.back());
        if (key.starts_with("slot_") || key.starts_with("title_")) {
            const bool slot = key.starts_with("slot_");
            const StyleKey* style = FindStyleKey(key.substr(slot ? 5 : 6));
            if (style) {
                ReadStyleValue(*style, line, slot ? widget.templateSlotStyle : widget.templateTitleStyle);
                return;
            }
        } else if (const StyleKey* style = FindStyleKey(key)) {
            ReadStyleValue(*style, line, widget.style);
            return;
        }
        if (key == "name") {
            ReadString(line, &widget.name);
        } else if (key == "style_class") {
            ReadString(line, &widget.styleClass);
        } else if (key == "text") {
            ReadString(line, &widget.text);
        } else if (key == "action") {
            ReadString(line, &widget.action);
        } else if (key == "image" || key == "template_slot_image") {
            const bool slot = key != "image";
            PendingImage& image = images_.emplace_back();
            image.path = scope_.back();
            image.slot = slot;
            image.line = lineNumber;
            ReadString(line, &image.text);
            (slot ? widget.templateSlotPreserveAspect : widget.preserveAspect) = ReadBool(line);
            ReadEnum(line, kImageFitNames, slot ? &widget.templateSlotImageFit : &widget.imageFit);
        } else if (key == "progress") {
            ReadFloat(line, &widget.progress);
        } else if (key == "visible") {
            widget.visible = ReadBool(line);
        } else if (key == "enabled") {
            widget.enabled = ReadBool(line);
        } else if (key == "input_enabled") {
            widget.inputEnabled = ReadBool(line);
        } else if (key == "focusable") {
            widget.focusable = ReadBool(line);
        } else if (key == "anchor") {
            ReadEnum(line, kAnchorNames, &widget.anchor);
        } else if (key == "offset") {
            ReadVec2(line, &widget.offset);
        } else if (key == "size") {
            ReadEnum(line, kSizeModeNames, &widget.widthMode);
            ReadFloat(line, &widget.width);
            ReadEnum(line, kSizeModeNames, &widget.heightMode);
            ReadFloat(line, &widget.height);
        } else if (key == "min_size") {
            ReadVec2(line, &widget.minSize);
        } else if (key == "max_size") {
            ReadVec2(line, &widget.maxSize);
        } else if (key == "flex_weight") {
            ReadFloat(line, &widget.flexWeight);
        } else if (key == "alignment") {
            ReadEnum(line, kAlignmentNames, &widget.horizontalAlignment);
            ReadEnum(line, kAlignmentNames, &widget.verticalAlignment);
        } else if (key == "stack") {
            ReadEnum(line, kStackDirectionNames, &widget.stackDirection);
            ReadFloat(line, &widget.stackSpacing);
            ReadEnum(line, kDistributionNames, &widget.stackDistribution);
            ReadEnum(line, kAlignmentNames, &widget.stackAlignment);
        } else if (key == "grid_columns") {
            ReadInt(line, &widget.gridColumns);
        } else if (key == "value_range") {
            ReadFloat(line, &widget.valueMin);
            ReadFloat(line, &widget.valueMax);
            ReadFloat(line, &widget.valueStep);
        } else if (key == "flex_shrink") {
            ReadFloat(line, &widget.flexShrink);
        } else if (key == "wrap") {
            widget.wrap = ReadBool(line);
        } else if (key == "text_layout") {
            widget.textLayoutA = ReadBool(line);
            widget.textLayoutB = ReadBool(line);
        } else if (key == "tab_index") {
            ReadInt(line, &widget.tabIndex);
        } else if (key == "template") {
            ReadEnum(line, kTemplateKindNames, &widget.templateKind);
            ReadInt(line, &widget.templateColumns);
            ReadInt(line, &widget.templateRows);
            ReadFloat(line, &widget.templateCellWidth);
            ReadFloat(line, &widget.templateCellHeight);
        } else if (key == "template_title") {
            ReadEnum(line, kTitleModeNames, &widget.templateTitleMode);
            ReadString(line, &widget.templateTitleText);
            ReadFloats(line, widget.templateTitleValues);
        } else {
            Fail("Unknown UI widget property '" + std::string(key) + "' at line " + std::to_string(lineNumber));
        }
    }

    void ResolveImages() {
        for (const PendingImage& image : images_) {
            UiWidgetDefinition& widget = At(image.path);
            AssetHandle& target = image.slot ? widget.templateSlotImage : widget.image;
            target = kNullAssetHandle;
            if (image.text.empty()) continue;
            target = ResolveAssetReference(registry_, image.text, AssetType::Texture);
            if (target == kNullAssetHandle) {
                LogWarning("Unresolved UI document asset reference in " + std::string(label_) + " at line " +
                           std::to_string(image.line) + " (widget '" + widget.id + "'): no asset answers to '" +
                           image.text + "'.");
            }
        }
    }

    std::string_view text_;
    std::string_view label_;
    UiDocumentAsset& document_;
    const AssetRegistry& registry_;
    std::vector<WidgetPath> scope_;
    std::vector<PendingImage> images_;
};

} // namespace

std::string SerializeUiDocument(const UiDocumentAsset& document, const AssetRegistry& registry) {
    return UiWriter(document, registry).Write();
}

bool SaveUiDocument(const std::filesystem::path& path, const UiDocumentAsset& document, const AssetRegistry& registry,
                    std::string* error) {
    if (Platform::WriteFileAtomic(path, SerializeUiDocument(document, registry))) return true;
    SetError(error, "Failed to open UI document file for writing.");
    return false;
}

bool ParseUiDocument(std::string_view text, std::string_view label, UiDocumentAsset* document,
                     const AssetRegistry& registry, std::string* error) {
    try {
        UiReader(text, label, *document, registry).Read();
    } catch (const ParseFailure& failure) {
        SetError(error, failure.message);
        return false;
    }
    return true;
}

bool LoadUiDocument(const std::filesystem::path& path, UiDocumentAsset* document, const AssetRegistry& registry,
                    std::string* error) {
    const std::optional<std::vector<std::uint8_t>> bytes = Platform::ReadFileBytes(path);
    if (!bytes) {
        SetError(error, "Failed to open UI document file for reading.");
        return false;
    }
    const std::string_view text(reinterpret_cast<const char*>(bytes->data()), bytes->size());
    return ParseUiDocument(text, Platform::PathToUtf8(path), document, registry, error);
}

} // namespace Brelk::Assets
