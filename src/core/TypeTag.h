// The numbers by which a handle tells what kind of object it is. Their low 8 bits differ, since most handle checks
// compare no more than that.
#pragma once

#include <cstdint>

namespace Quillmont::Trellis::Zefa
{
inline constexpr uint32_t kContextTypeTag = 0x5A43; // CMxsContext
inline constexpr uint32_t kStreamTypeTag = 0x5A53;  // CStreamModel and every class derived from it

static_assert((kContextTypeTag & 0xFF) != (kStreamTypeTag & 0xFF));
} // namespace Quillmont::Trellis::Zefa
