// The records of the PTP daemon. Their documents nest objects whose keys fill the one record: a place is the objects
// around a key and the key itself.
#include "RecordCheck.h"

#include <cstring>
#include <map>

namespace Quillmont::Trellis::CommandPipe::RestServer
{
namespace
{
struct Place
{
    std::vector<std::string> Around;
    std::string Key;
};

template <class Record>
struct PlaceRow
{
    Place At;
    std::string Json; // its kind
    bool Mandatory;
    void (*Keep)(Record& to, const Record& from); // what an ignored key leaves behind
    bool Group = false;                           // of any other kind it has no keys, and the document is no record
};

template <auto Member>
auto Row(std::vector<std::string> around, const char* key, const char* json)
{
    using Record = decltype(RecordOfMember(Member));
    return PlaceRow<Record>{
        {std::move(around), key}, json, true, [](Record& to, const Record& from) { to.*Member = from.*Member; }};
}

template <class Record>
PlaceRow<Record> GroupRow(std::vector<std::string> around, const char* key)
{
    return {{std::move(around), key}, "object", true, [](Record&, const Record&) {}, true};
}

value& ObjectAround(value& document, const Place& place)
{
    value* object = &document;
    for (const std::string& key : place.Around)
        object = &object->at(key);
    return *object;
}

size_t KeysOf(const value& document, const std::vector<std::string>& groups)
{
    size_t count = document.size();
    for (const std::string& group : groups)
        if (document.has_field(group)) count += KeysOf(document.at(group), groups);
    return count;
}

// `before` differs from `expected` in every field.
template <class Record>
void CheckNestedReader(const char* text, const Record& before, const Record& expected,
                       const std::vector<PlaceRow<Record>>& rows)
{
    const value document = Parsed(text);
    const auto check = [&](const value& read, RESULT_CODE expectedResult, const Record& expectedRecord)
    {
        Record record = before;
        EXPECT_EQ(ReadInto(read, &record), expectedResult);
        EXPECT_TRUE(record == expectedRecord);
    };
    std::vector<std::string> groups;
    for (const PlaceRow<Record>& row : rows)
        if (row.Group) groups.push_back(row.At.Key);
    ASSERT_EQ(KeysOf(document, groups), rows.size()) << "a row for each key";

    check(document, RESULT_NO_ERROR, expected);
    for (const PlaceRow<Record>& row : rows)
    {
        SCOPED_TRACE((row.At.Around.empty() ? "" : row.At.Around.back() + ".") + row.At.Key);
        Record kept = expected;
        row.Keep(kept, before);
        EXPECT_TRUE(row.Group || !(kept == expected)) << "before and after are the same";

        value missing = document;
        ObjectAround(missing, row.At).erase(row.At.Key);
        check(missing, row.Mandatory ? RESULT_INVALID_ARGUMENT : RESULT_NO_ERROR, row.Mandatory ? before : kept);

        value otherCase = document;
        value& around = ObjectAround(otherCase, row.At);
        std::string key = row.At.Key;
        const char first = key.front();
        key.front() = static_cast<char>(first >= 'a' ? first - 'a' + 'A' : first - 'A' + 'a');
        if (first > '9') around[key] = value::string("case counts");
        check(otherCase, RESULT_NO_ERROR, expected);

        for (const auto& [json, sample] : kJsonSamples)
        {
            if (row.Json == json) continue;
            SCOPED_TRACE(json);
            value mistyped = document;
            ObjectAround(mistyped, row.At)[row.At.Key] = Parsed(sample);
            check(mistyped, row.Group ? RESULT_INVALID_ARGUMENT : RESULT_NO_ERROR, row.Group ? before : kept);
        }
    }
    for (const auto& [json, sample] : kJsonSamples)
    {
        SCOPED_TRACE(std::string("no record: ") + json);
        check(Parsed(sample), RESULT_INVALID_ARGUMENT, before);
    }
    Record* made = nullptr;
    EXPECT_EQ(CSerializer::FromJSON(Parsed("{}"), &made, false), RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(made, nullptr);
    EXPECT_EQ(CSerializer::FromJSON(document, &made, true), RESULT_OPERATION_FAILED);
    EXPECT_EQ(CSerializer::FromJSON(document, static_cast<Record**>(nullptr), false), RESULT_OPERATION_FAILED);
    EXPECT_EQ(CSerializer::FromJSON(document, &made, false), RESULT_NO_ERROR);
    const std::unique_ptr<Record> owned(made);
    ASSERT_TRUE(owned);
    EXPECT_TRUE(*owned == expected);
}

constexpr char kConfig[] = R"({
    "InterfaceName": "eth0", "hybridMode": true, "TimeStamping": "HW",
    "DefaultDS": {"clockClass": 255, "clockAccuracy": 254, "offsetScaledLogVariance": 1000, "twoStepFlag": true,
                  "domainNumber": 127, "slaveOnly": true, "priority1": 300, "priority2": 129},
    "PortDS": {"logMinDelayReqInterval": -3, "logAnnounceInterval": 1, "announceReceiptTimeout": 3,
               "logSyncInterval": -4, "delayMechanism": "P2P", "logMinPdelayReqInterval": -5, "versionNumber": 2}})";

const PTP_CONFIG kConfigRead{.InterfaceName = "eth0",
                             .hybridMode = true,
                             .TimeStamping = 2,
                             .clockClass = 255,
                             .clockAccuracy = 254,
                             .offsetScaledLogVariance = 1000,
                             .twoStepFlag = true,
                             .domainNumber = 127,
                             .slaveOnly = true,
                             .priority1 = 44, // the low bits of 300
                             .priority2 = 129,
                             .logMinDelayReqInterval = -3,
                             .logAnnounceInterval = 1,
                             .announceReceiptTimeout = 3,
                             .logSyncInterval = -4,
                             .delayMechanism = 2,
                             .logMinPdelayReqInterval = -5,
                             .versionNumber = 2};

const PTP_CONFIG kConfigBefore{.InterfaceName = "a name before",
                               .hybridMode = false,
                               .TimeStamping = 77,
                               .clockClass = 77,
                               .clockAccuracy = 77,
                               .offsetScaledLogVariance = 77,
                               .twoStepFlag = false,
                               .domainNumber = 77,
                               .slaveOnly = false,
                               .priority1 = 77,
                               .priority2 = 77,
                               .logMinDelayReqInterval = 77,
                               .logAnnounceInterval = 77,
                               .announceReceiptTimeout = 77,
                               .logSyncInterval = 77,
                               .delayMechanism = 77,
                               .logMinPdelayReqInterval = 77,
                               .versionNumber = 77};

TEST(PtpConfig, ReadsEachKey)
{
    using C = PTP_CONFIG;
    const std::vector<std::string> defaultDs{"DefaultDS"}, portDs{"PortDS"};
    auto timeStamping = Row<&C::TimeStamping>({}, "TimeStamping", "string");
    timeStamping.Mandatory = false;
    CheckNestedReader<C>(kConfig, kConfigBefore, kConfigRead,
                         {{{{}, "InterfaceName"},
                           "string",
                           true,
                           [](C& to, const C&)
                           { std::memset(to.InterfaceName, 0, sizeof to.InterfaceName); }}, // cleared before the read
                          Row<&C::hybridMode>({}, "hybridMode", "boolean"),
                          timeStamping,
                          GroupRow<C>({}, "DefaultDS"),
                          Row<&C::clockClass>(defaultDs, "clockClass", "number"),
                          Row<&C::clockAccuracy>(defaultDs, "clockAccuracy", "number"),
                          Row<&C::offsetScaledLogVariance>(defaultDs, "offsetScaledLogVariance", "number"),
                          Row<&C::twoStepFlag>(defaultDs, "twoStepFlag", "boolean"),
                          Row<&C::domainNumber>(defaultDs, "domainNumber", "number"),
                          Row<&C::slaveOnly>(defaultDs, "slaveOnly", "boolean"),
                          Row<&C::priority1>(defaultDs, "priority1", "number"),
                          Row<&C::priority2>(defaultDs, "priority2", "number"),
                          GroupRow<C>({}, "PortDS"),
                          Row<&C::logMinDelayReqInterval>(portDs, "logMinDelayReqInterval", "number"),
                          Row<&C::logAnnounceInterval>(portDs, "logAnnounceInterval", "number"),
                          Row<&C::announceReceiptTimeout>(portDs, "announceReceiptTimeout", "number"),
                          Row<&C::logSyncInterval>(portDs, "logSyncInterval", "number"),
                          Row<&C::delayMechanism>(portDs, "delayMechanism", "string"),
                          Row<&C::logMinPdelayReqInterval>(portDs, "logMinPdelayReqInterval", "number"),
                          Row<&C::versionNumber>(portDs, "versionNumber", "number")});
}

TEST(PtpConfig, IsWrittenWithSignedNumbersAndReadsBackTheSame)
{
    const std::string written = Written(kConfigRead);
    EXPECT_EQ(written,
              R"({"DefaultDS":{"clockAccuracy":254,"clockClass":255,"domainNumber":127,"offsetScaledLogVariance":1000,)"
              R"("priority1":44,"priority2":129,"slaveOnly":true,"twoStepFlag":true},"InterfaceName":"eth0",)"
              R"("PortDS":{"announceReceiptTimeout":3,"delayMechanism":"P2P","logAnnounceInterval":1,)"
              R"("logMinDelayReqInterval":-3,"logMinPdelayReqInterval":-5,"logSyncInterval":-4,"versionNumber":2},)"
              R"("TimeStamping":"HW","hybridMode":true})");

    PTP_CONFIG back = kConfigBefore;
    EXPECT_EQ(ReadInto(Parsed(written), &back), RESULT_NO_ERROR);
    EXPECT_TRUE(back == kConfigRead);
}

TEST(PtpConfig, OfZerosIsWrittenWithTheNumbersOfEnumerationsThatHaveNoZero)
{
    PTP_CONFIG zero;
    EXPECT_EQ(zero.delayMechanism, 1u) << "what a record starts with";
    zero.delayMechanism = 0;

    EXPECT_EQ(Written(zero),
              R"({"DefaultDS":{"clockAccuracy":0,"clockClass":0,"domainNumber":0,"offsetScaledLogVariance":0,)"
              R"("priority1":0,"priority2":0,"slaveOnly":false,"twoStepFlag":false},"InterfaceName":"",)"
              R"("PortDS":{"announceReceiptTimeout":0,"delayMechanism":"0","logAnnounceInterval":0,)"
              R"("logMinDelayReqInterval":0,"logMinPdelayReqInterval":0,"logSyncInterval":0,"versionNumber":0},)"
              R"("TimeStamping":"0","hybridMode":false})");
    PTP_CONFIG back = kConfigBefore;
    EXPECT_EQ(ReadInto(Parsed(Written(zero)), &back), RESULT_NO_ERROR);
    EXPECT_TRUE(back == zero);
}

TEST(PtpConfig, MadeByTheReaderStartsFromZeroAndTheEndToEndMechanism)
{
    value document = Parsed(kConfig);
    for (auto& [key, member] : document.as_object())
        if (!member.is_object()) member = value::null();
    for (const char* group : {"DefaultDS", "PortDS"})
        for (auto& [key, member] : document[group].as_object())
            member = value::null();

    PTP_CONFIG* made = nullptr;
    EXPECT_EQ(CSerializer::FromJSON(document, &made, false), RESULT_NO_ERROR);
    const std::unique_ptr<PTP_CONFIG> owned(made);

    ASSERT_TRUE(owned);
    PTP_CONFIG expected{};
    expected.delayMechanism = 1;
    EXPECT_TRUE(*owned == expected);
}

TEST(PtpConfig, InterfaceNamesAreCutTo255BytesAtEitherEnd)
{
    for (const size_t length : {size_t{254}, size_t{255}, size_t{256}, size_t{70000}})
    {
        SCOPED_TRACE(length);
        value document = Parsed(kConfig);
        document["InterfaceName"] = value::string(std::string(length, 'n'));
        PTP_CONFIG config;
        EXPECT_EQ(ReadInto(document, &config), RESULT_NO_ERROR);
        EXPECT_EQ(config.InterfaceName, std::string(std::min<size_t>(length, 255), 'n'));
    }

    PTP_CONFIG unterminated;
    std::memset(unterminated.InterfaceName, 'n', sizeof unterminated.InterfaceName);
    EXPECT_EQ(Parsed(Written(unterminated))["InterfaceName"].as_string(), std::string(255, 'n'));
}

TEST(PtpConfig, InterfaceNameEndsAtItsZeroAndKeepsItsUtf8)
{
    value document = Parsed(kConfig);
    document["InterfaceName"] = Parsed(R"("eth\u00fc\u0000rest")");
    PTP_CONFIG config;

    EXPECT_EQ(ReadInto(document, &config), RESULT_NO_ERROR);

    PTP_CONFIG expected = kConfigRead;
    std::strcpy(expected.InterfaceName, "eth\xC3\xBC");
    EXPECT_TRUE(config == expected);
    EXPECT_EQ(Parsed(Written(config))["InterfaceName"].as_string(), "eth\xC3\xBC");
}

TEST(PtpConfig, UnknownSpellingsReadAsZero)
{
    value document = Parsed(kConfig);
    document["TimeStamping"] = value::string("hw");
    document["PortDS"]["delayMechanism"] = value::string("COMMON_P2P");
    PTP_CONFIG config;

    EXPECT_EQ(ReadInto(document, &config), RESULT_NO_ERROR);

    EXPECT_EQ(config.TimeStamping, 0u);
    EXPECT_EQ(config.delayMechanism, 0u);
}

constexpr char kPtpStatus[] = R"({
    "ParentDS": {"parentPortIdentity": {"clockIdentity": {"64bData": 11119088352254633834}, "portNumber": 258},
                 "parentStats": true, "observedParentOffsetScaledLogVariance": 65535,
                 "observedParentClockPhaseChangeRate": -2147483648,
                 "grandmasterIdentity": {"64bData": 18446744073709551615},
                 "gm": {"ClockClass": 6, "ClockAccuracy": 33, "OffsetScaledLogVariance": 20061},
                 "grandmasterPriority1": 64, "grandmasterPriority2": 65},
    "CurrentDS": {"stepsRemoved": 1, "offsetFromMaster": -391.5, "meanPathDelay": 2045.25},
    "PortDS": {"logMinDelayReqInterval": -3, "peerMeanPathDelay": 1953.5, "logAnnounceInterval": -2,
               "announceReceiptTimeout": 4, "logSyncInterval": -4, "delayMechanism": "P2P",
               "logMinPdelayReqInterval": -5, "versionNumber": 2,
               "portIdentity": {"clockIdentity": {"64bData": 10837062041085551827}, "portNumber": 1},
               "portState": "SLAVE"},
    "DefaultDS": {"numberPorts": 3, "clockClass": 255, "clockAccuracy": 254, "offsetScaledLogVariance": 1000,
                  "twoStepFlag": true, "domainNumber": 127, "slaveOnly": true, "priority1": 128, "priority2": 129,
                  "clockIdentity": {"64bData": 9007199254740993}},
    "TimePropertiesDS": {"currentUtcOffset": -37, "currentUtcOffsetValid": true, "leap59": true, "leap61": true,
                         "timeTraceable": true, "frequencyTraceable": true, "ptpTimescale": true, "timeSource": 160},
    "CurrentSystemTime": 1767225600123456789})";

const PTP_STATUS kStatusRead{.parentPortIdentity = {.clockIdentity = 11119088352254633834u, .portNumber = 258},
                             .parentStats = true,
                             .observedParentOffsetScaledLogVariance = 65535,
                             .observedParentClockPhaseChangeRate = INT32_MIN,
                             .grandmasterIdentity = UINT64_MAX,
                             .ClockClass = 6,
                             .ClockAccuracy = 33,
                             .OffsetScaledLogVariance = 20061,
                             .grandmasterPriority1 = 64,
                             .grandmasterPriority2 = 65,
                             .stepsRemoved = 1,
                             .offsetFromMaster = -391.5,
                             .meanPathDelay = 2045.25,
                             .logMinDelayReqInterval = -3,
                             .peerMeanPathDelay = 1953.5,
                             .logAnnounceInterval = -2,
                             .announceReceiptTimeout = 4,
                             .logSyncInterval = -4,
                             .delayMechanism = 2,
                             .logMinPdelayReqInterval = -5,
                             .versionNumber = 2,
                             .portIdentity = {.clockIdentity = 10837062041085551827u, .portNumber = 1},
                             .portState = 9,
                             .numberPorts = 3,
                             .clockClass = 255,
                             .clockAccuracy = 254,
                             .offsetScaledLogVariance = 1000,
                             .twoStepFlag = true,
                             .domainNumber = 127,
                             .slaveOnly = true,
                             .priority1 = 128,
                             .priority2 = 129,
                             .clockIdentity = 9007199254740993, // above 2 to the 53, where a double would lose a bit
                             .currentUtcOffset = -37,
                             .currentUtcOffsetValid = true,
                             .leap59 = true,
                             .leap61 = true,
                             .timeTraceable = true,
                             .frequencyTraceable = true,
                             .ptpTimescale = true,
                             .timeSource = 160,
                             .CurrentSystemTime = 1767225600123456789};

const PTP_STATUS kStatusBefore{.parentPortIdentity = {77, 77},
                               .parentStats = false,
                               .observedParentOffsetScaledLogVariance = 77,
                               .observedParentClockPhaseChangeRate = 77,
                               .grandmasterIdentity = 77,
                               .ClockClass = 77,
                               .ClockAccuracy = 77,
                               .OffsetScaledLogVariance = 77,
                               .grandmasterPriority1 = 77,
                               .grandmasterPriority2 = 77,
                               .stepsRemoved = 77,
                               .offsetFromMaster = 77,
                               .meanPathDelay = 77,
                               .logMinDelayReqInterval = 77,
                               .peerMeanPathDelay = 77,
                               .logAnnounceInterval = 77,
                               .announceReceiptTimeout = 77,
                               .logSyncInterval = 77,
                               .delayMechanism = 77,
                               .logMinPdelayReqInterval = 77,
                               .versionNumber = 77,
                               .portIdentity = {77, 77},
                               .portState = 77,
                               .numberPorts = 77,
                               .clockClass = 77,
                               .clockAccuracy = 77,
                               .offsetScaledLogVariance = 77,
                               .twoStepFlag = false,
                               .domainNumber = 77,
                               .slaveOnly = false,
                               .priority1 = 77,
                               .priority2 = 77,
                               .clockIdentity = 77,
                               .currentUtcOffset = 77,
                               .currentUtcOffsetValid = false,
                               .leap59 = false,
                               .leap61 = false,
                               .timeTraceable = false,
                               .frequencyTraceable = false,
                               .ptpTimescale = false,
                               .timeSource = 77,
                               .CurrentSystemTime = 77};

TEST(PtpStatus, ReadsEachKey)
{
    using S = PTP_STATUS;
    const std::vector<std::string> parent{"ParentDS"}, gm{"ParentDS", "gm"}, current{"CurrentDS"}, port{"PortDS"},
        own{"DefaultDS"}, time{"TimePropertiesDS"};
    CheckNestedReader<S>(
        kPtpStatus, kStatusBefore, kStatusRead,
        {GroupRow<S>({}, "ParentDS"),
         Row<&S::parentPortIdentity>(parent, "parentPortIdentity", "object"),
         Row<&S::parentStats>(parent, "parentStats", "boolean"),
         Row<&S::observedParentOffsetScaledLogVariance>(parent, "observedParentOffsetScaledLogVariance", "number"),
         Row<&S::observedParentClockPhaseChangeRate>(parent, "observedParentClockPhaseChangeRate", "number"),
         Row<&S::grandmasterIdentity>(parent, "grandmasterIdentity", "object"),
         GroupRow<S>(parent, "gm"),
         Row<&S::ClockClass>(gm, "ClockClass", "number"),
         Row<&S::ClockAccuracy>(gm, "ClockAccuracy", "number"),
         Row<&S::OffsetScaledLogVariance>(gm, "OffsetScaledLogVariance", "number"),
         Row<&S::grandmasterPriority1>(parent, "grandmasterPriority1", "number"),
         Row<&S::grandmasterPriority2>(parent, "grandmasterPriority2", "number"),
         GroupRow<S>({}, "CurrentDS"),
         Row<&S::stepsRemoved>(current, "stepsRemoved", "number"),
         Row<&S::offsetFromMaster>(current, "offsetFromMaster", "number"),
         Row<&S::meanPathDelay>(current, "meanPathDelay", "number"),
         GroupRow<S>({}, "PortDS"),
         Row<&S::logMinDelayReqInterval>(port, "logMinDelayReqInterval", "number"),
         Row<&S::peerMeanPathDelay>(port, "peerMeanPathDelay", "number"),
         Row<&S::logAnnounceInterval>(port, "logAnnounceInterval", "number"),
         Row<&S::announceReceiptTimeout>(port, "announceReceiptTimeout", "number"),
         Row<&S::logSyncInterval>(port, "logSyncInterval", "number"),
         Row<&S::delayMechanism>(port, "delayMechanism", "string"),
         Row<&S::logMinPdelayReqInterval>(port, "logMinPdelayReqInterval", "number"),
         Row<&S::versionNumber>(port, "versionNumber", "number"),
         Row<&S::portIdentity>(port, "portIdentity", "object"),
         Row<&S::portState>(port, "portState", "string"),
         GroupRow<S>({}, "DefaultDS"),
         Row<&S::numberPorts>(own, "numberPorts", "number"),
         Row<&S::clockClass>(own, "clockClass", "number"),
         Row<&S::clockAccuracy>(own, "clockAccuracy", "number"),
         Row<&S::offsetScaledLogVariance>(own, "offsetScaledLogVariance", "number"),
         Row<&S::twoStepFlag>(own, "twoStepFlag", "boolean"),
         Row<&S::domainNumber>(own, "domainNumber", "number"),
         Row<&S::slaveOnly>(own, "slaveOnly", "boolean"),
         Row<&S::priority1>(own, "priority1", "number"),
         Row<&S::priority2>(own, "priority2", "number"),
         Row<&S::clockIdentity>(own, "clockIdentity", "object"),
         GroupRow<S>({}, "TimePropertiesDS"),
         Row<&S::currentUtcOffset>(time, "currentUtcOffset", "number"),
         Row<&S::currentUtcOffsetValid>(time, "currentUtcOffsetValid", "boolean"),
         Row<&S::leap59>(time, "leap59", "boolean"),
         Row<&S::leap61>(time, "leap61", "boolean"),
         Row<&S::timeTraceable>(time, "timeTraceable", "boolean"),
         Row<&S::frequencyTraceable>(time, "frequencyTraceable", "boolean"),
         Row<&S::ptpTimescale>(time, "ptpTimescale", "boolean"),
         Row<&S::timeSource>(time, "timeSource", "number"),
         Row<&S::CurrentSystemTime>({}, "CurrentSystemTime", "number")});
}

TEST(PtpStatus, PortStatesAreSpelledInCapitals)
{
    const std::map<std::string, uint32_t> states{{"UNKNOWN", 0},  {"INITIALIZING", 1}, {"FAULTY", 2},
                                                 {"DISABLED", 3}, {"LISTENING", 4},    {"PRE_MASTER", 5},
                                                 {"MASTER", 6},   {"PASSIVE", 7},      {"UNCALIBRATED", 8},
                                                 {"SLAVE", 9},    {"slave", 0},        {"GRAND_MASTER", 0}};
    for (const auto& [text, state] : states)
    {
        value document = Parsed(kPtpStatus);
        document["PortDS"]["portState"] = value::string(text);
        PTP_STATUS status = kStatusBefore;
        EXPECT_EQ(ReadInto(document, &status), RESULT_NO_ERROR);
        EXPECT_EQ(status.portState, state) << text;
    }
}

TEST(PtpStatus, WholeNumbersAreDelaysToo)
{
    value document = Parsed(kPtpStatus);
    document["CurrentDS"]["offsetFromMaster"] = Parsed("-391");
    document["CurrentDS"]["meanPathDelay"] = Parsed("2045");
    document["PortDS"]["peerMeanPathDelay"] = Parsed("0");
    PTP_STATUS status;

    EXPECT_EQ(ReadInto(document, &status), RESULT_NO_ERROR);

    EXPECT_EQ(status.offsetFromMaster, -391.0);
    EXPECT_EQ(status.meanPathDelay, 2045.0);
    EXPECT_EQ(status.peerMeanPathDelay, 0.0);
}

TEST(PtpStatus, IdentitiesThatCannotBeReadAreLeftAsTheyWereAndFailNothing)
{
    struct Case
    {
        const char* Json;
        PORT_IDENTITY Expected;
    };
    const Case cases[] = {
        {"{}", {77, 77}},
        {R"({"portNumber": 5})", {77, 77}},
        {R"({"clockIdentity": {"64bData": 5}})", {77, 77}},
        {R"({"portNumber": 5, "clockIdentity": 6})", {77, 5}},
        {R"({"portNumber": 5, "clockIdentity": {"64BData": 6}})", {77, 5}},
        {R"({"portNumber": 5, "clockIdentity": {"64bData": "6"}})", {77, 5}},
        {R"({"portNumber": "5", "clockIdentity": {"64bData": 6.9}})", {6, 77}},
        {R"({"portNumber": 65541, "clockIdentity": {"64bData": 6, "more": 7}, "more": 8})", {6, 5}},
    };
    for (const Case& each : cases)
    {
        SCOPED_TRACE(each.Json);
        value document = Parsed(kPtpStatus);
        document["PortDS"]["portIdentity"] = Parsed(each.Json);
        PTP_STATUS status = kStatusBefore;
        EXPECT_EQ(ReadInto(document, &status), RESULT_NO_ERROR);
        PTP_STATUS expected = kStatusRead;
        expected.portIdentity = each.Expected;
        EXPECT_TRUE(status == expected);
    }
}

TEST(PortIdentity, Reads)
{
    const value document = Parsed(R"({"clockIdentity": {"64bData": 18446744073709551614}, "portNumber": 65535})");
    PORT_IDENTITY identity;
    EXPECT_EQ(CSerializer::FromJSON(document, &identity), RESULT_NO_ERROR);
    EXPECT_TRUE((identity == PORT_IDENTITY{18446744073709551614u, 65535}));

    EXPECT_EQ(CSerializer::FromJSON(Parsed(R"({"portNumber": 1})"), &identity), RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(CSerializer::FromJSON(Parsed(R"({"clockIdentity": {"64bData": 1}})"), &identity),
              RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(CSerializer::FromJSON(Parsed("1"), &identity), RESULT_INVALID_ARGUMENT);
    EXPECT_TRUE((identity == PORT_IDENTITY{18446744073709551614u, 65535}));
    EXPECT_EQ(CSerializer::FromJSON(document, static_cast<PORT_IDENTITY*>(nullptr)), RESULT_OPERATION_FAILED);
}

TEST(ClockIdentity, IsTheOneNumberOf64Bits)
{
    uint64_t identity = 77;
    EXPECT_EQ(CSerializer::FromJSON(Parsed(R"({"64bData": 9007199254740993})"), &identity), RESULT_NO_ERROR);
    EXPECT_EQ(identity, 9007199254740993u);
    EXPECT_EQ(CSerializer::FromJSON(Parsed(R"({"64bData": "1"})"), &identity), RESULT_NO_ERROR);
    EXPECT_EQ(identity, 9007199254740993u);
    for (const char* json : {"{}", R"({"64bdata": 1})", "1", "[1]", "null"})
        EXPECT_EQ(CSerializer::FromJSON(Parsed(json), &identity), RESULT_INVALID_ARGUMENT) << json;
    EXPECT_EQ(identity, 9007199254740993u);
    EXPECT_EQ(CSerializer::FromJSON(Parsed(R"({"64bData": 1})"), static_cast<uint64_t*>(nullptr)),
              RESULT_OPERATION_FAILED);
}
} // namespace
} // namespace Quillmont::Trellis::CommandPipe::RestServer
