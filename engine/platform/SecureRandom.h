#pragma once

#include <cstddef>
#include <string>

namespace Brelk::Platform {

// Fills `buffer` from the system's preferred random generator, in chunks of at most
// 0x10000000 bytes. A size of 0 succeeds at once; false as soon as a chunk fails, and the
// buffer's content is then unspecified.
[[nodiscard]] bool SecureRandomBytes(void* buffer, std::size_t size) noexcept;

// A fresh version-4 GUID in its 36-character text ("xxxxxxxx-xxxx-4xxx-yxxx-xxxxxxxxxxxx",
// lower case), for temporary names beside a file that must not collide across processes.
std::string RandomGuidText();

} // namespace Brelk::Platform
