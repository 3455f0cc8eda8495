#include "engine/assets/cooked/CookedContainer.h"

#include "engine/platform/Files.h"

#include <xxhash.h>

#include <array>
#include <cstring>
#include <fstream>
#include <streambuf>

namespace Brelk::Assets {
namespace {

std::uint64_t LoadLittle(const std::uint8_t* bytes, int count) noexcept {
    std::uint64_t value = 0;
    for (int i = count - 1; i >= 0; --i) value = value << 8 | bytes[i];
    return value;
}

void StoreLittle(std::uint8_t* bytes, std::uint64_t value, int count) noexcept {
    for (int i = 0; i < count; ++i) bytes[i] = static_cast<std::uint8_t>(value >> (8 * i));
}

void SetError(std::string* error, std::string_view name, std::string_view reason) {
    if (error == nullptr) return;
    *error = "Invalid cooked file ";
    *error += name;
    *error += ": ";
    *error += reason;
}

// A read-only, seekable buffer over bytes it owns.
class MemoryStreamBuffer final : public std::streambuf {
public:
    explicit MemoryStreamBuffer(std::vector<char> bytes) : bytes_(std::move(bytes)) {
        char* begin = bytes_.data();
        setg(begin, begin, begin + bytes_.size());
    }

protected:
    pos_type seekoff(off_type offset, std::ios_base::seekdir direction, std::ios_base::openmode mode) override {
        if ((mode & std::ios_base::in) == 0) return pos_type(off_type(-1));
        off_type base = 0;
        if (direction == std::ios_base::cur) base = gptr() - eback();
        else if (direction == std::ios_base::end) base = static_cast<off_type>(bytes_.size());
        return seekpos(pos_type(base + offset), mode);
    }
    pos_type seekpos(pos_type position, std::ios_base::openmode mode) override {
        const off_type offset = position;
        if ((mode & std::ios_base::in) == 0 || offset < 0 || offset > static_cast<off_type>(bytes_.size())) {
            return pos_type(off_type(-1));
        }
        setg(eback(), eback() + offset, egptr());
        return position;
    }

private:
    std::vector<char> bytes_;
};

class MemoryStream final : public std::istream {
public:
    explicit MemoryStream(std::vector<char> bytes) : std::istream(nullptr), buffer_(std::move(bytes)) {
        rdbuf(&buffer_);
    }

private:
    MemoryStreamBuffer buffer_;
};

} // namespace

std::vector<std::uint8_t> WriteCookedContainer(std::uint32_t kind, std::uint32_t formatVersion,
                                               std::span<const std::uint8_t> payload) {
    std::vector<std::uint8_t> bytes(kCookedHeaderSize + payload.size());
    std::uint8_t* header = bytes.data();
    StoreLittle(header + 0, kCookedMagic, 4);
    StoreLittle(header + 4, kCookedContainerVersion, 2);
    StoreLittle(header + 6, kCookedHeaderSize, 2);
    StoreLittle(header + 8, kind, 4);
    StoreLittle(header + 12, formatVersion, 4);
    StoreLittle(header + 16, payload.size(), 8);
    StoreLittle(header + 24, Xxh64(payload), 8);
    // Bytes 32 to 39 are reserved and stay zero.
    if (!payload.empty()) std::memcpy(header + kCookedHeaderSize, payload.data(), payload.size());
    return bytes;
}

bool IsCookedFile(std::span<const std::uint8_t> bytes) noexcept {
    return bytes.size() >= 4 && LoadLittle(bytes.data(), 4) == kCookedMagic;
}

std::optional<CookedHeader> ParseCookedHeader(std::span<const std::uint8_t> bytes) noexcept {
    if (bytes.size() < kCookedHeaderSize) return std::nullopt;
    const std::uint8_t* data = bytes.data();
    CookedHeader header;
    header.magic = static_cast<std::uint32_t>(LoadLittle(data, 4));
    header.containerVersion = static_cast<std::uint16_t>(LoadLittle(data + 4, 2));
    header.headerSize = static_cast<std::uint16_t>(LoadLittle(data + 6, 2));
    if (header.magic != kCookedMagic || header.containerVersion != kCookedContainerVersion ||
        header.headerSize != kCookedHeaderSize) {
        return std::nullopt;
    }
    header.kind = static_cast<std::uint32_t>(LoadLittle(data + 8, 4));
    header.formatVersion = static_cast<std::uint32_t>(LoadLittle(data + 12, 4));
    header.payloadSize = LoadLittle(data + 16, 8);
    header.checksum = LoadLittle(data + 24, 8);
    return header;
}

std::optional<std::span<const std::uint8_t>> OpenCookedContainer(std::span<const std::uint8_t> bytes,
                                                                 std::uint32_t kind, std::uint32_t formatVersion,
                                                                 std::string_view name, std::string* error) {
    const std::optional<CookedHeader> header = ParseCookedHeader(bytes);
    if (!header) {
        SetError(error, name, "unknown header or container version.");
        return std::nullopt;
    }
    if (header->kind != kind) {
        SetError(error, name, "it holds a different kind of asset.");
        return std::nullopt;
    }
    if (header->formatVersion != formatVersion) {
        SetError(error, name,
                 "format version " + std::to_string(header->formatVersion) + ", expected " +
                     std::to_string(formatVersion) + "; recook the content.");
        return std::nullopt;
    }
    if (header->payloadSize != bytes.size() - kCookedHeaderSize) {
        SetError(error, name, "truncated or oversized payload.");
        return std::nullopt;
    }
    const std::span<const std::uint8_t> payload = bytes.subspan(kCookedHeaderSize);
    if (Xxh64(payload) != header->checksum) {
        SetError(error, name, "checksum mismatch (corrupt file).");
        return std::nullopt;
    }
    return payload;
}

std::optional<std::span<const std::uint8_t>> OpenCookedOrRaw(std::span<const std::uint8_t> bytes,
                                                             std::uint32_t kind, std::uint32_t formatVersion,
                                                             std::string_view name, std::string* error) {
    if (!IsCookedFile(bytes)) return bytes;
    return OpenCookedContainer(bytes, kind, formatVersion, name, error);
}

bool IsCookedFileOfKind(const std::filesystem::path& path, std::uint32_t kind) {
    std::ifstream file(path, std::ios::binary);
    if (!file) return false;
    std::array<char, kCookedHeaderSize> header{};
    file.read(header.data(), header.size());
    if (file.gcount() != static_cast<std::streamsize>(header.size())) return false;
    const auto parsed = ParseCookedHeader(std::span(reinterpret_cast<const std::uint8_t*>(header.data()), header.size()));
    return parsed && parsed->kind == kind;
}

std::unique_ptr<std::istream> OpenCookedOrRawStream(const std::filesystem::path& path, std::uint32_t kind,
                                                    std::uint32_t formatVersion, std::string* error) {
    const std::optional<std::vector<std::uint8_t>> bytes = Platform::ReadFileBytes(path, error);
    if (!bytes) return nullptr;
    const auto payload = OpenCookedOrRaw(*bytes, kind, formatVersion, Platform::PathToUtf8(path), error);
    if (!payload) return nullptr;
    return std::make_unique<MemoryStream>(std::vector<char>(payload->begin(), payload->end()));
}

std::uint64_t Xxh64(std::span<const std::uint8_t> bytes) noexcept {
    return XXH64(bytes.data(), bytes.size(), 0);
}

std::optional<std::uint64_t> HashFile(const std::filesystem::path& path, std::string* error) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        if (error) *error = "Failed to open file for hashing: " + Platform::PathToUtf8(path);
        return std::nullopt;
    }
    struct StateDeleter {
        void operator()(XXH64_state_t* state) const noexcept { XXH64_freeState(state); }
    };
    const std::unique_ptr<XXH64_state_t, StateDeleter> state(XXH64_createState());
    XXH64_reset(state.get(), 0);
    std::vector<char> buffer(262144);
    while (file) {
        file.read(buffer.data(), static_cast<std::streamsize>(buffer.size()));
        const std::streamsize got = file.gcount();
        if (got > 0) XXH64_update(state.get(), buffer.data(), static_cast<std::size_t>(got));
    }
    if (file.bad()) {
        if (error) *error = "Failed to read file for hashing: " + Platform::PathToUtf8(path);
        return std::nullopt;
    }
    return XXH64_digest(state.get());
}

std::string FormatHash(std::uint64_t hash) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text(16, '0');
    for (int i = 15; i >= 0; --i, hash >>= 4) text[static_cast<std::size_t>(i)] = kDigits[hash & 15];
    return text;
}

} // namespace Brelk::Assets
