// The pipes and processes of the benchmark.
#include "PeerProcess.h"

#include <cstdio>
#include <cstdlib>
#include <thread>

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/http/write.hpp>

#include <csignal>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace asio = boost::asio;
namespace http = boost::beast::http;
using tcp = asio::ip::tcp;

bool WriteNumber(int descriptor, uint64_t value)
{
    return ::write(descriptor, &value, sizeof value) == static_cast<ssize_t>(sizeof value);
}

bool ReadNumber(int descriptor, uint64_t* value)
{
    return ::read(descriptor, value, sizeof *value) == static_cast<ssize_t>(sizeof *value);
}

PeerProcess::PeerProcess(Body body, const std::string& argument)
{
    int down[2], up[2];
    if (::pipe(down) != 0 || ::pipe(up) != 0) std::perror("bench_rest: pipe"), std::exit(1);
    Child = ::fork();
    if (Child < 0) std::perror("bench_rest: fork"), std::exit(1);
    if (Child == 0)
    {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        ::close(down[1]);
        ::close(up[0]);
        ::_exit(body(down[0], up[1], argument));
    }
    ::close(down[0]);
    ::close(up[1]);
    ToChild = down[1];
    FromChild = up[0];
}

PeerProcess::~PeerProcess()
{
    ::close(ToChild);
    ::close(FromChild);
    ::kill(Child, SIGKILL);
    ::waitpid(Child, nullptr, 0);
}

void PeerProcess::Send(uint64_t value) const
{
    WriteNumber(ToChild, value);
}

uint64_t PeerProcess::Receive() const
{
    uint64_t value = 0;
    if (!ReadNumber(FromChild, &value))
    {
        std::fputs("bench_rest: a process beside the benchmark has ended.\n", stderr);
        std::exit(1);
    }
    return value;
}

static void ServeConnection(tcp::socket socket, const std::string& document)
{
    socket.set_option(tcp::no_delay(true));
    boost::beast::flat_buffer buffer;
    for (;;)
    {
        http::request<http::string_body> request;
        boost::system::error_code error;
        http::read(socket, buffer, request, error);
        if (error) return;
        http::response<http::string_body> answer{http::status::ok, 11};
        if (request.method() == http::verb::get)
        {
            answer.set(http::field::content_type, "application/json");
            answer.body() = document;
        }
        answer.prepare_payload();
        http::write(socket, answer, error);
        if (error) return;
    }
}

int ServeDocument(int, int out, const std::string& document)
{
    asio::io_context context;
    tcp::acceptor listener(context, tcp::endpoint(asio::ip::make_address("127.0.0.1"), 0));
    WriteNumber(out, listener.local_endpoint().port());
    for (;;)
        std::thread(ServeConnection, listener.accept(), document).detach();
}
