// The HTTP status of each error code.
#include "mxs/Refusal.h"

namespace mxs
{

namespace
{

struct Row
{
    uint32_t code;
    unsigned status;
};

constexpr Row kRows[] = {
    {kNotImplemented, 501},
    {kIncorrectConfiguration, 400},
    {kInvalidArgument, 400},
    {kUnknownResource, 404},
    {kWrongState, 409},
    {kUnavailable, 503},
    {kBusy, 409},
    {kNotPermitted, 403},
    {kOfflineProperty, 409},
    {kUnknownConductor, 404},
    {kUnknownPortDrop, 404},
    {kMalformedToken, 401},
    {kBadPath, 404},
    {kForeignContext, 403},
    {kForeignResource, 403},
    {kTokenNeeded, 401},
    {kBadMethod, 405},
    {kContextRemoved, 401},
    {kEssenceMismatch, 409},
};

} // namespace

unsigned StatusOf(uint32_t errCode)
{
    for (const Row& row : kRows)
        if (row.code == errCode) return row.status;
    return 500;
}

} // namespace mxs
