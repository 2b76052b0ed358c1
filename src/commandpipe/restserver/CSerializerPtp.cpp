// The records of the PTP daemon. Their documents nest the data sets; keys are spelled as they stand here, also where
// two records differ in a capital.
#include "commandpipe/restserver/CSerializer.h"

#include "commandpipe/restserver/SerializerEngine.h"

#include <array>
#include <cstring>

namespace Quillmont::Trellis::CommandPipe::RestServer
{
namespace
{
constexpr char kClockIdentityKey[] = "64bData";

// A text in an array of a fixed size: cut, and zero-terminated at any rate.
struct NameText
{
    template <size_t Size>
    static void Read(const Value& value, char (&member)[Size])
    {
        if (!value.is_string()) return;
        const std::string text = utility::conversions::to_utf8string(value.as_string());
        const size_t length = strnlen(text.c_str(), Size - 1);
        std::memcpy(member, text.data(), length);
        member[length] = '\0';
    }
    template <size_t Size>
    static RESULT_CODE Write(Value& document, const char* key, const char (&member)[Size])
    {
        const std::string text(member, strnlen(member, Size - 1));
        document[key] = Value::string(utility::conversions::to_string_t(text));
        return RESULT_NO_ERROR;
    }
};
} // namespace

template <>
struct RecordTable<PTP_CONFIG>
{
    struct DefaultDs
    {
        static constexpr std::array mandatory{"clockAccuracy", "clockClass",  "domainNumber", "offsetScaledLogVariance",
                                              "slaveOnly",     "twoStepFlag", "priority1",    "priority2"};
        static constexpr std::array fields{
            Field<&PTP_CONFIG::clockAccuracy, Int32>("clockAccuracy"),
            Field<&PTP_CONFIG::clockClass, Int32>("clockClass"),
            Field<&PTP_CONFIG::domainNumber, Int32>("domainNumber"),
            Field<&PTP_CONFIG::offsetScaledLogVariance, Int32>("offsetScaledLogVariance"),
            Field<&PTP_CONFIG::slaveOnly, Boolean>("slaveOnly"),
            Field<&PTP_CONFIG::twoStepFlag, Boolean>("twoStepFlag"),
            Field<&PTP_CONFIG::priority1, Int32>("priority1"),
            Field<&PTP_CONFIG::priority2, Int32>("priority2"),
        };
    };

    struct PortDs
    {
        static constexpr std::array mandatory{
            "delayMechanism",          "logAnnounceInterval", "announceReceiptTimeout", "logMinDelayReqInterval",
            "logMinPdelayReqInterval", "logSyncInterval",     "versionNumber"};
        static constexpr std::array fields{
            Field<&PTP_CONFIG::announceReceiptTimeout, Int32>("announceReceiptTimeout"),
            Field<&PTP_CONFIG::logAnnounceInterval, Int32>("logAnnounceInterval"),
            Field<&PTP_CONFIG::logMinDelayReqInterval, Int32>("logMinDelayReqInterval"),
            Field<&PTP_CONFIG::logMinPdelayReqInterval, Int32>("logMinPdelayReqInterval"),
            Field<&PTP_CONFIG::logSyncInterval, Int32>("logSyncInterval"),
            Field<&PTP_CONFIG::versionNumber, Int32>("versionNumber"),
            Field<&PTP_CONFIG::delayMechanism, Enum<DELAY_MECHANISM>>("delayMechanism"),
        };
    };

    static constexpr std::array mandatory{"hybridMode", "InterfaceName", "DefaultDS", "PortDS"};
    static constexpr std::array fields{
        Field<&PTP_CONFIG::hybridMode, Boolean>("hybridMode"),
        Field<&PTP_CONFIG::InterfaceName, NameText>("InterfaceName"),
        Field<&PTP_CONFIG::TimeStamping, Enum<TIME_STAMPING>>("TimeStamping"),
        Group<PTP_CONFIG, DefaultDs>("DefaultDS"),
        Group<PTP_CONFIG, PortDs>("PortDS"),
    };

    // The name alone: nothing of an earlier, longer one stays behind, and a name that is no text reads as none.
    static void Clear(PTP_CONFIG& record) { std::memset(record.InterfaceName, 0, sizeof record.InterfaceName); }
};

template <>
struct RecordTable<PTP_STATUS> // the groups stand in the order in which their keys are tested
{
    struct PortDs
    {
        static constexpr std::array mandatory{"delayMechanism",
                                              "logAnnounceInterval",
                                              "announceReceiptTimeout",
                                              "logMinDelayReqInterval",
                                              "logMinPdelayReqInterval",
                                              "logSyncInterval",
                                              "versionNumber",
                                              "peerMeanPathDelay",
                                              "portIdentity",
                                              "portState"};
        static constexpr std::array fields{
            Field<&PTP_STATUS::logMinDelayReqInterval, Int32>("logMinDelayReqInterval"),
            Field<&PTP_STATUS::peerMeanPathDelay, Double>("peerMeanPathDelay"),
            Field<&PTP_STATUS::logAnnounceInterval, Int32>("logAnnounceInterval"),
            Field<&PTP_STATUS::announceReceiptTimeout, UInt32>("announceReceiptTimeout"),
            Field<&PTP_STATUS::logSyncInterval, Int32>("logSyncInterval"),
            Field<&PTP_STATUS::delayMechanism, Enum<DELAY_MECHANISM>>("delayMechanism"),
            Field<&PTP_STATUS::logMinPdelayReqInterval, Int32>("logMinPdelayReqInterval"),
            Field<&PTP_STATUS::versionNumber, UInt32>("versionNumber"),
            Field<&PTP_STATUS::portIdentity, Object>("portIdentity"),
            Field<&PTP_STATUS::portState, Enum<PORT_STATE>>("portState"),
        };
    };

    struct CurrentDs
    {
        static constexpr std::array mandatory{"offsetFromMaster", "meanPathDelay", "stepsRemoved"};
        static constexpr std::array fields{
            Field<&PTP_STATUS::stepsRemoved, UInt32>("stepsRemoved"),
            Field<&PTP_STATUS::offsetFromMaster, Double>("offsetFromMaster"),
            Field<&PTP_STATUS::meanPathDelay, Double>("meanPathDelay"),
        };
    };

    struct DefaultDs
    {
        static constexpr std::array mandatory{
            "clockAccuracy", "clockClass",   "domainNumber", "offsetScaledLogVariance",
            "slaveOnly",     "twoStepFlag",  "priority1",    "priority2",
            "numberPorts",   "clockIdentity"};
        static constexpr std::array fields{
            Field<&PTP_STATUS::numberPorts, UInt32>("numberPorts"),
            Field<&PTP_STATUS::clockClass, UInt32>("clockClass"),
            Field<&PTP_STATUS::clockAccuracy, UInt32>("clockAccuracy"),
            Field<&PTP_STATUS::offsetScaledLogVariance, UInt32>("offsetScaledLogVariance"),
            Field<&PTP_STATUS::twoStepFlag, Boolean>("twoStepFlag"),
            Field<&PTP_STATUS::domainNumber, UInt32>("domainNumber"),
            Field<&PTP_STATUS::slaveOnly, Boolean>("slaveOnly"),
            Field<&PTP_STATUS::priority1, UInt32>("priority1"),
            Field<&PTP_STATUS::priority2, UInt32>("priority2"),
            Field<&PTP_STATUS::clockIdentity, Object>("clockIdentity"),
        };
    };

    struct Grandmaster // capitals here, where the default data set has none
    {
        static constexpr std::array mandatory{"ClockAccuracy", "ClockClass", "OffsetScaledLogVariance"};
        static constexpr std::array fields{
            Field<&PTP_STATUS::ClockClass, UInt32>("ClockClass"),
            Field<&PTP_STATUS::ClockAccuracy, UInt32>("ClockAccuracy"),
            Field<&PTP_STATUS::OffsetScaledLogVariance, UInt32>("OffsetScaledLogVariance"),
        };
    };

    struct ParentDs
    {
        static constexpr std::array mandatory{"observedParentOffsetScaledLogVariance",
                                              "observedParentClockPhaseChangeRate",
                                              "parentStats",
                                              "gm",
                                              "grandmasterPriority1",
                                              "grandmasterPriority2",
                                              "parentPortIdentity",
                                              "grandmasterIdentity"};
        static constexpr std::array fields{
            Field<&PTP_STATUS::parentPortIdentity, Object>("parentPortIdentity"),
            Field<&PTP_STATUS::parentStats, Boolean>("parentStats"),
            Field<&PTP_STATUS::observedParentOffsetScaledLogVariance, UInt32>("observedParentOffsetScaledLogVariance"),
            Field<&PTP_STATUS::observedParentClockPhaseChangeRate, Int32>("observedParentClockPhaseChangeRate"),
            Field<&PTP_STATUS::grandmasterIdentity, Object>("grandmasterIdentity"),
            Group<PTP_STATUS, Grandmaster>("gm"),
            Field<&PTP_STATUS::grandmasterPriority1, UInt32>("grandmasterPriority1"),
            Field<&PTP_STATUS::grandmasterPriority2, UInt32>("grandmasterPriority2"),
        };
    };

    struct TimePropertiesDs
    {
        static constexpr std::array mandatory{
            "currentUtcOffset", "timeSource", "frequencyTraceable", "currentUtcOffsetValid", "ptpTimescale",
            "leap59",           "leap61",     "timeTraceable"};
        static constexpr std::array fields{
            Field<&PTP_STATUS::currentUtcOffset, Int32>("currentUtcOffset"),
            Field<&PTP_STATUS::currentUtcOffsetValid, Boolean>("currentUtcOffsetValid"),
            Field<&PTP_STATUS::leap59, Boolean>("leap59"),
            Field<&PTP_STATUS::leap61, Boolean>("leap61"),
            Field<&PTP_STATUS::timeTraceable, Boolean>("timeTraceable"),
            Field<&PTP_STATUS::frequencyTraceable, Boolean>("frequencyTraceable"),
            Field<&PTP_STATUS::ptpTimescale, Boolean>("ptpTimescale"),
            Field<&PTP_STATUS::timeSource, UInt32>("timeSource"),
        };
    };

    static constexpr std::array mandatory{"PortDS",   "CurrentDS",        "DefaultDS",
                                          "ParentDS", "TimePropertiesDS", "CurrentSystemTime"};
    static constexpr std::array fields{
        Group<PTP_STATUS, PortDs>("PortDS"),
        Group<PTP_STATUS, CurrentDs>("CurrentDS"),
        Group<PTP_STATUS, DefaultDs>("DefaultDS"),
        Group<PTP_STATUS, ParentDs>("ParentDS"),
        Group<PTP_STATUS, TimePropertiesDs>("TimePropertiesDS"),
        Field<&PTP_STATUS::CurrentSystemTime, UInt64>("CurrentSystemTime"),
    };
};

template <>
struct RecordTable<PORT_IDENTITY>
{
    static constexpr std::array mandatory{"portNumber", "clockIdentity"};
    static constexpr std::array fields{
        Field<&PORT_IDENTITY::clockIdentity, Object>("clockIdentity"),
        Field<&PORT_IDENTITY::portNumber, UInt32>("portNumber"),
    };
};

RESULT_CODE CSerializer::ToJSON(const PTP_CONFIG& record, Value** out)
{
    return Traced(kToJson, [&] { return WriteRecord(record, out); });
}

RESULT_CODE CSerializer::FromJSON(const Value& value, PTP_CONFIG** out, bool existing)
{
    return Traced(kFromJson, [&] { return ReadRecord(value, out, existing); });
}

RESULT_CODE CSerializer::FromJSON(const Value& value, PTP_STATUS** out, bool existing)
{
    return Traced(kFromJson, [&] { return ReadRecord(value, out, existing); });
}

RESULT_CODE CSerializer::FromJSON(const Value& value, PORT_IDENTITY* record)
{
    return Traced(kFromJson, [&] { return ReadNested(value, record); });
}

RESULT_CODE CSerializer::FromJSON(const Value& value, uint64_t* clockIdentity)
{
    return Traced(kFromJson,
                  [&]
                  {
                      const Value* const number = TryGetField(value, kClockIdentityKey);
                      if (!number) return RESULT_INVALID_ARGUMENT;
                      if (!clockIdentity) return RESULT_OPERATION_FAILED;
                      UInt64::Read(*number, *clockIdentity); // an integer keeps all of its 64 bits
                      return RESULT_NO_ERROR;
                  });
}
} // namespace Quillmont::Trellis::CommandPipe::RestServer
