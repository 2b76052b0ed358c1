// The handle check.
#include "core/CHandle.h"

namespace Quillmont::Trellis::Zefa
{
CHandle::~CHandle() = default;

// What the handle points at is not known to be an object before the two tests: no run-time type check may come first.
__attribute__((no_sanitize("vptr"))) CHandle* CheckHandle(ZEFA_HANDLE handle, uint32_t typeTag,
                                                          uint32_t tagBits) noexcept
{
    auto* object = static_cast<CHandle*>(handle);
    if (!object || object->Magic != CHandle::kMagic) return nullptr;
    return (object->GetType() & tagBits) == (typeTag & tagBits) ? object : nullptr;
}
} // namespace Quillmont::Trellis::Zefa
