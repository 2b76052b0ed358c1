// The engine of the serializer: a record is a table of rows (key, member, kind), and the templates here walk the rows.
// Only the sources of CSerializer include this file.
#pragma once

#include "commandpipe/restserver/CSerializer.h"
#include "commandpipe/restserver/Trace.h"
#include "logger/CFunctionTracer.h"

#include <memory>
#include <new>
#include <utility>

namespace Quillmont::Trellis::CommandPipe::RestServer
{
using Value = web::json::value;

inline constexpr char kToJson[] = "Quillmont::Trellis::CommandPipe::RestServer::CSerializer::ToJSON";
inline constexpr char kFromJson[] = "Quillmont::Trellis::CommandPipe::RestServer::CSerializer::FromJSON";
inline constexpr char kDelete[] = "Quillmont::Trellis::CommandPipe::RestServer::CSerializer::Delete";
inline constexpr char kEnumToString[] = "Quillmont::Trellis::CommandPipe::RestServer::CSerializer::EnumToString";
inline constexpr char kEnumFromString[] = "Quillmont::Trellis::CommandPipe::RestServer::CSerializer::EnumFromString";
inline constexpr char kIdentifierToString[] =
    "Quillmont::Trellis::CommandPipe::RestServer::CSerializer::IdentifierToString";
inline constexpr char kIdentifierFromString[] =
    "Quillmont::Trellis::CommandPipe::RestServer::CSerializer::IdentifierFromString";

// The frame of every operation: entry and exit trace around the body, whose result the exit line prints.
template <class Body>
RESULT_CODE Traced(const char* name, Body&& body)
{
    RESULT_CODE result = RESULT_NO_ERROR;
    CFunctionTracer tracer(name, TraceEntering, TraceExitingWith(result));
    return result = body();
}

// ---- conversions ----

// A number as 64 bits. Doubles are truncated toward zero; one that fits no 64-bit number reads as 0, where a plain
// cast would be undefined. Negative numbers keep their two's complement bits, so narrower fields take the low ones.
uint64_t ToBits(const web::json::number& number);

std::string WithoutQuotes(std::string text);

// The last "/" element of a text, "0" if it has none; a trailing separator makes no empty last element.
std::string LastPathSegment(const utility::string_t& text);

// The member of an object, or null; a value that is no object has no members.
const Value* TryGetField(const Value& value, const std::string& key);

// The document's text for an identifier, with the resource's prefix if URI_PREFIXES has one.
Value PrefixedIdentifierValue(const char* resource, uint64_t id);

// ---- kinds: Read takes a member's value of the document if its JSON type fits, Write puts the field under its key.
// A kind that lacks one of the two serves records of one direction. ----

struct UInt32
{
    template <class Member>
    static void Read(const Value& value, Member& member)
    {
        if (value.is_number()) member = static_cast<Member>(ToBits(value.as_number()));
    }
    static RESULT_CODE Write(Value& document, const char* key, uint32_t member)
    {
        document[key] = Value::number(member);
        return RESULT_NO_ERROR;
    }
};

struct Int32 // written through the signed overload, as all narrow fields are
{
    template <class Member>
    static void Read(const Value& value, Member& member)
    {
        UInt32::Read(value, member);
    }
    template <class Member>
    static RESULT_CODE Write(Value& document, const char* key, Member member)
    {
        document[key] = Value::number(static_cast<int32_t>(member));
        return RESULT_NO_ERROR;
    }
};

struct UInt64 // no record sends one
{
    template <class Member>
    static void Read(const Value& value, Member& member)
    {
        UInt32::Read(value, member);
    }
};

struct Double
{
    static void Read(const Value& value, double& member)
    {
        if (value.is_number()) member = value.as_double();
    }
};

struct Boolean
{
    static void Read(const Value& value, bool& member)
    {
        if (value.is_boolean()) member = value.as_bool();
    }
    static RESULT_CODE Write(Value& document, const char* key, bool member)
    {
        document[key] = Value::boolean(member);
        return RESULT_NO_ERROR;
    }
};

struct Text
{
    static void Read(const Value& value, std::string& member)
    {
        if (value.is_string()) member = utility::conversions::to_utf8string(value.as_string());
    }
};

template <class Enumeration>
struct Enum
{
    static void Read(const Value& value, uint32_t& member) requires requires(Enumeration* out)
    {
        CSerializer::EnumFromString(utility::string_t(), out);
    }
    {
        if (!value.is_string()) return;
        Enumeration enumerator{};
        CSerializer::EnumFromString(value.serialize(), &enumerator);
        member = enumerator;
    }
    static RESULT_CODE Write(Value& document, const char* key, uint32_t member) requires
        requires(utility::string_t* out)
    {
        CSerializer::EnumToString(Enumeration{}, out);
    }
    {
        utility::string_t text;
        CSerializer::EnumToString(static_cast<Enumeration>(member), &text);
        document[key] = Value::string(std::move(text));
        return RESULT_NO_ERROR;
    }
};

struct Identifier // sent only
{
    static RESULT_CODE Write(Value& document, const char* key, uint64_t member)
    {
        utility::string_t text;
        CSerializer::IdentifierToString(member, &text);
        document[key] = Value::string(std::move(text));
        return RESULT_NO_ERROR;
    }
};

struct PathIdentifier // may arrive as a path that ends in the identifier; what does not parse reads as 0
{
    static void Read(const Value& value, uint64_t& member)
    {
        if (value.is_string()) CSerializer::IdentifierFromString(LastPathSegment(value.serialize()), &member);
    }
};

struct CpuCoreIdentifier : PathIdentifier
{
    static RESULT_CODE Write(Value& document, const char* key, uint64_t member)
    {
        document[key] = PrefixedIdentifierValue("CpuCore", member);
        return RESULT_NO_ERROR;
    }
};

struct NetIfIdentifier : PathIdentifier
{
    static RESULT_CODE Write(Value& document, const char* key, uint64_t member)
    {
        document[key] = PrefixedIdentifierValue("NetIf", member);
        return RESULT_NO_ERROR;
    }
};

struct Object // a failure inside does not reach the outer result
{
    template <class Member>
    static void Read(const Value& value, Member& member)
    {
        if (value.is_object()) CSerializer::FromJSON(value, &member);
    }
    template <class Member>
    static RESULT_CODE Write(Value& document, const char* key, const Member& member) requires requires(Value** out)
    {
        CSerializer::ToJSON(member, out);
    }
    {
        Value* nested = nullptr;
        const RESULT_CODE result = CSerializer::ToJSON(member, &nested);
        if (result != RESULT_NO_ERROR) return result;
        std::unique_ptr<Value> owned(nested); // a new key may raise
        document[key] = std::move(*owned);
        CSerializer::Delete(owned.release());
        return RESULT_NO_ERROR;
    }
};

struct List // read by appending; the result of the list is dropped
{
    template <class Member>
    static void Read(const Value& document, const char* key, Member& member)
    {
        if (document.at(key).is_array()) CSerializer::FromJSON(document, &member, key);
    }
    template <class Member>
    static RESULT_CODE Write(Value& document, const char* key, const Member& member)
    {
        Value* target = &document;
        return CSerializer::ToJSON(member, &target, key, true);
    }
};

// ---- rows ----

template <class Record>
struct FieldRow
{
    const char* Key;
    void (*Read)(const Value& document, const char* key, const Value& value, Record& record);
    RESULT_CODE (*Write)(Value& document, const char* key, const Record& record);
    bool (*HasMandatoryKeys)(const Value& value) = nullptr; // of a group: its own keys, which are tested up front
};

template <class Record, class Member>
Record RecordOf(Member Record::*);

template <auto Member, class Kind>
constexpr auto Field(const char* key)
{
    using Record = decltype(RecordOf(Member));
    FieldRow<Record> row{key, nullptr, nullptr};
    if constexpr (requires(const Value& value, Record& record) { Kind::Read(value, record.*Member); })
        row.Read = [](const Value&, const char*, const Value& value, Record& record)
        { Kind::Read(value, record.*Member); };
    else if constexpr (requires(const Value& value, Record& record) { Kind::Read(value, "", record.*Member); })
        row.Read = [](const Value& document, const char* rowKey, const Value&, Record& record)
        { Kind::Read(document, rowKey, record.*Member); };
    if constexpr (requires(Value & document, const Record& record) { Kind::Write(document, "", record.*Member); })
        row.Write = [](Value& document, const char* rowKey, const Record& record)
        { return Kind::Write(document, rowKey, record.*Member); };
    return row;
}

// Specialised for each record: `mandatory`, keys in the order in which they are tested, for a record that is read, and
// `fields`, rows in the order in which they are written. A function `Clear`, where there is one, is called on a record
// that is about to be filled.
template <class Record>
struct RecordTable;

// ---- the walks ----

template <class Table, class Record>
RESULT_CODE WriteMembers(Value& document, const Record& record)
{
    for (const FieldRow<Record>& row : Table::fields)
    {
        if (!row.Write) continue;
        const RESULT_CODE result = row.Write(document, row.Key, record);
        if (result != RESULT_NO_ERROR) return result;
    }
    return RESULT_NO_ERROR;
}

template <class Record>
RESULT_CODE WriteRecord(const Record& record, Value** out)
{
    if (!out) return RESULT_OPERATION_FAILED;
    std::unique_ptr<Value> document(new (std::nothrow) Value());
    if (!document) return RESULT_OPERATION_FAILED;
    const RESULT_CODE result = WriteMembers<RecordTable<Record>>(*document, record);
    if (result != RESULT_NO_ERROR) return result;
    *out = document.release();
    return RESULT_NO_ERROR;
}

// False for the first mandatory key that is missing: those of the table, and then those of its groups.
template <class Table>
bool HasMandatoryKeys(const Value& value)
{
    for (const char* key : Table::mandatory)
        if (!value.has_field(key)) return false;
    for (const auto& row : Table::fields)
        if (row.HasMandatoryKeys && !row.HasMandatoryKeys(value.at(row.Key))) return false;
    return true;
}

template <class Table, class Record>
void ReadMembers(const Value& value, Record& record)
{
    for (const auto& [key, member] : value.as_object())
        for (const FieldRow<Record>& row : Table::fields)
            if (row.Read && key == row.Key)
            {
                row.Read(value, row.Key, member, record);
                break;
            }
}

// Every record has a mandatory key, so the value is an object here.
template <class Record>
void FillRecord(const Value& value, Record& record)
{
    if constexpr (requires { RecordTable<Record>::Clear(record); }) RecordTable<Record>::Clear(record);
    ReadMembers<RecordTable<Record>>(value, record);
}

// An object of the document whose keys fill members of the record around it: only the document nests them. Its key is
// a mandatory one, and a document that lacks a mandatory key of a group is no record.
template <class Record, class Table>
constexpr FieldRow<Record> Group(const char* key)
{
    FieldRow<Record> row{key, nullptr, nullptr, &HasMandatoryKeys<Table>};
    row.Read = [](const Value&, const char*, const Value& value, Record& record)
    {
        if (value.is_object()) ReadMembers<Table>(value, record);
    };
    row.Write = [](Value& document, const char* rowKey, const Record& record)
    {
        Value group = Value::object();
        const RESULT_CODE result = WriteMembers<Table>(group, record);
        if (result == RESULT_NO_ERROR) document[rowKey] = std::move(group);
        return result;
    };
    return row;
}

template <class Record>
RESULT_CODE ReadNested(const Value& value, Record* record)
{
    if (!HasMandatoryKeys<RecordTable<Record>>(value)) return RESULT_INVALID_ARGUMENT;
    if (!record) return RESULT_OPERATION_FAILED;
    FillRecord(value, *record);
    return RESULT_NO_ERROR;
}

template <class Record>
RESULT_CODE ReadRecord(const Value& value, Record** out, bool existing)
{
    static_assert(RecordTable<Record>::mandatory.size() > 0, "nothing else tests that the value is an object");
    if (!HasMandatoryKeys<RecordTable<Record>>(value)) return RESULT_INVALID_ARGUMENT;
    if (!out || (existing && !*out)) return RESULT_OPERATION_FAILED;
    if (existing)
    {
        FillRecord(value, **out);
        return RESULT_NO_ERROR;
    }
    std::unique_ptr<Record> made(new (std::nothrow) Record());
    if (!made) return RESULT_OPERATION_FAILED;
    FillRecord(value, *made);
    *out = made.release();
    return RESULT_NO_ERROR;
}
} // namespace Quillmont::Trellis::CommandPipe::RestServer
