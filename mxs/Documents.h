// Between JSON documents and records: every document that the service reads or writes, as a table of its keys.
#pragma once

#include "mxs/Records.h"

#include <nlohmann/json.hpp>

#include <string_view>

namespace mxs
{

using Json = nlohmann::json;

// Text of a request's body to JSON. Refuses (4) what is no JSON or nests deeper than any document does.
Json ParseDocument(std::string_view body);

Json ToDocument(const ContextLastAccess& record);
Json ToDocument(const ContextTtl& record);
Json ToDocument(const IdList& record);
Json ToDocument(const ServerError& record);
Json ToDocument(const ServiceStatus& record);
Json ToDocument(const ConductorConfig& record);
Json ToDocument(const ConductorState& record);
Json ToDocument(const ConductorStatus& record);
Json ToDocument(const CpuCoreStatus& record);
Json ToDocument(const InterfaceConfig& record);
Json ToDocument(const InterfaceStatus& record);
Json ToDocument(const media::CommonConfig& record);
Json ToDocument(const media::NetworkConfig& record);
Json ToDocument(const media::EssenceConfig& record);
Json ToDocument(const StreamState& record);
Json ToDocument(const StreamCommonStatus& record);
Json ToDocument(const EssenceStatus& record);
Json ToDocument(const media::NetworkCounters& record);

// Each fills the whole record or throws a Refusal (4) that names the key at fault.
void FromDocument(const Json& document, ContextIdentity& record);
void FromDocument(const Json& document, ConductorCreate& record);
void FromDocument(const Json& document, ConductorConfig& record);
void FromDocument(const Json& document, ConductorState& record);
void FromDocument(const Json& document, InterfaceConfig& record);
void FromDocument(const Json& document, StreamCreate& record);
void FromDocument(const Json& document, StreamState& record);
void FromDocument(const Json& document, media::CommonConfig& record);
void FromDocument(const Json& document, media::NetworkConfig& record);
// The record comes in with the stream's kind of essence; a document of another one is refused with 5017.
void FromDocument(const Json& document, media::EssenceConfig& record);

// Essence type 1, 2 or 3 of a configuration, and the default configuration of a type.
uint32_t EssenceTypeOf(const media::EssenceConfig& config);
media::EssenceConfig DefaultEssence(uint32_t essenceType);

} // namespace mxs
