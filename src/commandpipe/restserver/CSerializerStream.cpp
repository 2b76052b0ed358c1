// The records of a stream apart from its essence.
#include "commandpipe/restserver/CSerializer.h"

#include "commandpipe/restserver/SerializerEngine.h"

#include <array>

namespace Quillmont::Trellis::CommandPipe::RestServer
{
template <>
struct RecordTable<STREAM_CREATE>
{
    static constexpr std::array fields{
        Field<&STREAM_CREATE::ID, Identifier>("ID"),
        Field<&STREAM_CREATE::Essence, Int32>("Essence"), // the number, not its spelling
        Field<&STREAM_CREATE::Shared, Boolean>("Shared"),
        Field<&STREAM_CREATE::Type, Enum<STREAM_TYPE>>("Type"),
    };
};

template <>
struct RecordTable<STREAM_COMMON_CONFIG>
{
    static constexpr std::array mandatory{"ConductorID", "ApplicativeBufferQueueDepth", "NumaNode"};
    static constexpr std::array fields{
        Field<&STREAM_COMMON_CONFIG::ApplicativeBufferQueueDepth, UInt32>("ApplicativeBufferQueueDepth"),
        Field<&STREAM_COMMON_CONFIG::NumaNode, UInt32>("NumaNode"),
        Field<&STREAM_COMMON_CONFIG::CpuCores, List>("CpuCores"),
        Field<&STREAM_COMMON_CONFIG::ConductorID, PathIdentifier>(
            "ConductorID"), // written by the overload itself, which knows the prefix
    };
};

template <>
struct RecordTable<STREAM_NETWORK_CONFIG>
{
    static constexpr std::array mandatory{"SocketBufferSize", "PayloadType", "SSRC"};
    static constexpr std::array fields{
        Field<&STREAM_NETWORK_CONFIG::PayloadType, Int32>("PayloadType"),
        Field<&STREAM_NETWORK_CONFIG::SSRC, UInt32>("SSRC"),
        Field<&STREAM_NETWORK_CONFIG::SocketBufferSize, UInt32>("SocketBufferSize"),
        Field<&STREAM_NETWORK_CONFIG::ConnectionConfigurations, List>("ConnectionConfigurations"),
    };
};

template <>
struct RecordTable<CONNECTION_CONFIG>
{
    static constexpr std::array mandatory{"MulticastMode", "NetworkInterfaceID", "Dscp",        "SourceIp",
                                          "DestinationIp", "DestinationPort",    "MulticastTtl"};
    static constexpr std::array fields{
        Field<&CONNECTION_CONFIG::SourceIp, UInt32>("SourceIp"),
        Field<&CONNECTION_CONFIG::DestinationIp, UInt32>("DestinationIp"),
        Field<&CONNECTION_CONFIG::DestinationPort, Int32>("DestinationPort"), // the low 16 bits
        Field<&CONNECTION_CONFIG::Dscp, Int32>("Dscp"),
        Field<&CONNECTION_CONFIG::MulticastMode, Enum<MULTICAST_MODE>>("MulticastMode"),
        Field<&CONNECTION_CONFIG::MulticastTtl, Int32>("MulticastTtl"),
        Field<&CONNECTION_CONFIG::NetworkInterfaceID, NetIfIdentifier>("NetworkInterfaceID"),
        Field<&CONNECTION_CONFIG::MulticastSources, List>(
            "MulticastSources"), // 32-bit addresses, yet each travels as a 16-digit identifier
    };
};

template <>
struct RecordTable<STREAM_STATE>
{
    static constexpr std::array mandatory{"Started", "Opened"};
    static constexpr std::array fields{
        Field<&STREAM_STATE::Started, Boolean>("Started"),
        Field<&STREAM_STATE::Opened, Boolean>("Opened"),
    };
};

template <>
struct RecordTable<STREAM_COMMON_STATUS>
{
    static constexpr std::array mandatory{"FlowRailDescriptor", "MaxProcessingTime", "MinProcessingTime",
                                          "MeanProcessingTime", "ApplicativeBufferDelayed"};
    static constexpr std::array fields{
        Field<&STREAM_COMMON_STATUS::FlowRailDescriptor, Object>("FlowRailDescriptor"),
        Field<&STREAM_COMMON_STATUS::MinProcessingTime, UInt64>("MinProcessingTime"),
        Field<&STREAM_COMMON_STATUS::MaxProcessingTime, UInt64>("MaxProcessingTime"),
        Field<&STREAM_COMMON_STATUS::MeanProcessingTime, UInt64>("MeanProcessingTime"),
        Field<&STREAM_COMMON_STATUS::ApplicativeBufferDelayed, Boolean>("ApplicativeBufferDelayed"),
    };
};

template <>
struct RecordTable<FLOW_RAIL_DESCRIPTOR>
{
    static constexpr std::array mandatory{"Description", "Type"};
    static constexpr std::array fields{
        Field<&FLOW_RAIL_DESCRIPTOR::Type, Enum<FLOW_RAIL_DESCRIPTOR_TYPE>>("Type"),
        Field<&FLOW_RAIL_DESCRIPTOR::Description, Object>("Description"),
    };
};

template <>
struct RecordTable<STREAM_NETWORK_STATUS>
{
    static constexpr std::array mandatory{"DropCount",
                                          "LostPacketsCount",
                                          "UnderrunCount",
                                          "PacketsInDelaySituationCount",
                                          "BiggestDelaySituationDuringLastSec",
                                          "PayloadType",
                                          "ReceivedSSRC",
                                          "TotalTransferredPacketCount",
                                          "TotalProcessedPacketCount"};
    static constexpr std::array fields{
        Field<&STREAM_NETWORK_STATUS::TotalTransferredPacketCount, UInt64>("TotalTransferredPacketCount"),
        Field<&STREAM_NETWORK_STATUS::TotalProcessedPacketCount, UInt64>("TotalProcessedPacketCount"),
        Field<&STREAM_NETWORK_STATUS::DropCount, UInt64>("DropCount"),
        Field<&STREAM_NETWORK_STATUS::UnderrunCount, UInt64>("UnderrunCount"),
        Field<&STREAM_NETWORK_STATUS::LostPacketsCount, UInt64>("LostPacketsCount"),
        Field<&STREAM_NETWORK_STATUS::PacketsInDelaySituationCount, UInt64>("PacketsInDelaySituationCount"),
        Field<&STREAM_NETWORK_STATUS::BiggestDelaySituationDuringLastSec, UInt64>("BiggestDelaySituationDuringLastSec"),
        Field<&STREAM_NETWORK_STATUS::ReceivedSSRC, UInt32>("ReceivedSSRC"),
        Field<&STREAM_NETWORK_STATUS::PayloadType, UInt32>("PayloadType"),
    };
};

RESULT_CODE CSerializer::ToJSON(const STREAM_CREATE& record, Value** out)
{
    return Traced(kToJson, [&] { return WriteRecord(record, out); });
}

RESULT_CODE CSerializer::ToJSON(const STREAM_COMMON_CONFIG& record, Value** out, bool shared)
{
    return Traced(kToJson,
                  [&]
                  {
                      const RESULT_CODE result = WriteRecord(record, out);
                      if (result != RESULT_NO_ERROR) return result;
                      const char* const resource = shared ? "ConductorShared" : "ConductorMines";
                      (**out)["ConductorID"] = PrefixedIdentifierValue(resource, record.ConductorID);
                      return RESULT_NO_ERROR;
                  });
}

RESULT_CODE CSerializer::ToJSON(const STREAM_NETWORK_CONFIG& record, Value** out)
{
    return Traced(kToJson, [&] { return WriteRecord(record, out); });
}

RESULT_CODE CSerializer::ToJSON(const CONNECTION_CONFIG& record, Value** out)
{
    return Traced(kToJson, [&] { return WriteRecord(record, out); });
}

RESULT_CODE CSerializer::ToJSON(const STREAM_STATE& record, Value** out)
{
    return Traced(kToJson, [&] { return WriteRecord(record, out); });
}

RESULT_CODE CSerializer::FromJSON(const Value& value, STREAM_COMMON_CONFIG** out, bool existing)
{
    return Traced(kFromJson, [&] { return ReadRecord(value, out, existing); });
}

RESULT_CODE CSerializer::FromJSON(const Value& value, STREAM_NETWORK_CONFIG** out, bool existing)
{
    return Traced(kFromJson, [&] { return ReadRecord(value, out, existing); });
}

RESULT_CODE CSerializer::FromJSON(const Value& value, CONNECTION_CONFIG** out, bool existing)
{
    return Traced(kFromJson, [&] { return ReadRecord(value, out, existing); });
}

RESULT_CODE CSerializer::FromJSON(const Value& value, STREAM_STATE** out, bool existing)
{
    return Traced(kFromJson, [&] { return ReadRecord(value, out, existing); });
}

RESULT_CODE CSerializer::FromJSON(const Value& value, STREAM_COMMON_STATUS** out, bool existing)
{
    return Traced(kFromJson, [&] { return ReadRecord(value, out, existing); });
}

RESULT_CODE CSerializer::FromJSON(const Value& value, STREAM_NETWORK_STATUS** out, bool existing)
{
    return Traced(kFromJson, [&] { return ReadRecord(value, out, existing); });
}

RESULT_CODE CSerializer::FromJSON(const Value& value, FLOW_RAIL_DESCRIPTOR* record)
{
    return Traced(kFromJson, [&] { return ReadNested(value, record); });
}

RESULT_CODE CSerializer::FromJSON(const Value& value, std::multimap<std::string, std::string>* description)
{
    return Traced(kFromJson,
                  [&]
                  {
                      if (!description) return RESULT_OPERATION_FAILED;
                      if (!value.is_object()) return RESULT_INVALID_ARGUMENT;
                      description->clear();
                      for (const auto& [key, member] : value.as_object())
                      {
                          if (!member.is_array()) continue;
                          std::vector<utility::string_t>* made = nullptr;
                          const RESULT_CODE result = FromJSON(value, &made, key);
                          std::unique_ptr<std::vector<utility::string_t>> texts(made); // copying may raise
                          if (result == RESULT_NO_ERROR)
                              for (const utility::string_t& text : *texts)
                                  description->emplace(utility::conversions::to_utf8string(key),
                                                       utility::conversions::to_utf8string(text));
                          Delete(texts.release());
                      }
                      return RESULT_NO_ERROR;
                  });
}
} // namespace Quillmont::Trellis::CommandPipe::RestServer
