// What structures are filled with before a reader gets them, so that a field that it leaves alone shows.
#pragma once

#include <cstdint>

inline constexpr int kUntouchedByte = 0x5A;
inline constexpr uint32_t kUntouched = 0x5A5A5A5A;
