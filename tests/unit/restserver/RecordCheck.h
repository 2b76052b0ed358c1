// What every reader and writer must hold, checked once for all records: each test gives a document, the record that it
// makes, and a row for each key.
#pragma once

#include "commandpipe/restserver/CSerializer.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Quillmont::Trellis::CommandPipe::RestServer
{
using web::json::value;

inline value Parsed(const std::string& text)
{
    return value::parse(text);
}

// The kinds of JSON, with a value of each; those of another kind than a key's own must leave its field alone.
inline const std::pair<const char*, const char*> kJsonSamples[] = {
    {"number", "77"}, {"boolean", "true"}, {"string", "\"text\""}, {"object", "{}"}, {"array", "[]"}, {"null", "null"},
};

template <class Record>
struct KeyRow
{
    std::string Key;
    std::string Json; // its kind
    bool Mandatory;
    void (*Keep)(Record& to, const Record& from); // takes this key's field over
};

template <class Record, class Member>
Record RecordOfMember(Member Record::*);

template <auto Member>
auto MandatoryKey(const char* key, const char* json)
{
    using Record = decltype(RecordOfMember(Member));
    return KeyRow<Record>{key, json, true, [](Record& to, const Record& from) { to.*Member = from.*Member; }};
}

template <auto Member>
auto OptionalKey(const char* key, const char* json)
{
    auto row = MandatoryKey<Member>(key, json);
    row.Mandatory = false;
    return row;
}

template <class Record>
constexpr bool kHasFlag = requires(Record** out)
{
    CSerializer::FromJSON(value(), out, true);
};

template <class Record>
RESULT_CODE ReadInto(const value& document, Record* record)
{
    if constexpr (kHasFlag<Record>)
        return CSerializer::FromJSON(document, &record, true);
    else
        return CSerializer::FromJSON(document, record);
}

// `before` must differ from `expected` in every field, or a field that is wrongly taken would not be seen.
template <class Record>
void CheckReader(const char* text, const Record& before, const Record& expected,
                 const std::vector<KeyRow<Record>>& rows)
{
    const value document = Parsed(text);
    const auto check = [&](const value& read, RESULT_CODE expectedResult, const Record& expectedRecord)
    {
        Record record = before;
        EXPECT_EQ(ReadInto(read, &record), expectedResult);
        EXPECT_TRUE(record == expectedRecord);
    };
    ASSERT_EQ(document.size(), rows.size()) << "a row for each key";

    {
        SCOPED_TRACE("all keys, then one more that is unknown");
        check(document, RESULT_NO_ERROR, expected);
        value more = document;
        more["Unknown"] = value::number(1);
        more[utility::string_t("started")] = value::string("case counts");
        check(more, RESULT_NO_ERROR, expected);
    }
    value mandatoryOnly = document;
    Record withoutOptional = expected;
    for (const KeyRow<Record>& row : rows)
    {
        SCOPED_TRACE(row.Key);
        Record kept = expected;
        row.Keep(kept, before);
        EXPECT_FALSE(kept == expected) << "before and after are the same";

        value missing = document;
        missing.erase(row.Key);
        if (row.Mandatory)
            check(missing, RESULT_INVALID_ARGUMENT, before);
        else
        {
            check(missing, RESULT_NO_ERROR, kept);
            mandatoryOnly.erase(row.Key);
            row.Keep(withoutOptional, before);
        }
        for (const auto& [json, sample] : kJsonSamples)
        {
            if (row.Json == json) continue;
            SCOPED_TRACE(json);
            value mistyped = document;
            mistyped[row.Key] = Parsed(sample);
            check(mistyped, RESULT_NO_ERROR, kept);
        }
    }
    {
        SCOPED_TRACE("mandatory keys alone");
        check(mandatoryOnly, RESULT_NO_ERROR, withoutOptional);
    }
    for (const auto& [json, sample] : kJsonSamples)
    {
        SCOPED_TRACE(std::string("no record: ") + json);
        check(Parsed(sample), RESULT_INVALID_ARGUMENT, before);
    }
    if constexpr (kHasFlag<Record>)
    {
        SCOPED_TRACE("the reader makes the record");
        Record* made = nullptr;
        EXPECT_EQ(CSerializer::FromJSON(Parsed("{}"), &made, false), RESULT_INVALID_ARGUMENT);
        EXPECT_EQ(made, nullptr);
        EXPECT_EQ(CSerializer::FromJSON(document, &made, true), RESULT_OPERATION_FAILED);
        EXPECT_EQ(CSerializer::FromJSON(document, static_cast<Record**>(nullptr), true), RESULT_OPERATION_FAILED);
        EXPECT_EQ(CSerializer::FromJSON(document, static_cast<Record**>(nullptr), false), RESULT_OPERATION_FAILED);
        EXPECT_EQ(CSerializer::FromJSON(document, &made, false), RESULT_NO_ERROR);
        const std::unique_ptr<Record> owned(made);
        ASSERT_TRUE(owned);
        EXPECT_TRUE(*owned == expected);
    }
    else
    {
        SCOPED_TRACE("no record given");
        EXPECT_EQ(CSerializer::FromJSON(document, static_cast<Record*>(nullptr)), RESULT_OPERATION_FAILED);
    }
}

// The document of a record, as text with its keys in the library's order.
template <class Record, class... Extra>
std::string Written(const Record& record, Extra... extra)
{
    EXPECT_EQ(CSerializer::ToJSON(record, nullptr, extra...), RESULT_OPERATION_FAILED);
    value* document = nullptr;
    EXPECT_EQ(CSerializer::ToJSON(record, &document, extra...), RESULT_NO_ERROR);
    if (!document) return "nothing";
    const std::string text = document->serialize();
    EXPECT_EQ(CSerializer::Delete(document), RESULT_NO_ERROR);
    return text;
}

inline std::string Canonical(const char* text)
{
    return Parsed(text).serialize();
}
} // namespace Quillmont::Trellis::CommandPipe::RestServer
