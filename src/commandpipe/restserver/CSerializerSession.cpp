// The records of a session: the service as a whole and the context.
#include "commandpipe/restserver/CSerializer.h"

#include "commandpipe/restserver/SerializerEngine.h"

#include <array>

namespace Quillmont::Trellis::CommandPipe::RestServer
{
template <>
struct RecordTable<CONTEXT_IDENTITY>
{
    static constexpr std::array fields{
        Field<&CONTEXT_IDENTITY::AppID, Identifier>("AppID"),
        Field<&CONTEXT_IDENTITY::ContextID, Identifier>("ContextID"),
    };
};

template <>
struct RecordTable<CONTEXT_LAST_ACCESS>
{
    static constexpr std::array mandatory{"LastAccess"};
    static constexpr std::array fields{
        Field<&CONTEXT_LAST_ACCESS::LastAccess, UInt64>("LastAccess"),
    };
};

template <>
struct RecordTable<CONTEXT_TTL>
{
    static constexpr std::array mandatory{"TTL"};
    static constexpr std::array fields{
        Field<&CONTEXT_TTL::TTL, UInt64>("TTL"),
    };
};

template <>
struct RecordTable<ServerError>
{
    static constexpr std::array mandatory{"ErrMsg", "ErrCode"};
    static constexpr std::array fields{
        Field<&ServerError::ErrMsg, Text>("ErrMsg"), Field<&ServerError::ErrCode, UInt64>("ErrCode"), // the low 32 bits
    };
};

template <>
struct RecordTable<MXS_STATUS>
{
    static constexpr std::array mandatory{"ProcessingStatus", "Initialized", "MxsVersion"};
    static constexpr std::array fields{
        Field<&MXS_STATUS::MxsVersion, UInt64>("MxsVersion"),
        Field<&MXS_STATUS::FlowRailVersion, UInt64>("FlowRailVersion"),
        Field<&MXS_STATUS::Initialized, Boolean>("Initialized"),
        Field<&MXS_STATUS::ProcessingStatus, Object>("ProcessingStatus"),
    };
};

template <>
struct RecordTable<PROCESSING_STATUS>
{
    static constexpr std::array mandatory{
        "GlobalLoad",      "JobCount",        "JobRate",        "MaximumProcessingTime", "MinimumProcessingTime",
        "MaximumWaitTime", "MinimumWaitTime", "ProcessingTime", "ThreadCount",           "WaitTime"};
    static constexpr std::array fields{
        Field<&PROCESSING_STATUS::ThreadCount, UInt32>("ThreadCount"),
        Field<&PROCESSING_STATUS::ProcessingTime, UInt64>("ProcessingTime"),
        Field<&PROCESSING_STATUS::WaitTime, UInt64>("WaitTime"),
        Field<&PROCESSING_STATUS::GlobalLoad, Double>("GlobalLoad"),
        Field<&PROCESSING_STATUS::MinimumWaitTime, UInt32>("MinimumWaitTime"),
        Field<&PROCESSING_STATUS::MaximumWaitTime, UInt32>("MaximumWaitTime"),
        Field<&PROCESSING_STATUS::MinimumProcessingTime, UInt32>("MinimumProcessingTime"),
        Field<&PROCESSING_STATUS::MaximumProcessingTime, UInt32>("MaximumProcessingTime"),
        Field<&PROCESSING_STATUS::JobRate, UInt32>("JobRate"),
        Field<&PROCESSING_STATUS::JobCount, UInt64>("JobCount"),
    };
};

RESULT_CODE CSerializer::ToJSON(const CONTEXT_IDENTITY& record, Value** out)
{
    return Traced(kToJson, [&] { return WriteRecord(record, out); });
}

RESULT_CODE CSerializer::FromJSON(const Value& value, CONTEXT_LAST_ACCESS** out, bool existing)
{
    return Traced(kFromJson, [&] { return ReadRecord(value, out, existing); });
}

RESULT_CODE CSerializer::FromJSON(const Value& value, CONTEXT_TTL** out, bool existing)
{
    return Traced(kFromJson, [&] { return ReadRecord(value, out, existing); });
}

RESULT_CODE CSerializer::FromJSON(const Value& value, ServerError** out, bool existing)
{
    return Traced(kFromJson, [&] { return ReadRecord(value, out, existing); });
}

RESULT_CODE CSerializer::FromJSON(const Value& value, MXS_STATUS** out, bool existing)
{
    return Traced(kFromJson, [&] { return ReadRecord(value, out, existing); });
}

RESULT_CODE CSerializer::FromJSON(const Value& value, PROCESSING_STATUS* record)
{
    return Traced(kFromJson, [&] { return ReadNested(value, record); });
}
} // namespace Quillmont::Trellis::CommandPipe::RestServer
