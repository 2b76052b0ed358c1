// Feeds documents to the serializer's readers: the first byte chooses the reader, the rest is JSON text. What a reader
// of a record that is also sent has taken in must come back the same from its writer.
#include "commandpipe/restserver/CSerializer.h"

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

using namespace Quillmont::Trellis::CommandPipe::RestServer;
using namespace Quillmont::Trellis::Mxs::RtpEssence;
using web::json::value;

namespace
{
void Require(bool condition)
{
    if (!condition) std::abort();
}

// Read into a record of ours and into one that the reader makes: both must agree on the result.
template <class Record>
void Read(const value& document)
{
    Record record;
    Record* mine = &record;
    Record* made = nullptr;
    const RESULT_CODE filled = CSerializer::FromJSON(document, &mine, true);
    const RESULT_CODE allocated = CSerializer::FromJSON(document, &made, false);
    const std::unique_ptr<Record> owned(made);
    Require(filled == allocated && (filled == RESULT_NO_ERROR) == (owned != nullptr));
}

template <class Record>
void ReadNested(const value& document)
{
    Record record;
    CSerializer::FromJSON(document, &record);
}

template <class Record, class... Extra>
void ReadWriteRead(const value& document, Extra... extra)
{
    Record first, second;
    Record* firstOut = &first;
    Record* secondOut = &second;
    if (CSerializer::FromJSON(document, &firstOut, true) != RESULT_NO_ERROR) return;
    value* written = nullptr;
    Require(CSerializer::ToJSON(first, &written, extra...) == RESULT_NO_ERROR);
    Require(CSerializer::FromJSON(*written, &secondOut, true) == RESULT_NO_ERROR);
    CSerializer::Delete(written);
    Require(first == second);
    Read<Record>(document);
}

template <class Base, class... Records>
void ReadEssence(const value& document)
{
    const auto into = [&document](auto record)
    {
        Base* out = &record;
        CSerializer::FromJSON(document, &out, true);
    };
    (into(Records()), ...);
    Base* made = nullptr;
    CSerializer::FromJSON(document, &made, false);
    delete made;
}

void ReadClockIdentity(const value& document)
{
    uint64_t identity = 0;
    CSerializer::FromJSON(document, &identity);
}

void ReadLists(const value& document)
{
    std::vector<uint64_t>* ids = nullptr;
    CSerializer::FromJSON(document, &ids);
    CSerializer::Delete(ids);
    std::vector<utility::string_t>* texts = nullptr;
    CSerializer::FromJSON(document, &texts, "ID");
    CSerializer::Delete(texts);
    std::vector<uint64_t> wide;
    CSerializer::FromJSON(document, &wide, "ID");
    std::vector<uint32_t> narrow;
    CSerializer::FromJSON(document, &narrow, "ID");
    std::vector<CONNECTION_CONFIG> connections;
    CSerializer::FromJSON(document, &connections, "ID");
}

using Reader = void (*)(const value& document);

// The first byte of an input is an index into this table, from the letter 'A' on: append, so that the corpus stays.
const Reader kReaders[] = {
    /* A */ Read<CONTEXT_LAST_ACCESS>,
    /* B */ Read<CONTEXT_TTL>,
    /* C */ ReadLists,
    /* D */ Read<ServerError>,
    /* E */ Read<MXS_STATUS>,
    /* F */ ReadWriteRead<CONDUCTOR_CONFIG>,
    /* G */ ReadWriteRead<CONDUCTOR_STATE>,
    /* H */ Read<CONDUCTOR_STATUS>,
    /* I */ Read<CPU_CORE_STATUS>,
    /* J */ ReadWriteRead<NET_IF_CONFIG>,
    /* K */ Read<NET_IF_STATUS>,
    /* L */ [](const value& document) { ReadWriteRead<STREAM_COMMON_CONFIG>(document, false); },
    /* M */ ReadWriteRead<STREAM_NETWORK_CONFIG>,
    /* N */ ReadWriteRead<CONNECTION_CONFIG>,
    /* O */ ReadWriteRead<STREAM_STATE>,
    /* P */ Read<STREAM_COMMON_STATUS>,
    /* Q */ Read<STREAM_NETWORK_STATUS>,
    /* R */ ReadEssence<CONFIG, CONFIG_ST2110_20, CONFIG_ST2110_30, CONFIG_ST2110_40>,
    /* S */ ReadEssence<STATUS, STATUS_ST2110_20, STATUS_ST2110_30, STATUS_ST2110_40>,
    /* T */ ReadNested<FLOW_RAIL_DESCRIPTOR>,
    /* U */ ReadNested<BUFFER_INFO>,
    /* V */ ReadNested<std::multimap<std::string, std::string>>,
    /* W */ ReadNested<std::map<uint32_t, BUFFER_INFO>>,
    /* X */ ReadWriteRead<PTP_CONFIG>,
    /* Y */ Read<PTP_STATUS>,
    /* Z */ ReadNested<PORT_IDENTITY>,
    /* [ */ ReadClockIdentity,
};
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0) return 0;
    const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
    std::error_code error;
    const value document = value::parse(text, error);
    if (error) return 0;
    kReaders[static_cast<uint8_t>(data[0] - 'A') % std::size(kReaders)](document);
    return 0;
}
