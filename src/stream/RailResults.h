// What the results of a rail become where an operation tells only two reasons of a failure apart. Where a result means
// something else, or must not be told, the operation has a rule of its own beside it.
#pragma once

#include "flowrail1.h"
#include "zefaline/base.h"

#include <cstdint>

namespace Quillmont::Trellis::Zefa
{
constexpr ZEFA_ERRORCODE TranslateRail(uint32_t railResult)
{
    switch (railResult)
    {
    case FLOW_RAIL_OK: return ZEFA_NO_ERROR;
    case FLOW_RAIL_BAD_STATE: return ZEFA_ERR_INCORRECT_STATE;
    case FLOW_RAIL_BAD_ARGUMENT: return ZEFA_ERR_BAD_ARGUMENT;
    default: return ZEFA_ERR_OPERATION_FAILED;
    }
}
} // namespace Quillmont::Trellis::Zefa
