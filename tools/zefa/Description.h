// What the library reads from a session description, or writes one from: the three structures as one, and their fields.
#pragma once

#include "Report.h"

#include <optional>
#include <string>
#include <vector>
#include <zefaline.h>

namespace zefa
{

struct Description
{
    ZEFA_STREAM_NETWORK_CONFIG Network;
    ZEFA_ESSENCE_CONFIG Essence;
    ZEFA_SDP_INFO Info;

    const ZEFA_ST2110_20_CONFIG& Video() const { return Essence.Essence_X.ST2110_20_X; }
    const ZEFA_ST2110_30_CONFIG& Audio() const { return Essence.Essence_X.ST2110_30_X; }
    const ZEFA_ST2110_40_CONFIG& Anc() const { return Essence.Essence_X.ST2110_40_X; }
    ZEFA_ST2110_20_CONFIG& Video() { return Essence.Essence_X.ST2110_20_X; }
    ZEFA_ST2110_30_CONFIG& Audio() { return Essence.Essence_X.ST2110_30_X; }
    ZEFA_ST2110_40_CONFIG& Anc() { return Essence.Essence_X.ST2110_40_X; }
};

// For the reader, which leaves a field as it is when the description does not say it: all bits of the essence and of
// the clocks set, a value that no constant has.
Description Unsaid();
inline constexpr uint32_t kUnsaid = 0xFFFFFFFF;

// The fields as a document; those that are unsaid are left out.
Json DocumentOf(const Description& description);

// The same as rows "name", "value": nested names are joined by dots.
Json FieldRows(const Json& document);

} // namespace zefa
