// The engine under Documents.cpp: one row for a key, with its writer and its reader. A reader throws a Refusal that
// names the key, with the path to it where it stands deeper.
#pragma once

#include "mxs/Enumerations.h"
#include "mxs/Identifiers.h"
#include "mxs/Refusal.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <limits>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace mxs::fields
{

using Json = nlohmann::json;

[[noreturn]] inline void RefuseKey(std::string_view key, const std::string& what)
{
    throw Refusal(kIncorrectConfiguration, "The key \"" + std::string(key) + "\" " + what + ".");
}

enum class Need
{
    Always,  // a document without the key is refused
    Optional // the record keeps what it has
};

template <class Record>
struct Field
{
    std::string_view key;
    Need need;
    void (*write)(Json& value, const Record& record);
    void (*read)(const Json& value, Record& record, const std::string& path);
};

template <class T>
struct MemberOf;
template <class Record, class Value>
struct MemberOf<Value Record::*>
{
    using RecordType = Record;
    using ValueType = Value;
};
template <auto Member>
using RecordOf = typename MemberOf<decltype(Member)>::RecordType;
template <auto Member>
using ValueOf = typename MemberOf<decltype(Member)>::ValueType;

// Unsigned number that fits the member; 3.0 is taken, 3.5 is not.
template <class Value>
Value ReadUnsigned(const Json& value, const std::string& path)
{
    constexpr uint64_t kLimit = std::numeric_limits<Value>::max();
    const std::string range = "is no whole number from 0 to " + std::to_string(kLimit);
    if (value.is_number_integer())
    {
        const bool negative = !value.is_number_unsigned() && value.get<int64_t>() < 0;
        if (negative || value.get<uint64_t>() > kLimit) RefuseKey(path, range);
        return static_cast<Value>(value.get<uint64_t>());
    }
    if (!value.is_number_float()) RefuseKey(path, range);
    const double number = value.get<double>();
    if (!(number >= 0) || number != std::floor(number) || number >= std::ldexp(1.0, std::numeric_limits<Value>::digits))
        RefuseKey(path, range);
    return static_cast<Value>(number);
}

// Whole number of either sign that fits the member; -3.0 is taken, -3.5 is not.
template <class Value>
Value ReadSigned(const Json& value, const std::string& path)
{
    constexpr double kLeast = std::numeric_limits<Value>::min(), kMost = std::numeric_limits<Value>::max();
    static_assert(sizeof(Value) <= 4, "a double holds each of its values");
    const double number = value.is_number() ? value.get<double>() : std::nan("");
    if (!(number >= kLeast && number <= kMost) || number != std::floor(number))
        RefuseKey(path, "is no whole number from " + std::to_string(std::numeric_limits<Value>::min()) + " to " +
                            std::to_string(std::numeric_limits<Value>::max()));
    return static_cast<Value>(number);
}

inline bool ReadFlag(const Json& value, const std::string& path)
{
    if (!value.is_boolean()) RefuseKey(path, "is no boolean");
    return value.get<bool>();
}

inline const std::string& ReadText(const Json& value, const std::string& path)
{
    if (!value.is_string()) RefuseKey(path, "is no string");
    return value.get_ref<const std::string&>();
}

// An identifier may arrive as a path that ends with it.
inline uint64_t ReadId(const Json& value, const std::string& path)
{
    const std::optional<uint64_t> id = ParseId(LastPathSegment(ReadText(value, path)));
    if (!id) RefuseKey(path, "is no identifier of 16 hexadecimal digits");
    return *id;
}

inline uint32_t ReadEnum(const Json& value, EnumTable table, const std::string& path)
{
    const std::string& text = ReadText(value, path);
    std::string known;
    for (const EnumText& row : table)
    {
        if (row.text == text) return row.value;
        known += (known.empty() ? "" : ", ") + std::string(row.text);
    }
    RefuseKey(path, "has an unknown value; known are " + known);
}

inline std::string_view EnumSpelling(uint32_t value, EnumTable table)
{
    for (const EnumText& row : table)
        if (row.value == value) return row.text;
    return {}; // no record of the service holds a value outside its table
}

inline const Json& ReadArray(const Json& value, size_t longest, const std::string& path)
{
    if (!value.is_array()) RefuseKey(path, "is no array");
    if (value.size() > longest) RefuseKey(path, "has more than " + std::to_string(longest) + " elements");
    return value;
}

template <auto Member>
constexpr Field<RecordOf<Member>> Number(std::string_view key, Need need = Need::Always)
{
    using Record = RecordOf<Member>;
    return {key, need, [](Json& value, const Record& record) { value = record.*Member; },
            [](const Json& value, Record& record, const std::string& path)
            {
                if constexpr (std::is_floating_point_v<ValueOf<Member>>)
                {
                    if (!value.is_number()) RefuseKey(path, "is no number");
                    record.*Member = value.get<ValueOf<Member>>();
                }
                else if constexpr (std::is_signed_v<ValueOf<Member>>)
                    record.*Member = ReadSigned<ValueOf<Member>>(value, path);
                else
                    record.*Member = ReadUnsigned<ValueOf<Member>>(value, path);
            }};
}

template <auto Member>
constexpr Field<RecordOf<Member>> Flag(std::string_view key, Need need = Need::Always)
{
    using Record = RecordOf<Member>;
    return {key, need, [](Json& value, const Record& record) { value = record.*Member; },
            [](const Json& value, Record& record, const std::string& path) { record.*Member = ReadFlag(value, path); }};
}

template <auto Member>
constexpr Field<RecordOf<Member>> Text(std::string_view key, Need need = Need::Always)
{
    using Record = RecordOf<Member>;
    return {key, need, [](Json& value, const Record& record) { value = record.*Member; },
            [](const Json& value, Record& record, const std::string& path) { record.*Member = ReadText(value, path); }};
}

template <auto Member>
constexpr Field<RecordOf<Member>> Id(std::string_view key, Need need = Need::Always)
{
    using Record = RecordOf<Member>;
    return {key, need, [](Json& value, const Record& record) { value = IdText(record.*Member); },
            [](const Json& value, Record& record, const std::string& path) { record.*Member = ReadId(value, path); }};
}

// The member is the enumeration, its number, or a boolean for a table of two.
template <auto Member, const auto& Table>
constexpr Field<RecordOf<Member>> Enum(std::string_view key, Need need = Need::Always)
{
    using Record = RecordOf<Member>;
    return {key, need,
            [](Json& value, const Record& record)
            { value = EnumSpelling(static_cast<uint32_t>(record.*Member), Table); },
            [](const Json& value, Record& record, const std::string& path)
            { record.*Member = static_cast<ValueOf<Member>>(ReadEnum(value, Table, path)); }};
}

// A list of numbers that travel as identifiers.
template <auto Member, size_t Longest>
constexpr Field<RecordOf<Member>> Ids(std::string_view key, Need need = Need::Always)
{
    using Record = RecordOf<Member>;
    using Element = typename ValueOf<Member>::value_type;
    return {key, need,
            [](Json& value, const Record& record)
            {
                value = Json::array();
                for (const Element element : record.*Member)
                    value.push_back(IdText(element));
            },
            [](const Json& value, Record& record, const std::string& path)
            {
                std::vector<Element> elements;
                for (const Json& entry : ReadArray(value, Longest, path))
                {
                    const std::string place = path + "[" + std::to_string(elements.size()) + "]";
                    const uint64_t id = ReadId(entry, place);
                    if (id > std::numeric_limits<Element>::max()) RefuseKey(place, "is too large");
                    elements.push_back(static_cast<Element>(id));
                }
                record.*Member = std::move(elements);
            }};
}

template <class Record, size_t Count>
Json WriteFields(const Field<Record> (&rows)[Count], const Record& record)
{
    Json document = Json::object();
    for (const Field<Record>& row : rows)
        row.write(document[std::string(row.key)], record);
    return document;
}

template <class Record, size_t Count>
void ReadFields(const Field<Record> (&rows)[Count], const Json& document, Record& record, const std::string& path)
{
    if (!document.is_object())
    {
        if (!path.empty()) RefuseKey(path, "is no object");
        throw Refusal(kIncorrectConfiguration, "The document is no JSON object.");
    }
    Record read = record; // handed over whole: a refusal leaves the caller's record as it was
    for (const Field<Record>& row : rows)
    {
        const std::string place = (path.empty() ? "" : path + ".") + std::string(row.key);
        const auto found = document.find(std::string(row.key));
        if (found != document.end())
            row.read(*found, read, place);
        else if (row.need == Need::Always)
            RefuseKey(place, "is missing");
    }
    record = std::move(read);
}

// A record inside a record, by the table of its keys.
template <auto Member, const auto& Rows>
constexpr Field<RecordOf<Member>> Nested(std::string_view key, Need need = Need::Always)
{
    using Record = RecordOf<Member>;
    return {key, need, [](Json& value, const Record& record) { value = WriteFields(Rows, record.*Member); },
            [](const Json& value, Record& record, const std::string& path)
            { ReadFields(Rows, value, record.*Member, path); }};
}

template <auto Member, const auto& Rows, size_t Longest>
constexpr Field<RecordOf<Member>> List(std::string_view key, Need need = Need::Always)
{
    using Record = RecordOf<Member>;
    using Element = typename ValueOf<Member>::value_type;
    return {key, need,
            [](Json& value, const Record& record)
            {
                value = Json::array();
                for (const Element& element : record.*Member)
                    value.push_back(WriteFields(Rows, element));
            },
            [](const Json& value, Record& record, const std::string& path)
            {
                std::vector<Element> elements;
                for (const Json& entry : ReadArray(value, Longest, path))
                {
                    Element element;
                    ReadFields(Rows, entry, element, path + "[" + std::to_string(elements.size()) + "]");
                    elements.push_back(std::move(element));
                }
                record.*Member = std::move(elements);
            }};
}

} // namespace mxs::fields
