// What the fuzz targets assert. A broken property stops the run the way a crash does, so the
// fuzzer keeps the input that broke it as an artifact to replay.
#pragma once

namespace korvane::fuzz {

inline void check(bool holds) {
  if (!holds) __builtin_trap();
}

}  // namespace korvane::fuzz
