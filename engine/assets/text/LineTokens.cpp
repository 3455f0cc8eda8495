#include "engine/assets/text/LineTokens.h"

#include "engine/core/NumberText.h"

#include <charconv>
#include <cmath>

namespace Brelk::Assets {
namespace {

bool IsBlank(char c) noexcept { return c == ' ' || c == '\t' || c == '\r'; }

template <class T>
bool ParseWhole(std::string_view word, T* value) noexcept {
    if (word.empty()) return false;
    T parsed{};
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), parsed);
    if (error != std::errc() || end != word.data() + word.size()) return false;
    *value = parsed;
    return true;
}

} // namespace

void LineTokens::SkipBlanks() noexcept {
    while (position_ < text_.size() && IsBlank(text_[position_])) ++position_;
}

bool LineTokens::Word(std::string_view* word) noexcept {
    SkipBlanks();
    const std::size_t start = position_;
    while (position_ < text_.size() && !IsBlank(text_[position_])) ++position_;
    *word = text_.substr(start, position_ - start);
    return position_ > start;
}

bool LineTokens::Quoted(std::string* value) {
    SkipBlanks();
    if (position_ >= text_.size() || text_[position_] != '"') return false;
    std::size_t cursor = position_ + 1;
    value->clear();
    while (cursor < text_.size()) {
        const char c = text_[cursor++];
        if (c == '"') {
            position_ = cursor;
            return true;
        }
        if (c == '\\') {
            if (cursor >= text_.size()) return false;
            value->push_back(text_[cursor++]);
        } else {
            value->push_back(c);
        }
    }
    return false;
}

bool LineTokens::Float(float* value) noexcept {
    std::string_view word;
    return Word(&word) && ParseWhole(word, value);
}

bool LineTokens::I32(std::int32_t* value) noexcept {
    std::string_view word;
    return Word(&word) && ParseWhole(word, value);
}

bool LineTokens::U32(std::uint32_t* value) noexcept {
    std::string_view word;
    return Word(&word) && ParseWhole(word, value);
}

bool LineTokens::U64(std::uint64_t* value) noexcept {
    std::string_view word;
    return Word(&word) && ParseWhole(word, value);
}

bool LineTokens::Bit(bool* value) noexcept {
    std::string_view word;
    if (!Word(&word) || (word != "0" && word != "1")) return false;
    *value = word == "1";
    return true;
}

bool LineTokens::AtEnd() noexcept {
    SkipBlanks();
    return position_ >= text_.size();
}

std::string_view LineTokens::Rest() noexcept {
    SkipBlanks();
    return text_.substr(position_);
}

std::vector<std::string_view> SplitLines(std::string_view text) {
    std::vector<std::string_view> lines;
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t end = text.find('\n', start);
        if (end == std::string_view::npos) end = text.size();
        std::string_view line = text.substr(start, end - start);
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        lines.push_back(line);
        start = end + 1;
    }
    return lines;
}

void AppendQuoted(std::string& out, std::string_view value) {
    out.push_back('"');
    for (const char c : value) {
        if (c == '"' || c == '\\') out.push_back('\\');
        out.push_back(c);
    }
    out.push_back('"');
}

void AppendFloatField(std::string& out, float value) {
    out.push_back(' ');
    Core::AppendFloat9(out, value);
}

void AppendBitField(std::string& out, bool value) {
    out.push_back(' ');
    out.push_back(value ? '1' : '0');
}

} // namespace Brelk::Assets
