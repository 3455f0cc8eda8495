#include "engine/assets/materials/MaterialLineCursor.h"

#include "engine/assets/materials/MaterialText.h"

#include <charconv>

namespace Brelk::Assets::detail {
namespace {

bool IsBlank(char c) noexcept {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\v' || c == '\f';
}

} // namespace

void MaterialLineCursor::SkipBlanks() noexcept {
    while (!rest_.empty() && IsBlank(rest_.front())) rest_.remove_prefix(1);
}

bool MaterialLineCursor::ReadWord(std::string_view* word) {
    SkipBlanks();
    std::size_t end = 0;
    while (end < rest_.size() && !IsBlank(rest_[end])) ++end;
    if (end == 0) return false;
    *word = rest_.substr(0, end);
    rest_.remove_prefix(end);
    return true;
}

bool MaterialLineCursor::ReadUnsigned(std::uint64_t* value) {
    SkipBlanks();
    std::size_t at = !rest_.empty() && rest_.front() == '+' ? 1 : 0;
    const auto result = std::from_chars(rest_.data() + at, rest_.data() + rest_.size(), *value);
    if (result.ec != std::errc()) return false;
    rest_.remove_prefix(static_cast<std::size_t>(result.ptr - rest_.data()));
    return true;
}

bool MaterialLineCursor::ReadInt(std::int64_t* value) {
    SkipBlanks();
    std::size_t at = !rest_.empty() && rest_.front() == '+' ? 1 : 0;
    const auto result = std::from_chars(rest_.data() + at, rest_.data() + rest_.size(), *value);
    if (result.ec != std::errc()) return false;
    rest_.remove_prefix(static_cast<std::size_t>(result.ptr - rest_.data()));
    return true;
}

bool MaterialLineCursor::ReadFloat(float* value) {
    return ReadMaterialNumber(rest_, value);
}

bool MaterialLineCursor::ReadQuoted(std::string* text) {
    SkipBlanks();
    if (rest_.empty()) return false;
    if (rest_.front() != '"') {
        std::string_view word;
        if (!ReadWord(&word)) return false;
        text->assign(word);
        return true;
    }
    text->clear();
    std::size_t at = 1;
    while (at < rest_.size() && rest_[at] != '"') {
        if (rest_[at] == '\\' && at + 1 < rest_.size()) ++at;
        *text += rest_[at];
        ++at;
    }
    rest_.remove_prefix(at < rest_.size() ? at + 1 : at);
    return true;
}

} // namespace Brelk::Assets::detail
