// The essence records: the wrapper of "Type" and "Data", and the content of "Data" for each essence.
#include "commandpipe/restserver/CSerializer.h"

#include "commandpipe/restserver/SerializerEngine.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <optional>

namespace Quillmont::Trellis::CommandPipe::RestServer
{
using namespace Mxs::RtpEssence;

template <>
struct RecordTable<BIT_PROPERTIES>
{
    static constexpr std::array mandatory{"BitDepth", "BitPadding", "BitSampling", "Endianness"};
    static constexpr std::array fields{
        Field<&BIT_PROPERTIES::BitDepth, Enum<BIT_DEPTH>>("BitDepth"),
        Field<&BIT_PROPERTIES::BitSampling, Enum<BIT_SAMPLING>>("BitSampling"),
        Field<&BIT_PROPERTIES::BitPadding, Enum<BIT_PADDING>>("BitPadding"),
        Field<&BIT_PROPERTIES::Endianness, Enum<ENDIANNESS>>("Endianness"),
    };
};

template <>
struct RecordTable<CONFIG_ST2110_20>
{
    static constexpr std::array mandatory{"AppBitProp", "ClockType",          "Colorimetry", "PackingMode_E",
                                          "Interlaced", "UseDefaultTrOffset", "FrameHeight", "FrameWidth",
                                          "Framerate",  "NetworkBitProp",     "TrOffset"};
    static constexpr std::array fields{
        Field<&CONFIG_ST2110_20::AppBitProp, Object>("AppBitProp"),
        Field<&CONFIG_ST2110_20::ClockType, Enum<CLOCK_TYPE>>("ClockType"),
        Field<&CONFIG_ST2110_20::Framerate, UInt32>("Framerate"),
        Field<&CONFIG_ST2110_20::Colorimetry, Enum<COLORIMETRY>>("Colorimetry"),
        Field<&CONFIG_ST2110_20::NetworkBitProp, Object>("NetworkBitProp"),
        Field<&CONFIG_ST2110_20::PackingMode_E, Enum<PACKING_MODE>>("PackingMode_E"),
        Field<&CONFIG_ST2110_20::Interlaced, Boolean>("Interlaced"),
        Field<&CONFIG_ST2110_20::FrameHeight, UInt32>("FrameHeight"),
        Field<&CONFIG_ST2110_20::FrameWidth, UInt32>("FrameWidth"),
        Field<&CONFIG_ST2110_20::TrOffset, UInt32>("TrOffset"),
        Field<&CONFIG_ST2110_20::UseDefaultTrOffset, Boolean>("UseDefaultTrOffset"),
    };
};

template <>
struct RecordTable<CONFIG_ST2110_30>
{
    static constexpr std::array mandatory{"ChannelNumber", "NbPacketsPerBuffer", "PacketTime", "Encoding",
                                          "SamplingRate"};
    static constexpr std::array fields{
        Field<&CONFIG_ST2110_30::ChannelNumber, UInt32>("ChannelNumber"),
        Field<&CONFIG_ST2110_30::Encoding, Enum<ENCODING>>("Encoding"),
        Field<&CONFIG_ST2110_30::NbPacketsPerBuffer, UInt32>("NbPacketsPerBuffer"),
        Field<&CONFIG_ST2110_30::PacketTime, Enum<PACKET_TIME>>("PacketTime"),
        Field<&CONFIG_ST2110_30::SamplingRate, Enum<SAMPLING_RATE>>("SamplingRate"),
    };
};

template <>
struct RecordTable<CONFIG_ST2110_40>
{
    static constexpr std::array mandatory{"ActiveFrameHeight", "ActiveFrameWidth", "ClockType",    "Framerate",
                                          "Interlaced",        "RawFrameHeight",   "RawFrameWidth"};
    static constexpr std::array fields{
        Field<&CONFIG_ST2110_40::ActiveFrameHeight, UInt32>("ActiveFrameHeight"),
        Field<&CONFIG_ST2110_40::ActiveFrameWidth, UInt32>("ActiveFrameWidth"),
        Field<&CONFIG_ST2110_40::ClockType, Enum<CLOCK_TYPE>>("ClockType"),
        Field<&CONFIG_ST2110_40::Framerate, UInt32>("Framerate"),
        Field<&CONFIG_ST2110_40::Interlaced, Boolean>("Interlaced"),
        Field<&CONFIG_ST2110_40::RawFrameHeight, UInt32>("RawFrameHeight"),
        Field<&CONFIG_ST2110_40::RawFrameWidth, UInt32>("RawFrameWidth"),
    };
};

template <>
struct RecordTable<BUFFER_INFO>
{
    static constexpr std::array mandatory{"Offset", "Size"};
    static constexpr std::array fields{
        Field<&BUFFER_INFO::Offset, UInt64>("Offset"),
        Field<&BUFFER_INFO::Size, UInt64>("Size"),
    };
};

namespace
{
// One row for each essence: what is made for its type and who reads its "Data". The cast checks the class of a record
// behind its type number.
template <class Base>
struct EssenceRow
{
    uint32_t Type;
    std::unique_ptr<Base> (*Make)();
    RESULT_CODE (*ReadData)(const Value& data, Base* record);
};

template <class Record, class Base>
constexpr EssenceRow<Base> Essence(uint32_t type)
{
    return {type, []() -> std::unique_ptr<Base> { return std::unique_ptr<Base>(new (std::nothrow) Record()); },
            [](const Value& data, Base* record) -> RESULT_CODE
            {
                Record* const derived = dynamic_cast<Record*>(record);
                return derived ? CSerializer::FromJSON(data, derived) : RESULT_ESSENCE_MISMATCH;
            }};
}

constexpr std::array kConfigs{
    Essence<CONFIG_ST2110_20, CONFIG>(ESSENCE_TYPE_ST2110_20),
    Essence<CONFIG_ST2110_30, CONFIG>(ESSENCE_TYPE_ST2110_30),
    Essence<CONFIG_ST2110_40, CONFIG>(ESSENCE_TYPE_ST2110_40),
};
constexpr std::array kStatuses{
    Essence<STATUS_ST2110_20, STATUS>(ESSENCE_TYPE_ST2110_20),
    Essence<STATUS_ST2110_30, STATUS>(ESSENCE_TYPE_ST2110_30),
    Essence<STATUS_ST2110_40, STATUS>(ESSENCE_TYPE_ST2110_40),
};

template <class Base, size_t Count>
const EssenceRow<Base>* FindEssence(const std::array<EssenceRow<Base>, Count>& rows, uint32_t type)
{
    for (const EssenceRow<Base>& row : rows)
        if (row.Type == type) return &row;
    return nullptr;
}

// The essence type of a wrapper; nothing if it is missing or no string.
std::optional<uint32_t> ReadType(const Value& value)
{
    const Value* const field = TryGetField(value, "Type");
    if (!field || !field->is_string()) return std::nullopt;
    ESSENCE_TYPE type = ESSENCE_TYPE_RESERVED;
    CSerializer::EnumFromString(field->serialize(), &type);
    return type;
}

// The record to fill, made first if it is not the caller's, and the "Data" that fits it.
template <class Base>
RESULT_CODE OpenWrapper(const Value& value, const EssenceRow<Base>& essence, Base** out, bool existing,
                        const Value*& data)
{
    if (!out || (existing && !*out)) return RESULT_OPERATION_FAILED;
    if (!existing)
    {
        std::unique_ptr<Base> made = essence.Make();
        if (!made) return RESULT_OPERATION_FAILED;
        *out = made.release(); // the caller's from here on, also if there is no "Data"
    }
    data = TryGetField(value, "Data");
    if (!data || !data->is_object() || (*out)->EssenceType != essence.Type) return RESULT_ESSENCE_MISMATCH;
    return RESULT_NO_ERROR;
}

RESULT_CODE ReadConfig(const Value& value, CONFIG** out, bool existing)
{
    const std::optional<uint32_t> type = ReadType(value);
    if (!type) return RESULT_INVALID_ARGUMENT;
    const EssenceRow<CONFIG>* const essence = FindEssence(kConfigs, *type);
    if (!essence) return RESULT_NO_ERROR; // nothing was read, and no record is made
    const Value* data = nullptr;
    const RESULT_CODE result = OpenWrapper(value, *essence, out, existing, data);
    if (result == RESULT_NO_ERROR) essence->ReadData(*data, *out); // a "Data" that lacks a key changes nothing
    return result;
}

int32_t ReadInt32(const Value& value, const char* key)
{
    const Value* const field = TryGetField(value, key);
    return field && field->is_number() ? static_cast<int32_t>(ToBits(field->as_number())) : 0;
}

RESULT_CODE ReadStatus(const Value& value, STATUS** out, bool existing)
{
    if (!value.has_field("Type") || !value.has_field("LockSize")) return RESULT_INVALID_ARGUMENT;
    const std::optional<uint32_t> type = ReadType(value);
    if (!type) return RESULT_INVALID_ARGUMENT;
    const EssenceRow<STATUS>* const essence = FindEssence(kStatuses, *type);
    if (!essence) return RESULT_NO_ERROR;
    const Value* data = nullptr;
    const RESULT_CODE result = OpenWrapper(value, *essence, out, existing, data);
    if (result != RESULT_NO_ERROR) return result;
    (*out)->LockSize = ReadInt32(value, "LockSize");
    (*out)->SlotDropped = ReadInt32(value, "SlotDropped");
    essence->ReadData(*data, *out);
    return RESULT_NO_ERROR;
}

// "Data" of a status holds the buffers alone.
RESULT_CODE ReadStatusData(const Value& value, STATUS* record)
{
    const Value* const buffers = TryGetField(value, "BufferInfo");
    if (!buffers) return RESULT_INVALID_ARGUMENT;
    if (!record) return RESULT_OPERATION_FAILED;
    if (buffers->is_object()) CSerializer::FromJSON(*buffers, &record->BufferInfo);
    return RESULT_NO_ERROR;
}

template <class Record>
RESULT_CODE WriteDataOf(const CONFIG& record, Value** data)
{
    const Record* const derived = dynamic_cast<const Record*>(&record);
    return derived ? CSerializer::ToJSON(*derived, data) : RESULT_NO_ERROR;
}

// "Data" of a configuration, by the record's type; nothing for a record of no known essence.
RESULT_CODE WriteData(const CONFIG& record, Value** data)
{
    switch (record.EssenceType)
    {
    case ESSENCE_TYPE_ST2110_20: return WriteDataOf<CONFIG_ST2110_20>(record, data);
    case ESSENCE_TYPE_ST2110_30: return WriteDataOf<CONFIG_ST2110_30>(record, data);
    case ESSENCE_TYPE_ST2110_40: return WriteDataOf<CONFIG_ST2110_40>(record, data);
    default: return RESULT_NO_ERROR;
    }
}

RESULT_CODE WriteConfig(const CONFIG& record, Value** out)
{
    if (!out) return RESULT_OPERATION_FAILED;
    std::unique_ptr<Value> document(new (std::nothrow) Value());
    if (!document) return RESULT_OPERATION_FAILED;
    Enum<ESSENCE_TYPE>::Write(*document, "Type", record.EssenceType);
    Value* data = nullptr;
    const RESULT_CODE result = WriteData(record, &data);
    if (result != RESULT_NO_ERROR) return result;
    if (data)
    {
        std::unique_ptr<Value> owned(data); // a new key may raise
        (*document)["Data"] = std::move(*owned);
        CSerializer::Delete(owned.release());
    }
    *out = document.release();
    return RESULT_NO_ERROR;
}
} // namespace

RESULT_CODE CSerializer::ToJSON(const CONFIG& record, Value** out)
{
    return Traced(kToJson, [&] { return WriteConfig(record, out); });
}

RESULT_CODE CSerializer::ToJSON(const CONFIG_ST2110_20& record, Value** out)
{
    return Traced(kToJson, [&] { return WriteRecord(record, out); });
}

RESULT_CODE CSerializer::ToJSON(const CONFIG_ST2110_30& record, Value** out)
{
    return Traced(kToJson, [&] { return WriteRecord(record, out); });
}

RESULT_CODE CSerializer::ToJSON(const CONFIG_ST2110_40& record, Value** out)
{
    return Traced(kToJson, [&] { return WriteRecord(record, out); });
}

RESULT_CODE CSerializer::ToJSON(const BIT_PROPERTIES& record, Value** out)
{
    return Traced(kToJson, [&] { return WriteRecord(record, out); });
}

RESULT_CODE CSerializer::FromJSON(const Value& value, CONFIG** out, bool existing)
{
    return Traced(kFromJson, [&] { return ReadConfig(value, out, existing); });
}

RESULT_CODE CSerializer::FromJSON(const Value& value, STATUS** out, bool existing)
{
    return Traced(kFromJson, [&] { return ReadStatus(value, out, existing); });
}

RESULT_CODE CSerializer::FromJSON(const Value& value, CONFIG_ST2110_20* record)
{
    return Traced(kFromJson, [&] { return ReadNested(value, record); });
}

RESULT_CODE CSerializer::FromJSON(const Value& value, CONFIG_ST2110_30* record)
{
    return Traced(kFromJson, [&] { return ReadNested(value, record); });
}

RESULT_CODE CSerializer::FromJSON(const Value& value, CONFIG_ST2110_40* record)
{
    return Traced(kFromJson, [&] { return ReadNested(value, record); });
}

RESULT_CODE CSerializer::FromJSON(const Value& value, BIT_PROPERTIES* record)
{
    return Traced(kFromJson, [&] { return ReadNested(value, record); });
}

RESULT_CODE CSerializer::FromJSON(const Value& value, STATUS_ST2110_20* record)
{
    return Traced(kFromJson, [&] { return ReadStatusData(value, record); });
}

RESULT_CODE CSerializer::FromJSON(const Value& value, STATUS_ST2110_30* record)
{
    return Traced(kFromJson, [&] { return ReadStatusData(value, record); });
}

RESULT_CODE CSerializer::FromJSON(const Value& value, STATUS_ST2110_40* record)
{
    return Traced(kFromJson, [&] { return ReadStatusData(value, record); });
}

RESULT_CODE CSerializer::FromJSON(const Value& value, BUFFER_INFO* record)
{
    return Traced(kFromJson, [&] { return ReadNested(value, record); });
}

RESULT_CODE CSerializer::FromJSON(const Value& value, std::map<uint32_t, BUFFER_INFO>* buffers)
{
    return Traced(kFromJson,
                  [&]
                  {
                      if (!buffers) return RESULT_OPERATION_FAILED;
                      if (!value.is_object()) return RESULT_INVALID_ARGUMENT;
                      buffers->clear();
                      for (const auto& [key, member] : value.as_object())
                      {
                          if (!member.is_object()) continue;
                          char* end = nullptr;
                          errno = 0;
                          const uint64_t number = std::strtoull(key.c_str(), &end, 10);
                          if (end == key.c_str() || errno == ERANGE) continue;
                          BUFFER_INFO info;
                          FromJSON(member, &info);
                          buffers->emplace(static_cast<uint32_t>(number), info); // the first of a number wins
                      }
                      return RESULT_NO_ERROR;
                  });
}
} // namespace Quillmont::Trellis::CommandPipe::RestServer
