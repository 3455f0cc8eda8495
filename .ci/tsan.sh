#!/usr/bin/env bash
# The core tests (logger, profiler, task system), the asset tests (with the asset loader's
# thread stress test) and the generator's tests (cells on the workers) under
# ThreadSanitizer, in a build folder of their own.
set -euo pipefail
cd "$(dirname "$0")/.."

# Kernels that randomise mmap with more bits than an older TSan runtime expects make it
# abort with "unexpected memory mapping". Without address randomisation it works everywhere,
# so run without it where the host lets us. The build needs it too: test discovery runs the
# instrumented executable.
norandom=()
if setarch "$(uname -m)" -R true 2>/dev/null; then
  norandom=(setarch "$(uname -m)" -R)
fi

export TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1 ${TSAN_OPTIONS:-}"

cmake -S . -B build-tsan \
  -DBRELK_SANITIZE=thread \
  -DBRELK_TEST_FILTER='brelk_(core|assets|worldgen_lib)_tests' \
  -DBRELK_BUILD_BENCH=OFF \
  -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_CXX_FLAGS_RELWITHDEBINFO="-O1 -g1 -DNDEBUG"
"${norandom[@]}" cmake --build build-tsan -j "$(nproc)" --target brelk_core_tests brelk_assets_tests brelk_worldgen_lib_tests
(cd build-tsan && "${norandom[@]}" ctest --output-on-failure)
