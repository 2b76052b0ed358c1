// An exchange of the library (build the request, send, read the record) beside a bare exchange of the HTTP library
// (send, extract the JSON), in one process and turn by turn, so that both see the same machine; and beside the HTTP
// library with its default pool, in a process of its own, batch by batch. Times are medians in microseconds.
#include "../support/Turns.h"
#include "PeerProcess.h"

#include <chrono>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "commandpipe/restclient/CRestClient.h"
#include "commandpipe/restclient/IConductorClient.h"

#include <benchmark/benchmark.h>

using namespace Quillmont::Trellis::CommandPipe;
using Clock = std::chrono::steady_clock;
using web::http::client::http_client;

namespace
{

const std::string kDocument = R"({"CpuCoreID": "000000000000002a"})";
const std::string kPath = "v1.0/MXS/Conductor/Mines/0000000000000007/Config";
constexpr size_t kBatch = 200; // exchanges of the other process between two looks at this one

uint64_t NanosecondsOf(const auto& call)
{
    const auto start = Clock::now();
    call();
    return static_cast<uint64_t>(std::chrono::nanoseconds(Clock::now() - start).count());
}

double MedianMicroseconds(std::vector<uint64_t> samples)
{
    return samples.empty() ? 0 : static_cast<double>(bench::Median(std::move(samples))) / 1000;
}

void BareGet(http_client& client)
{
    benchmark::DoNotOptimize(client.request(web::http::methods::GET, kPath).get().extract_json().get());
}

void BarePut(http_client& client)
{
    web::json::value body;
    body["CpuCoreID"] = web::json::value::string("000000000000002a");
    benchmark::DoNotOptimize(client.request(web::http::methods::PUT, kPath, body).get().status_code());
}

// The default pool's process: answers each number with the nanoseconds of so many exchanges, 0 asks for PUTs next.
int ExchangeWithDefaultPool(int in, int out, const std::string& url)
{
    http_client client(url);
    auto exchange = BareGet;
    uint64_t count;
    while (ReadNumber(in, &count))
    {
        if (count == 0)
            exchange = exchange == BareGet ? BarePut : BareGet;
        else
            for (; count > 0; --count)
                WriteNumber(out, NanosecondsOf([&] { exchange(client); }));
    }
    return 0;
}

struct Setup
{
    PeerProcess Server{ServeDocument, kDocument};
    const std::string Url = "http://localhost:" + std::to_string(Server.Receive()) + "/api/x-mxs/";
    PeerProcess DefaultPool{ExchangeWithDefaultPool, Url};
    RestClient::CRestClient Rest;
    std::unique_ptr<http_client> Bare;
    bool DefaultPoolGets = true;
};

std::optional<Setup> setup; // made in main, before the first thread

void Compare(benchmark::State& state, bool gets, const auto& library, void (*bare)(http_client&))
{
    if (setup->DefaultPoolGets != gets) setup->DefaultPool.Send(0);
    setup->DefaultPoolGets = gets;
    std::vector<uint64_t> libraryTimes, bareTimes, defaultPoolTimes;
    bool libraryFirst = false;
    for (auto _ : state)
    {
        libraryFirst = !libraryFirst;
        if (!libraryFirst) bareTimes.push_back(NanosecondsOf([&] { bare(*setup->Bare); }));
        const uint64_t time = NanosecondsOf(library);
        if (libraryFirst) bareTimes.push_back(NanosecondsOf([&] { bare(*setup->Bare); }));
        libraryTimes.push_back(time);
        state.SetIterationTime(static_cast<double>(time) / 1e9);
        if (libraryTimes.size() % kBatch != 0) continue;
        setup->DefaultPool.Send(kBatch);
        for (size_t i = 0; i < kBatch; ++i)
            defaultPoolTimes.push_back(setup->DefaultPool.Receive());
    }
    const double libraryUs = MedianMicroseconds(libraryTimes), bareUs = MedianMicroseconds(bareTimes);
    const double defaultPoolUs = MedianMicroseconds(defaultPoolTimes);
    state.counters["library_us"] = libraryUs;
    state.counters["bare_us"] = bareUs;
    state.counters["default_pool_us"] = defaultPoolUs;
    state.counters["x_bare"] = libraryUs / bareUs;
    if (defaultPoolUs > 0) state.counters["x_default_pool"] = libraryUs / defaultPoolUs;
}

void GetRecord(benchmark::State& state)
{
    RestClient::IConductorClient* conductor = setup->Rest.GetConductorClient();
    RestServer::CONDUCTOR_CONFIG config;
    const auto library = [&]
    {
        if (conductor->GetConfig(7, &config) != RestServer::RESULT_NO_ERROR) state.SkipWithError("no answer");
    };
    Compare(state, true, library, BareGet);
}

void PutRecord(benchmark::State& state)
{
    RestClient::IConductorClient* conductor = setup->Rest.GetConductorClient();
    const auto library = [&]
    {
        if (conductor->SetConfig(7, {42}) != RestServer::RESULT_NO_ERROR) state.SkipWithError("no answer");
    };
    Compare(state, false, library, BarePut);
}

BENCHMARK(GetRecord)->UseManualTime()->Unit(benchmark::kMicrosecond)->Iterations(10000)->Repetitions(5);
BENCHMARK(PutRecord)->UseManualTime()->Unit(benchmark::kMicrosecond)->Iterations(10000)->Repetitions(5);

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    setup.emplace();
    const RestClient::RestClientConfig config{.Url = setup->Url, .KeepAlive = true};
    if (setup->Rest.Initialize(&config) != RestServer::RESULT_NO_ERROR) return 1;
    setup->Bare = std::make_unique<http_client>(setup->Url); // of the pool that the library has asked for
    benchmark::RunSpecifiedBenchmarks();
    setup.reset();
    return 0;
}
