#include "engine/core/Guid.h"

#include "engine/core/Hash.h"

#include <mutex>
#include <random>
#include <stdexcept>

namespace Brelk::Core {
namespace {

constexpr char kHexDigits[] = "0123456789abcdef";

int HexValue(char c) noexcept {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

bool IsHyphenIndex(std::size_t i) noexcept { return i == 8 || i == 13 || i == 18 || i == 23; }

class RandomSource {
public:
    RandomSource() {
        std::random_device device;
        std::seed_seq seeds{device(), device(), device(), device()};
        engine_.seed(seeds);
    }
    void Draw(std::uint64_t& a, std::uint64_t& b) {
        std::lock_guard lock(mutex_);
        a = engine_();
        b = engine_();
    }

private:
    std::mutex mutex_;
    std::mt19937_64 engine_;
};

} // namespace

Guid Guid::New() {
    static RandomSource source;
    std::uint64_t r1 = 0;
    std::uint64_t r2 = 0;
    source.Draw(r1, r2);
    return Guid{(r1 & 0xFFFFFFFFFFFF0FFFull) | 0x4000ull, (r2 & 0x3FFFFFFFFFFFFFFFull) | 0x8000000000000000ull};
}

Guid Guid::FromName(std::string_view text) noexcept {
    const std::uint64_t h1 = Fnv1a64(text);
    std::uint64_t h2 = kFnv1aPrime;
    for (auto it = text.rbegin(); it != text.rend(); ++it) {
        h2 ^= static_cast<unsigned char>(*it);
        h2 *= kFnv1aPrime;
    }
    return Guid{(h1 & 0xFFFFFFFFFFFF0FFFull) | 0x5000ull, (h2 & 0x3FFFFFFFFFFFFFFFull) | 0x8000000000000000ull};
}

Guid Guid::FromBytes(const std::array<std::uint8_t, 16>& bytes) noexcept {
    Guid guid;
    for (int i = 0; i < 8; ++i) {
        guid.high = (guid.high << 8) | bytes[i];
        guid.low = (guid.low << 8) | bytes[i + 8];
    }
    return guid;
}

std::array<std::uint8_t, 16> Guid::ToBytes() const noexcept {
    std::array<std::uint8_t, 16> bytes{};
    for (int i = 0; i < 8; ++i) {
        bytes[i] = static_cast<std::uint8_t>(high >> (56 - 8 * i));
        bytes[i + 8] = static_cast<std::uint8_t>(low >> (56 - 8 * i));
    }
    return bytes;
}

void Guid::ToChars(char* out) const noexcept {
    const auto bytes = ToBytes();
    for (int i = 0; i < 16; ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) *out++ = '-';
        *out++ = kHexDigits[bytes[i] >> 4];
        *out++ = kHexDigits[bytes[i] & 0xF];
    }
}

std::string Guid::ToString() const {
    std::string text(kTextLength, '\0');
    ToChars(text.data());
    return text;
}

std::optional<Guid> Guid::Parse(std::string_view text) noexcept {
    std::array<std::uint8_t, 16> bytes{};
    std::size_t digits = 0;
    int pending = -1;
    for (const char c : text) {
        if (c == '-') continue;
        if (digits == 32) return std::nullopt;
        const int value = HexValue(c);
        if (value < 0) return std::nullopt;
        if (pending < 0) {
            pending = value;
        } else {
            bytes[digits / 2] = static_cast<std::uint8_t>((pending << 4) | value);
            pending = -1;
        }
        ++digits;
    }
    if (digits != 32) return std::nullopt;
    return FromBytes(bytes);
}

Guid ParseStableGuid(std::string_view text) {
    if (text.empty()) return Guid{};
    if (text.size() != 32 && text.size() != 36) throw std::runtime_error("Invalid stable GUID length.");
    const bool hyphenated = text.size() == 36;
    if (hyphenated) {
        for (std::size_t i = 0; i < text.size(); ++i) {
            if (IsHyphenIndex(i) && text[i] != '-') throw std::runtime_error("Invalid stable GUID separator.");
        }
    }
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (hyphenated && IsHyphenIndex(i)) continue;
        if (HexValue(text[i]) < 0) throw std::runtime_error("Invalid stable GUID digit.");
    }
    const auto parsed = Guid::Parse(text);
    if (!parsed) throw std::runtime_error("Invalid stable GUID.");
    return *parsed;
}

std::uint64_t GuidHash(const Guid& guid) noexcept {
    auto hashWord = [](std::uint64_t word) {
        std::uint64_t hash = kFnv1aOffset;
        for (int i = 0; i < 8; ++i) {
            hash ^= (word >> (8 * i)) & 0xFF;
            hash *= kFnv1aPrime;
        }
        return hash;
    };
    const std::uint64_t a = hashWord(guid.high);
    const std::uint64_t b = hashWord(guid.low);
    return a ^ (0x9E3779B9ull + (a >> 2) + (a << 6) + b);
}

} // namespace Brelk::Core
