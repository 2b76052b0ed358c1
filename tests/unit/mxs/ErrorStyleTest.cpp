// Failures as redirections to a record that waits for them.
#include "ServiceFixture.h"

#include "mxs/ErrorVault.h"

#include <thread>

namespace test
{
namespace
{

class ErrorStyle : public ServiceTest
{
protected:
    ErrorStyle()
    {
        mxs::ServiceSettings settings;
        settings.errorStyle = mxs::ErrorStyle::Redirect;
        Run(settings);
    }
};

TEST_F(ErrorStyle, AFailureRedirectsToItsRecordBelowTheRequestsHost)
{
    Session session(Port());
    const std::string host = "localhost:" + std::to_string(Port());
    const std::string base = "http://" + host + "/api/x-mxs/";

    const Reply reply = session.Client.Exchange("GET", Session::Path("MXS/Conductor/Mines/00000000000000aa/Config"),
                                                {{"Host", host}, {"Authorization", session.Token}});

    ASSERT_EQ(303u, reply.status);
    ASSERT_EQ(base, reply.location.substr(0, base.size()));
    const std::string path = reply.location.substr(base.size()); // what a client cuts out
    EXPECT_EQ("v1.0/", path.substr(0, 5));
    const Reply error = session.Client.Exchange("GET", "/api/x-mxs/" + path, {{"Authorization", ""}});
    EXPECT_EQ(200u, error.status);
    EXPECT_EQ("application/json", error.contentType);
    EXPECT_EQ(5004u, error.ErrCode());
    EXPECT_EQ("There is no conductor 00000000000000aa.", error.ErrMsg());
}

TEST_F(ErrorStyle, EveryFailureHasARecordOfItsOwnWithALongName)
{
    Session session(Port());
    const Reply first = session.Get("MXS/Nothing");
    const Reply second = session.Get("MXS/Nothing");

    EXPECT_NE(first.location, second.location);
    EXPECT_EQ(64u, first.LocationPart(8).size());
}

TEST_F(ErrorStyle, AWrongMethodRedirectsTooAndSuccessDoesNot)
{
    Session session(Port());
    EXPECT_EQ(303u, session.Send("PUT", "MXS/").status);
    EXPECT_EQ(200u, session.Get("MXS/").status);
    EXPECT_EQ("", session.Get("MXS/").location);
}

TEST_F(ErrorStyle, AnUnknownRecordIsNotRedirectedOnceMore)
{
    Session session(Port());
    const Reply reply = session.Get("MXS/Error/" + std::string(64, '0'));
    EXPECT_EQ(404u, reply.status);
    EXPECT_EQ(5008u, reply.ErrCode());
}

TEST_F(ErrorStyle, AForeignHostIsNeverTakenIntoALocation)
{
    HttpClient client(Port());
    const Reply reply = client.Exchange("GET", "/", {{"Host", "example.com"}});
    EXPECT_EQ(403u, reply.status);
    EXPECT_EQ("", reply.location);
}

TEST(ErrorVault, TheOldestGoesWhenThereIsNoRoom)
{
    mxs::ErrorVault vault(2, std::chrono::hours(1));
    const std::string first = vault.Keep({"one", 1}), second = vault.Keep({"two", 2}), third = vault.Keep({"three", 3});

    EXPECT_FALSE(vault.Find(first));
    ASSERT_TRUE(vault.Find(second));
    EXPECT_EQ("two", vault.Find(second)->message);
    EXPECT_EQ(3u, vault.Find(third)->code);
}

TEST(ErrorVault, ARecordGoesAfterItsTime)
{
    mxs::ErrorVault vault(10, std::chrono::milliseconds(0));
    EXPECT_FALSE(vault.Find(vault.Keep({"gone", 1})));
    mxs::ServiceSettings settings;
    EXPECT_EQ(std::chrono::minutes(1), settings.errorLife);
}

} // namespace
} // namespace test
