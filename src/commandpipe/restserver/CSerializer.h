// CSerializer maps the plain wire records to the JSON documents of the service and back. A record that is sent has a
// ToJSON, one that is received a FromJSON; the caller picks the overload by the record that it holds. Everything is
// stateless: any thread may call at any time. Exceptions of the JSON library pass through.
#pragma once

#include "commandpipe/restserver/Enumerations.h"
#include "commandpipe/restserver/EssenceRecords.h"
#include "commandpipe/restserver/Records.h"
#include "commandpipe/restserver/ResultCode.h"

#include <cpprest/json.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace Quillmont::Trellis::CommandPipe::RestServer
{
class CSerializer
{
public:
    using Value = web::json::value;
    using CONFIG = Mxs::RtpEssence::CONFIG;
    using CONFIG_ST2110_20 = Mxs::RtpEssence::CONFIG_ST2110_20;
    using CONFIG_ST2110_30 = Mxs::RtpEssence::CONFIG_ST2110_30;
    using CONFIG_ST2110_40 = Mxs::RtpEssence::CONFIG_ST2110_40;
    using BIT_PROPERTIES = Mxs::RtpEssence::BIT_PROPERTIES;
    using STATUS = Mxs::RtpEssence::STATUS;
    using STATUS_ST2110_20 = Mxs::RtpEssence::STATUS_ST2110_20;
    using STATUS_ST2110_30 = Mxs::RtpEssence::STATUS_ST2110_30;
    using STATUS_ST2110_40 = Mxs::RtpEssence::STATUS_ST2110_40;
    using BUFFER_INFO = Mxs::RtpEssence::BUFFER_INFO;

    // By resource name ("ConductorShared", "ConductorMines", "NetIf", "CpuCore"): what stands in front of such an
    // identifier in a document. The library never fills it, so its identifiers travel bare. Not to be changed while
    // any thread writes a record.
    static std::map<std::string, std::string> URI_PREFIXES;

    // ---- writers: a new document in *out, which the caller frees with Delete. 5001: no memory, or `out` is null;
    // *out is then as it was. ----

    static RESULT_CODE ToJSON(const CONTEXT_IDENTITY& record, Value** out);
    static RESULT_CODE ToJSON(const CONDUCTOR_CREATE& record, Value** out);
    static RESULT_CODE ToJSON(const CONDUCTOR_CONFIG& record, Value** out);
    static RESULT_CODE ToJSON(const CONDUCTOR_STATE& record, Value** out);
    static RESULT_CODE ToJSON(const NET_IF_CONFIG& record, Value** out);
    static RESULT_CODE ToJSON(const PTP_CONFIG& record, Value** out);
    static RESULT_CODE ToJSON(const STREAM_CREATE& record, Value** out);
    // `shared` chooses the prefix of the conductor's identifier.
    static RESULT_CODE ToJSON(const STREAM_COMMON_CONFIG& record, Value** out, bool shared);
    static RESULT_CODE ToJSON(const STREAM_NETWORK_CONFIG& record, Value** out);
    static RESULT_CODE ToJSON(const CONNECTION_CONFIG& record, Value** out);
    static RESULT_CODE ToJSON(const STREAM_STATE& record, Value** out);
    // The wrapper of "Type" and "Data"; a record of no known essence type has no "Data".
    static RESULT_CODE ToJSON(const CONFIG& record, Value** out);
    static RESULT_CODE ToJSON(const CONFIG_ST2110_20& record, Value** out); // the content of "Data", as the next two
    static RESULT_CODE ToJSON(const CONFIG_ST2110_30& record, Value** out);
    static RESULT_CODE ToJSON(const CONFIG_ST2110_40& record, Value** out);
    static RESULT_CODE ToJSON(const BIT_PROPERTIES& record, Value** out);

    // A list as an array under `key` of the object *out, which is made first when `existing` is false. An empty list
    // leaves the key out.
    static RESULT_CODE ToJSON(const std::vector<uint32_t>& list, Value** out, const std::string& key, bool existing);
    static RESULT_CODE ToJSON(const std::vector<uint64_t>& list, Value** out, const std::string& key, bool existing);
    static RESULT_CODE ToJSON(const std::vector<CONNECTION_CONFIG>& list, Value** out, const std::string& key,
                              bool existing);

    // ---- readers: `existing` true fills the caller's record *out, false makes one with its defaults, which the
    // caller deletes. 5004: no object, or a mandatory key is missing, the record is then as it was. 5001: no memory or
    // null. A key of the wrong JSON type leaves its field as it was, and lists are appended to. ----

    static RESULT_CODE FromJSON(const Value& value, CONTEXT_LAST_ACCESS** out, bool existing);
    static RESULT_CODE FromJSON(const Value& value, CONTEXT_TTL** out, bool existing);
    static RESULT_CODE FromJSON(const Value& value, ServerError** out, bool existing);
    static RESULT_CODE FromJSON(const Value& value, MXS_STATUS** out, bool existing);
    static RESULT_CODE FromJSON(const Value& value, CONDUCTOR_CONFIG** out, bool existing);
    static RESULT_CODE FromJSON(const Value& value, CONDUCTOR_STATE** out, bool existing);
    static RESULT_CODE FromJSON(const Value& value, CONDUCTOR_STATUS** out, bool existing);
    static RESULT_CODE FromJSON(const Value& value, CPU_CORE_STATUS** out, bool existing);
    static RESULT_CODE FromJSON(const Value& value, NET_IF_CONFIG** out, bool existing);
    static RESULT_CODE FromJSON(const Value& value, NET_IF_STATUS** out, bool existing);
    static RESULT_CODE FromJSON(const Value& value, PTP_CONFIG** out, bool existing);
    static RESULT_CODE FromJSON(const Value& value, PTP_STATUS** out, bool existing);
    static RESULT_CODE FromJSON(const Value& value, STREAM_COMMON_CONFIG** out, bool existing);
    static RESULT_CODE FromJSON(const Value& value, STREAM_NETWORK_CONFIG** out, bool existing);
    static RESULT_CODE FromJSON(const Value& value, CONNECTION_CONFIG** out, bool existing);
    static RESULT_CODE FromJSON(const Value& value, STREAM_STATE** out, bool existing);
    static RESULT_CODE FromJSON(const Value& value, STREAM_COMMON_STATUS** out, bool existing);
    static RESULT_CODE FromJSON(const Value& value, STREAM_NETWORK_STATUS** out, bool existing);
    // The wrappers of "Type" and "Data". 5017: the document is of another essence than *out, or has no "Data". A type
    // that is none of the three gives 5000 and touches nothing.
    static RESULT_CODE FromJSON(const Value& value, CONFIG** out, bool existing);
    static RESULT_CODE FromJSON(const Value& value, STATUS** out, bool existing);

    // Nested records, always the caller's.
    static RESULT_CODE FromJSON(const Value& value, PROCESSING_STATUS* record);
    static RESULT_CODE FromJSON(const Value& value, NET_IF_CHARACTERISTICS* record);
    static RESULT_CODE FromJSON(const Value& value, PORT_IDENTITY* record);
    static RESULT_CODE FromJSON(const Value& value, uint64_t* clockIdentity); // the object around a clock identity
    static RESULT_CODE FromJSON(const Value& value, FLOW_RAIL_DESCRIPTOR* record);
    static RESULT_CODE FromJSON(const Value& value, CONFIG_ST2110_20* record);
    static RESULT_CODE FromJSON(const Value& value, CONFIG_ST2110_30* record);
    static RESULT_CODE FromJSON(const Value& value, CONFIG_ST2110_40* record);
    static RESULT_CODE FromJSON(const Value& value, BIT_PROPERTIES* record);
    static RESULT_CODE FromJSON(const Value& value, STATUS_ST2110_20* record);
    static RESULT_CODE FromJSON(const Value& value, STATUS_ST2110_30* record);
    static RESULT_CODE FromJSON(const Value& value, STATUS_ST2110_40* record);
    static RESULT_CODE FromJSON(const Value& value, BUFFER_INFO* record);

    // "Description" of a rail and "BufferInfo" of a status: the content is replaced.
    static RESULT_CODE FromJSON(const Value& value, std::multimap<std::string, std::string>* description);
    static RESULT_CODE FromJSON(const Value& value, std::map<uint32_t, BUFFER_INFO>* buffers);

    // The document of a list query: a new vector in *out, to be freed with Delete. 5001 without the key "ID", 5004 if
    // that is no array; *out is then as it was. Any number of identifiers comes through.
    static RESULT_CODE FromJSON(const Value& value, std::vector<uint64_t>** out);

    // The array under `key`: 5001 without it, 5004 for another type. Elements that do not parse are skipped. Those
    // that take the address of a pointer make the list, the others append; the result of the 64-bit list read in
    // place is that of its last element.
    static RESULT_CODE FromJSON(const Value& value, std::vector<uint64_t>** list, const std::string& key);
    static RESULT_CODE FromJSON(const Value& value, std::vector<utility::string_t>** list, const std::string& key);
    static RESULT_CODE FromJSON(const Value& value, std::vector<uint64_t>* list, const std::string& key);
    static RESULT_CODE FromJSON(const Value& value, std::vector<uint32_t>* list, const std::string& key);
    static RESULT_CODE FromJSON(const Value& value, std::vector<CONNECTION_CONFIG>* list, const std::string& key);

    // ---- what a reader or writer has made; null is allowed. Always 5000. ----

    static RESULT_CODE Delete(std::string* text);
    static RESULT_CODE Delete(std::vector<uint64_t>* list);
    static RESULT_CODE Delete(std::vector<utility::string_t>* list);
    static RESULT_CODE Delete(Value* value);
    static RESULT_CODE Delete(ServerError* error);

    // ---- identifiers: 16 lowercase hexadecimal digits ----

    static RESULT_CODE IdentifierToString(uint64_t id, utility::string_t* out);
    // With or without double quotes; what follows the number is ignored. 5004, and 0 in *out, for text that is no
    // number or too large; 5004 for null.
    static RESULT_CODE IdentifierFromString(const utility::string_t& text, uint64_t* out);

    // ---- enumerations. A value without a spelling is written as a signed decimal number, but for the essence type and
    // the stream type, which have a text for it. Null is 5004 for the essence type and the multicast mode, else 5000.
    // Reading takes the JSON text with its double quotes; an unknown spelling is 0. ----

    static RESULT_CODE EnumToString(CLOCK_TYPE value, utility::string_t* out);
    static RESULT_CODE EnumToString(ESSENCE_TYPE value, utility::string_t* out);
    static RESULT_CODE EnumToString(STREAM_TYPE value, utility::string_t* out);
    static RESULT_CODE EnumToString(CONDUCTOR_AVAILABILITY value, utility::string_t* out);
    static RESULT_CODE EnumToString(FLOW_RAIL_DESCRIPTOR_TYPE value, utility::string_t* out);
    static RESULT_CODE EnumToString(DUPLEX_TYPE value, utility::string_t* out);
    static RESULT_CODE EnumToString(MULTICAST_MODE value, utility::string_t* out);
    static RESULT_CODE EnumToString(DELAY_MECHANISM value, utility::string_t* out);
    static RESULT_CODE EnumToString(TIME_STAMPING value, utility::string_t* out);
    static RESULT_CODE EnumToString(BIT_DEPTH value, utility::string_t* out);
    static RESULT_CODE EnumToString(BIT_PADDING value, utility::string_t* out);
    static RESULT_CODE EnumToString(BIT_SAMPLING value, utility::string_t* out);
    static RESULT_CODE EnumToString(COLORIMETRY value, utility::string_t* out);
    static RESULT_CODE EnumToString(ENDIANNESS value, utility::string_t* out);
    static RESULT_CODE EnumToString(PACKING_MODE value, utility::string_t* out);
    static RESULT_CODE EnumToString(ENCODING value, utility::string_t* out);
    static RESULT_CODE EnumToString(PACKET_TIME value, utility::string_t* out);
    static RESULT_CODE EnumToString(SAMPLING_RATE value, utility::string_t* out);

    static RESULT_CODE EnumFromString(const utility::string_t& text, CLOCK_TYPE* out);
    static RESULT_CODE EnumFromString(const utility::string_t& text, ESSENCE_TYPE* out);
    static RESULT_CODE EnumFromString(const utility::string_t& text, CONDUCTOR_AVAILABILITY* out);
    static RESULT_CODE EnumFromString(const utility::string_t& text, FLOW_RAIL_DESCRIPTOR_TYPE* out);
    static RESULT_CODE EnumFromString(const utility::string_t& text, DUPLEX_TYPE* out);
    static RESULT_CODE EnumFromString(const utility::string_t& text, MULTICAST_MODE* out);
    static RESULT_CODE EnumFromString(const utility::string_t& text, DELAY_MECHANISM* out);
    static RESULT_CODE EnumFromString(const utility::string_t& text, PORT_STATE* out);
    static RESULT_CODE EnumFromString(const utility::string_t& text, TIME_STAMPING* out);
    static RESULT_CODE EnumFromString(const utility::string_t& text, BIT_DEPTH* out);
    static RESULT_CODE EnumFromString(const utility::string_t& text, BIT_PADDING* out);
    static RESULT_CODE EnumFromString(const utility::string_t& text, BIT_SAMPLING* out);
    static RESULT_CODE EnumFromString(const utility::string_t& text, COLORIMETRY* out);
    static RESULT_CODE EnumFromString(const utility::string_t& text, ENDIANNESS* out);
    static RESULT_CODE EnumFromString(const utility::string_t& text, PACKING_MODE* out); // both spellings read as 0
    static RESULT_CODE EnumFromString(const utility::string_t& text, ENCODING* out);
    static RESULT_CODE EnumFromString(const utility::string_t& text, PACKET_TIME* out);
    static RESULT_CODE EnumFromString(const utility::string_t& text, SAMPLING_RATE* out);
};
} // namespace Quillmont::Trellis::CommandPipe::RestServer
