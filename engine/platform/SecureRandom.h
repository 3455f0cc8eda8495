#pragma once

#include <cstddef>

namespace Brelk::Platform {

// Fills `buffer` from the system's preferred random generator, in chunks of at most
// 0x10000000 bytes. A size of 0 succeeds at once; false as soon as a chunk fails, and the
// buffer's content is then unspecified.
[[nodiscard]] bool SecureRandomBytes(void* buffer, std::size_t size) noexcept;

} // namespace Brelk::Platform
