#pragma once

namespace Brelk::Scene {

// Fills the reflection and component tables: the asset types, then every component family
// in the fixed order that is also the order of records in every saved file, then validates
// the whole reflection table. Runs its body once per process; a failed run throws
// std::invalid_argument (std::logic_error for a registrar's misuse) and may be retried.
// Thread-safe, but meant for the main thread before any load.
void InstallComponents();

// True once InstallComponents has completed.
[[nodiscard]] bool ComponentsInstalled() noexcept;

} // namespace Brelk::Scene
