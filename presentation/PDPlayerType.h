#pragma once

#include <cstdint>

/// A deck's side.
enum PDPlayerType : std::int64_t { PDLeftPlayer = 0, PDRightPlayer = 1 };
