// What all records share: conversions, identifiers, lists and the freeing of what the serializer made.
#include "commandpipe/restserver/CSerializer.h"

#include "commandpipe/restserver/SerializerEngine.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <utility>

namespace Quillmont::Trellis::CommandPipe::RestServer
{
std::map<std::string, std::string> CSerializer::URI_PREFIXES;

// ---- conversions ----

uint64_t ToBits(const web::json::number& number)
{
    if (number.is_integral()) return number.to_uint64();
    const double whole = std::trunc(number.to_double());
    constexpr double kTwoTo63 = 9223372036854775808.0;
    if (whole >= 0 && whole < 2 * kTwoTo63) return static_cast<uint64_t>(whole);
    if (whole < 0 && whole >= -kTwoTo63) return static_cast<uint64_t>(static_cast<int64_t>(whole));
    return 0; // too large, or no number at all
}

std::string WithoutQuotes(std::string text)
{
    std::erase(text, '"');
    return text;
}

std::string LastPathSegment(const utility::string_t& text)
{
    std::string path = WithoutQuotes(utility::conversions::to_utf8string(text));
    if (path.empty()) return "0";
    if (path.back() == '/') path.pop_back();
    const size_t separator = path.rfind('/');
    return separator == std::string::npos ? path : path.substr(separator + 1);
}

const Value* TryGetField(const Value& value, const std::string& key)
{
    return value.has_field(key) ? &value.at(key) : nullptr;
}

Value PrefixedIdentifierValue(const char* resource, uint64_t id)
{
    utility::string_t text;
    CSerializer::IdentifierToString(id, &text);
    const auto prefix = CSerializer::URI_PREFIXES.find(resource);
    if (prefix == CSerializer::URI_PREFIXES.end()) return Value::string(std::move(text));
    return Value::string(utility::conversions::to_string_t(prefix->second) + text);
}

// ---- identifiers ----

RESULT_CODE CSerializer::IdentifierToString(uint64_t id, utility::string_t* out)
{
    return Traced(kIdentifierToString,
                  [&]() -> RESULT_CODE
                  {
                      if (!out) return RESULT_INVALID_ARGUMENT;
                      constexpr int kDigits = 16;
                      out->resize(kDigits);
                      for (int i = kDigits - 1; i >= 0; --i, id >>= 4)
                          (*out)[static_cast<size_t>(i)] = "0123456789abcdef"[id & 15];
                      return RESULT_NO_ERROR;
                  });
}

RESULT_CODE CSerializer::IdentifierFromString(const utility::string_t& text, uint64_t* out)
{
    return Traced(kIdentifierFromString,
                  [&]() -> RESULT_CODE
                  {
                      const std::string digits = WithoutQuotes(utility::conversions::to_utf8string(text));
                      char* end = nullptr;
                      errno = 0;
                      const uint64_t id = std::strtoull(digits.c_str(), &end, 16);
                      const bool parsed = end != digits.c_str() && errno != ERANGE;
                      if (!out) return RESULT_INVALID_ARGUMENT;
                      *out = parsed ? id : 0;
                      return parsed ? RESULT_NO_ERROR : RESULT_INVALID_ARGUMENT;
                  });
}

// ---- lists ----

namespace
{
// Writes element after element; `write` puts one into its place.
template <class Element, class WriteElement>
RESULT_CODE WriteList(const std::vector<Element>& list, Value** out, const std::string& key, bool existing,
                      WriteElement write)
{
    if (!out || (existing && !*out)) return RESULT_OPERATION_FAILED;
    std::unique_ptr<Value> made;
    if (!existing)
    {
        made.reset(new (std::nothrow) Value(Value::object()));
        if (!made) return RESULT_OPERATION_FAILED;
    }
    Value& document = made ? *made : **out;
    for (size_t index = 0; index < list.size(); ++index)
    {
        const RESULT_CODE result = write(list[index], document[key][index]);
        if (result != RESULT_NO_ERROR) return result;
    }
    if (made) *out = made.release();
    return RESULT_NO_ERROR;
}

RESULT_CODE WriteIdentifier(uint64_t id, Value& place)
{
    utility::string_t text;
    CSerializer::IdentifierToString(id, &text);
    place = Value::string(std::move(text));
    return RESULT_NO_ERROR;
}

// Reads element after element; `append` takes one and gives its result. Gives the result of the last element.
template <class AppendElement>
RESULT_CODE ReadList(const Value& value, const std::string& key, RESULT_CODE& lastElement, AppendElement append)
{
    const Value* array = TryGetField(value, key);
    if (!array) return RESULT_OPERATION_FAILED;
    if (!array->is_array()) return RESULT_INVALID_ARGUMENT;
    for (const Value& element : array->as_array())
        lastElement = append(element);
    return RESULT_NO_ERROR;
}

// Elements are taken by their JSON text, whatever their type: text that is no hexadecimal number is skipped.
template <class Integer>
auto AppendIdentifierTo(std::vector<Integer>& list)
{
    return [&list](const Value& element)
    {
        uint64_t id = 0;
        const RESULT_CODE result = CSerializer::IdentifierFromString(element.serialize(), &id);
        if (result == RESULT_NO_ERROR) list.push_back(static_cast<Integer>(id));
        return result;
    };
}

template <class Element, class MakeAppend>
RESULT_CODE ReadNewList(const Value& value, std::vector<Element>** list, const std::string& key, MakeAppend makeAppend)
{
    if (!list) return RESULT_OPERATION_FAILED;
    std::unique_ptr<std::vector<Element>> made(new (std::nothrow) std::vector<Element>());
    if (!made) return RESULT_OPERATION_FAILED;
    RESULT_CODE dropped = RESULT_NO_ERROR;
    const RESULT_CODE result = ReadList(value, key, dropped, makeAppend(*made));
    if (result == RESULT_NO_ERROR) *list = made.release();
    return result;
}
} // namespace

RESULT_CODE CSerializer::ToJSON(const std::vector<uint32_t>& list, Value** out, const std::string& key, bool existing)
{
    return Traced(kToJson, [&] { return WriteList(list, out, key, existing, WriteIdentifier); });
}

RESULT_CODE CSerializer::ToJSON(const std::vector<uint64_t>& list, Value** out, const std::string& key, bool existing)
{
    return Traced(kToJson, [&] { return WriteList(list, out, key, existing, WriteIdentifier); });
}

RESULT_CODE CSerializer::ToJSON(const std::vector<CONNECTION_CONFIG>& list, Value** out, const std::string& key,
                                bool existing)
{
    const auto write = [](const CONNECTION_CONFIG& record, Value& place)
    {
        Value* nested = nullptr;
        const RESULT_CODE result = ToJSON(record, &nested);
        if (result != RESULT_NO_ERROR) return result;
        std::unique_ptr<Value> owned(nested);
        place = std::move(*owned);
        Delete(owned.release());
        return RESULT_NO_ERROR;
    };
    return Traced(kToJson, [&] { return WriteList(list, out, key, existing, write); });
}

RESULT_CODE CSerializer::FromJSON(const Value& value, std::vector<uint64_t>** out)
{
    return Traced(kFromJson, [&] { return FromJSON(value, out, "ID"); });
}

RESULT_CODE CSerializer::FromJSON(const Value& value, std::vector<uint64_t>** list, const std::string& key)
{
    return Traced(kFromJson, [&] { return ReadNewList(value, list, key, AppendIdentifierTo<uint64_t>); });
}

RESULT_CODE CSerializer::FromJSON(const Value& value, std::vector<utility::string_t>** list, const std::string& key)
{
    const auto makeAppend = [](std::vector<utility::string_t>& made)
    {
        return [&made](const Value& element)
        {
            made.push_back(utility::conversions::to_string_t(WithoutQuotes(element.serialize())));
            return RESULT_NO_ERROR;
        };
    };
    return Traced(kFromJson, [&] { return ReadNewList(value, list, key, makeAppend); });
}

RESULT_CODE CSerializer::FromJSON(const Value& value, std::vector<uint64_t>* list, const std::string& key)
{
    return Traced(kFromJson,
                  [&]
                  {
                      if (!list) return RESULT_OPERATION_FAILED;
                      RESULT_CODE lastElement = RESULT_NO_ERROR;
                      const RESULT_CODE result = ReadList(value, key, lastElement, AppendIdentifierTo(*list));
                      return result == RESULT_NO_ERROR ? lastElement : result;
                  });
}

RESULT_CODE CSerializer::FromJSON(const Value& value, std::vector<uint32_t>* list, const std::string& key)
{
    return Traced(kFromJson,
                  [&]
                  {
                      if (!list) return RESULT_OPERATION_FAILED;
                      RESULT_CODE dropped = RESULT_NO_ERROR;
                      return ReadList(value, key, dropped, AppendIdentifierTo(*list));
                  });
}

RESULT_CODE CSerializer::FromJSON(const Value& value, std::vector<CONNECTION_CONFIG>* list, const std::string& key)
{
    return Traced(kFromJson,
                  [&]
                  {
                      if (!list) return RESULT_OPERATION_FAILED;
                      const auto append = [list](const Value& element)
                      {
                          CONNECTION_CONFIG* made = nullptr;
                          const RESULT_CODE result = FromJSON(element, &made, false);
                          const std::unique_ptr<CONNECTION_CONFIG> owned(made);
                          if (owned) list->push_back(std::move(*owned)); // an incomplete element makes no record
                          return result;
                      };
                      RESULT_CODE dropped = RESULT_NO_ERROR;
                      return ReadList(value, key, dropped, append);
                  });
}

// ---- freeing ----

namespace
{
template <class Made>
RESULT_CODE Free(Made* made)
{
    return Traced(kDelete,
                  [made]
                  {
                      delete made;
                      return RESULT_NO_ERROR;
                  });
}
} // namespace

RESULT_CODE CSerializer::Delete(std::string* text)
{
    return Free(text);
}

RESULT_CODE CSerializer::Delete(std::vector<uint64_t>* list)
{
    return Free(list);
}

RESULT_CODE CSerializer::Delete(std::vector<utility::string_t>* list)
{
    return Free(list);
}

RESULT_CODE CSerializer::Delete(Value* value)
{
    return Free(value);
}

RESULT_CODE CSerializer::Delete(ServerError* error)
{
    return Free(error);
}
} // namespace Quillmont::Trellis::CommandPipe::RestServer
