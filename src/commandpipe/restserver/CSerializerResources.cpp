// The records of conductors, CPU cores and network interfaces.
#include "commandpipe/restserver/CSerializer.h"

#include "commandpipe/restserver/SerializerEngine.h"

#include <array>

namespace Quillmont::Trellis::CommandPipe::RestServer
{
template <>
struct RecordTable<CONDUCTOR_CREATE>
{
    static constexpr std::array fields{
        Field<&CONDUCTOR_CREATE::Shared, Boolean>("Shared"),
        Field<&CONDUCTOR_CREATE::ID, Identifier>("ID"),
    };
};

template <>
struct RecordTable<CONDUCTOR_CONFIG>
{
    static constexpr std::array mandatory{"CpuCoreID"};
    static constexpr std::array fields{
        Field<&CONDUCTOR_CONFIG::CpuCoreID, CpuCoreIdentifier>("CpuCoreID"),
    };
};

template <>
struct RecordTable<CONDUCTOR_STATE>
{
    static constexpr std::array mandatory{"Started"};
    static constexpr std::array fields{
        Field<&CONDUCTOR_STATE::Started, Boolean>("Started"),
    };
};

template <>
struct RecordTable<CONDUCTOR_STATUS>
{
    static constexpr std::array mandatory{"Load", "Throughput", "TotalPacketTransferred"};
    static constexpr std::array fields{
        Field<&CONDUCTOR_STATUS::Throughput, UInt64>("Throughput"),
        Field<&CONDUCTOR_STATUS::Load, Double>("Load"),
        Field<&CONDUCTOR_STATUS::TotalPacketTransferred, UInt64>("TotalPacketTransferred"),
    };
};

template <>
struct RecordTable<CPU_CORE_STATUS>
{
    static constexpr std::array mandatory{"CoreId", "CoreUsage", "GroupId", "MaxSpeed", "NumaNode"};
    static constexpr std::array fields{
        Field<&CPU_CORE_STATUS::CoreId, UInt32>("CoreId"),
        Field<&CPU_CORE_STATUS::NumaNode, UInt32>("NumaNode"),
        Field<&CPU_CORE_STATUS::MaxSpeed, UInt32>("MaxSpeed"),
        Field<&CPU_CORE_STATUS::CoreUsage, UInt32>("CoreUsage"), // the low 8 bits
        Field<&CPU_CORE_STATUS::GroupId, UInt32>("GroupId"),
        Field<&CPU_CORE_STATUS::ConductorAvailability, Enum<CONDUCTOR_AVAILABILITY>>(
            "ConductorAvailability"), // may be missing
    };
};

template <>
struct RecordTable<NET_IF_CONFIG>
{
    static constexpr std::array mandatory{"SubnetMask", "IP"};
    static constexpr std::array fields{
        Field<&NET_IF_CONFIG::SubnetMask, UInt32>("SubnetMask"),
        Field<&NET_IF_CONFIG::IP, UInt32>("IP"),
    };
};

template <>
struct RecordTable<NET_IF_STATUS>
{
    static constexpr std::array mandatory{"Characteristics", "DownloadThroughput", "UploadThroughput"};
    static constexpr std::array fields{
        Field<&NET_IF_STATUS::Characteristics, Object>("Characteristics"),
        Field<&NET_IF_STATUS::UploadThroughput, UInt64>("UploadThroughput"),
        Field<&NET_IF_STATUS::DownloadThroughput, UInt64>("DownloadThroughput"),
    };
};

template <>
struct RecordTable<NET_IF_CHARACTERISTICS>
{
    static constexpr std::array mandatory{"DuplexType", "DriverVersion", "SystemName", "InterfaceIndex",
                                          "LinkSpeed",  "Mac",           "NumaNode",   "LinkStatus"};
    static constexpr std::array fields{
        Field<&NET_IF_CHARACTERISTICS::InterfaceIndex, UInt32>("InterfaceIndex"),
        Field<&NET_IF_CHARACTERISTICS::SystemName, Text>("SystemName"),
        Field<&NET_IF_CHARACTERISTICS::LinkSpeed, UInt32>("LinkSpeed"),
        Field<&NET_IF_CHARACTERISTICS::DuplexType, Enum<DUPLEX_TYPE>>("DuplexType"),
        Field<&NET_IF_CHARACTERISTICS::MTU, UInt32>("MTU"), // may be missing
        Field<&NET_IF_CHARACTERISTICS::DriverVersion, Text>("DriverVersion"),
        Field<&NET_IF_CHARACTERISTICS::NumaNode, UInt32>("NumaNode"),
        Field<&NET_IF_CHARACTERISTICS::Mac, UInt64>("Mac"),
        Field<&NET_IF_CHARACTERISTICS::LinkStatus, Boolean>("LinkStatus"),
    };
};

RESULT_CODE CSerializer::ToJSON(const CONDUCTOR_CREATE& record, Value** out)
{
    return Traced(kToJson, [&] { return WriteRecord(record, out); });
}

RESULT_CODE CSerializer::ToJSON(const CONDUCTOR_CONFIG& record, Value** out)
{
    return Traced(kToJson, [&] { return WriteRecord(record, out); });
}

RESULT_CODE CSerializer::ToJSON(const CONDUCTOR_STATE& record, Value** out)
{
    return Traced(kToJson, [&] { return WriteRecord(record, out); });
}

RESULT_CODE CSerializer::ToJSON(const NET_IF_CONFIG& record, Value** out)
{
    return Traced(kToJson, [&] { return WriteRecord(record, out); });
}

RESULT_CODE CSerializer::FromJSON(const Value& value, CONDUCTOR_CONFIG** out, bool existing)
{
    return Traced(kFromJson, [&] { return ReadRecord(value, out, existing); });
}

RESULT_CODE CSerializer::FromJSON(const Value& value, CONDUCTOR_STATE** out, bool existing)
{
    return Traced(kFromJson, [&] { return ReadRecord(value, out, existing); });
}

RESULT_CODE CSerializer::FromJSON(const Value& value, CONDUCTOR_STATUS** out, bool existing)
{
    return Traced(kFromJson, [&] { return ReadRecord(value, out, existing); });
}

RESULT_CODE CSerializer::FromJSON(const Value& value, CPU_CORE_STATUS** out, bool existing)
{
    return Traced(kFromJson, [&] { return ReadRecord(value, out, existing); });
}

RESULT_CODE CSerializer::FromJSON(const Value& value, NET_IF_CONFIG** out, bool existing)
{
    return Traced(kFromJson, [&] { return ReadRecord(value, out, existing); });
}

RESULT_CODE CSerializer::FromJSON(const Value& value, NET_IF_STATUS** out, bool existing)
{
    return Traced(kFromJson, [&] { return ReadRecord(value, out, existing); });
}

RESULT_CODE CSerializer::FromJSON(const Value& value, NET_IF_CHARACTERISTICS* record)
{
    return Traced(kFromJson, [&] { return ReadNested(value, record); });
}
} // namespace Quillmont::Trellis::CommandPipe::RestServer
