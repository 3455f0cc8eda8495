#pragma once

#include "engine/assets/AssetHandle.h"

#include <glm/vec2.hpp>
#include <glm/vec4.hpp>

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Brelk::Assets {

enum class UiScaleMode : std::uint32_t { MatchMin, MatchWidth, MatchHeight, Expand, ConstantPixel };
enum class UiWidgetType : std::uint32_t {
    Canvas, Panel, Stack, Text, Button, Image, ProgressBar, Slider, Spacer, Toggle, Dropdown, InputField,
    ScrollView, RadialProgress, Separator, Switch, RadioGroup, TabBar, Stepper, Spinner, Crosshair,
};
enum class UiAnchor : std::uint32_t {
    TopLeft, TopCenter, TopRight, CenterLeft, Center, CenterRight, BottomLeft, BottomCenter, BottomRight, Stretch,
};
enum class UiSizeMode : std::uint32_t { Auto, Pixels, Percent };
enum class UiStackDirection : std::uint32_t { None, Vertical, Horizontal, Grid };
enum class UiAlignment : std::uint32_t { Start, Center, End, Stretch };
enum class UiDistribution : std::uint32_t { Start, Center, End, SpaceBetween };
enum class UiImageFit : std::uint32_t { Stretch, Contain, Cover };
enum class UiTemplateKind : std::uint32_t { None, InventoryGrid };
enum class UiTitleMode : std::uint32_t { None, FullRow, Tab };

// The look of a widget. The defaults are those of a plain widget: nothing drawn but text.
// Edges are left, top, right, bottom.
struct UiStyle {
    glm::vec4 background{0.0f};
    glm::vec4 backgroundHover{0.0f};
    glm::vec4 backgroundPressed{0.0f};
    glm::vec4 backgroundFocus{0.0f};
    glm::vec4 borderColor{0.0f};
    glm::vec4 textColor{1.0f};
    glm::vec4 textHover{1.0f};
    glm::vec4 textDisabled{0.5f, 0.5f, 0.5f, 1.0f};
    glm::vec4 progressFill{0.2f, 0.6f, 1.0f, 1.0f};
    glm::vec4 shadowColor{0.0f, 0.0f, 0.0f, 0.5f};
    glm::vec4 padding{0.0f};
    glm::vec4 margin{0.0f};
    glm::vec2 shadowOffset{0.0f};
    float borderThickness = 0.0f;
    float cornerRadius = 0.0f;
    float fontSize = 16.0f;
    float lineHeight = 1.2f;
    float opacity = 1.0f;
    float shadowSoftness = 0.0f;
    bool clipChildren = false;
    glm::vec4 backgroundDisabled{0.0f};
    float transition = 0.0f;
    friend bool operator==(const UiStyle&, const UiStyle&) = default;
};

struct UiStyleClass {
    std::string name;
    UiStyle style;
    friend bool operator==(const UiStyleClass&, const UiStyleClass&) = default;
};

// One widget; it holds its children by value.
struct UiWidgetDefinition {
    std::string id;
    UiWidgetType type = UiWidgetType::Panel;
    std::string name;
    std::string styleClass;
    std::string text;
    std::string action;
    AssetHandle image = kNullAssetHandle;
    bool preserveAspect = false;
    UiImageFit imageFit = UiImageFit::Stretch;
    float progress = 0.0f;
    bool visible = true;
    bool enabled = true;
    bool inputEnabled = true;
    bool focusable = false;
    UiAnchor anchor = UiAnchor::TopLeft;
    glm::vec2 offset{0.0f};
    UiSizeMode widthMode = UiSizeMode::Pixels;
    float width = 100.0f;
    UiSizeMode heightMode = UiSizeMode::Pixels;
    float height = 100.0f;
    glm::vec2 minSize{0.0f};
    glm::vec2 maxSize{0.0f};
    float flexWeight = 0.0f;
    UiAlignment horizontalAlignment = UiAlignment::Start;
    UiAlignment verticalAlignment = UiAlignment::Start;
    UiStackDirection stackDirection = UiStackDirection::None;
    float stackSpacing = 0.0f;
    UiDistribution stackDistribution = UiDistribution::Start;
    UiAlignment stackAlignment = UiAlignment::Start;
    std::int32_t gridColumns = 3;
    float valueMin = 0.0f;
    float valueMax = 100.0f;
    float valueStep = 1.0f;
    float flexShrink = 0.0f;
    bool wrap = false;
    // The two flags of the text layout, as the text runtime reads them.
    bool textLayoutA = false;
    bool textLayoutB = false;
    std::int32_t tabIndex = 0;
    UiTemplateKind templateKind = UiTemplateKind::None;
    std::int32_t templateColumns = 0;
    std::int32_t templateRows = 0;
    float templateCellWidth = 0.0f;
    float templateCellHeight = 0.0f;
    AssetHandle templateSlotImage = kNullAssetHandle;
    bool templateSlotPreserveAspect = false;
    UiImageFit templateSlotImageFit = UiImageFit::Stretch;
    UiTitleMode templateTitleMode = UiTitleMode::None;
    std::string templateTitleText;
    std::array<float, 2> templateTitleValues{};
    UiStyle style;
    UiStyle templateSlotStyle;
    UiStyle templateTitleStyle;
    std::vector<UiWidgetDefinition> children;
    friend bool operator==(const UiWidgetDefinition&, const UiWidgetDefinition&) = default;
};

struct UiDocumentAsset {
    std::string name;
    glm::vec2 referenceResolution{1920.0f, 1080.0f};
    bool pixelPerfect = false;
    bool tabNavigation = true;
    UiScaleMode scaleMode = UiScaleMode::MatchMin;
    std::vector<UiStyleClass> styles;
    UiWidgetDefinition root = MakeRoot();
    friend bool operator==(const UiDocumentAsset&, const UiDocumentAsset&) = default;

    // A Canvas with id "root" and name "Root".
    static UiWidgetDefinition MakeRoot();
};

// A new document as the editor creates one.
[[nodiscard]] UiDocumentAsset MakeUiDocument(std::string_view name);

struct UiWidgetIdRepair {
    std::string oldId;
    std::string newId;
    std::string name;
    friend bool operator==(const UiWidgetIdRepair&, const UiWidgetIdRepair&) = default;
};

// False at the first empty id or id seen before, walking parents before children.
[[nodiscard]] bool HasUniqueUiWidgetIds(const UiDocumentAsset& document);

// Gives every widget whose id is empty or taken a new one, made from the old id (a trailing
// "_" and digits removed) or the name or "widget", with "_" and the first number from 2 that
// no widget of the document uses. Ids that stand later in the document are counted first, so
// a new id never collides with one further down. A widget without a name takes its old id as
// its name.
std::vector<UiWidgetIdRepair> RepairUiWidgetIds(UiDocumentAsset& document);

// The text form of the enumerations; an out-of-range value has the name of the first
// enumerator, but a widget type, which has "Spacer".
std::string_view UiWidgetTypeName(UiWidgetType type) noexcept;
[[nodiscard]] bool ParseUiWidgetType(std::string_view text, UiWidgetType* type) noexcept;

} // namespace Brelk::Assets
