#!/usr/bin/env bash
# The core tests (logger, profiler, task system) and the asset tests (with the asset loader's
# thread stress test) under ThreadSanitizer, in a build folder of their own. With
# BRELK_TSAN_GENERATOR=1 the generator's tests (cells on the workers) join them; they need the
# whole scene layer built once more, which CI leaves to the full-suite runs in Release and
# under AddressSanitizer, to keep within its time.
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

targets=(brelk_core_tests brelk_assets_tests)
filter='brelk_(core|assets)_tests'
if [[ ${BRELK_TSAN_GENERATOR:-0} == 1 ]]; then
  targets+=(brelk_worldgen_lib_tests)
  filter='brelk_(core|assets|worldgen_lib)_tests'
fi

cmake -S . -B build-tsan \
  -DBRELK_SANITIZE=thread \
  -DBRELK_TEST_FILTER="$filter" \
  -DBRELK_BUILD_BENCH=OFF \
  -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_CXX_FLAGS_RELWITHDEBINFO="-O1 -g1 -DNDEBUG"
"${norandom[@]}" cmake --build build-tsan -j "$(nproc)" --target "${targets[@]}"
(cd build-tsan && "${norandom[@]}" ctest --output-on-failure)
