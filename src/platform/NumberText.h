// Text to numbers, and look-ups, whose exceptions have the texts that users of the library know: those of the standard
// library differ from one platform to the next.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace Quillmont::Platform
{
// Each reads a number at the start of the text: white space before it is skipped, and what follows it is not looked at.
// Decimal unless told otherwise; the decimal point is a dot whatever locale the application has set.
// Throws std::invalid_argument ("invalid stoi argument") when no number is there, and std::out_of_range ("stoi argument
// out of range") when it does not fit.
int32_t ToInt32(const std::string& text, int base = 10); // "stoi"; base 16 takes a leading "0x" too
uint64_t ToUInt64(const std::string& text);              // "stoull"; a minus sign wraps the value around
double ToDouble(const std::string& text);                // "stod"; too small counts as out of range, as too large does

// The value of a key in a map; throws std::out_of_range ("invalid map<K, T> key") when it is not there.
template <class Map>
const typename Map::mapped_type& At(const Map& map, const typename Map::key_type& key)
{
    const auto found = map.find(key);
    if (found == map.end()) throw std::out_of_range("invalid map<K, T> key");
    return found->second;
}
} // namespace Quillmont::Platform
