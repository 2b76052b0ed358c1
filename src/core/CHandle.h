// Base of every object that an application holds by a handle, and the check that each exported function makes.
#pragma once

#include "core/TypeTag.h"
#include "zefaline/base.h"

#include <cstdint>

namespace Quillmont::Trellis::Zefa
{
// A class that is handed out declares `static constexpr uint32_t kTypeTag` and returns it from GetType; a class derived
// from it keeps the tag, so that one check lets both through. CHandle is the first base: the handle is its address.
class CHandle
{
public:
    static constexpr uint64_t kMagic = 0x004348414E444C45; // "ELDNAHC" and a NUL in memory

    CHandle() = default;
    CHandle(const CHandle&) = delete;
    CHandle& operator=(const CHandle&) = delete;
    virtual ~CHandle();

    virtual uint32_t GetType() const = 0;

    const uint64_t Magic = kMagic;
};

inline constexpr uint32_t kTagBits8 = 0xFF;
inline constexpr uint32_t kTagBits16 = 0xFFFF; // what the ancillary packet functions compare

// The object behind a handle, or null and a reason to answer ZEFA_ERR_INVALID_HANDLE. An address that never was a
// handle is read all the same: nothing keeps a list of those that live.
CHandle* CheckHandle(ZEFA_HANDLE handle, uint32_t typeTag, uint32_t tagBits) noexcept;

template <class T>
T* HandleCast(ZEFA_HANDLE handle, uint32_t tagBits = kTagBits8) noexcept
{
    return static_cast<T*>(CheckHandle(handle, T::kTypeTag, tagBits));
}

inline ZEFA_HANDLE ToHandle(CHandle* object) noexcept
{
    return object;
}
} // namespace Quillmont::Trellis::Zefa
