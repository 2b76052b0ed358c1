// Contexts: creation step by step, destruction, versions and texts.
#include "ApiTest.h"

#include <array>
#include <cstring>
#include <gmock/gmock.h>

namespace
{
constexpr const char* kAuth = "MXS/ContextManager/Auth/";
constexpr const char* kContext1 = "MXS/ContextManager/Context/0000000000000001";
constexpr const char* kMxs = "MXS/";

using CreateContext = ServiceTest;
using DestroyContext = ServiceTest;
using GetMXSStatus = ContextTest;
} // namespace

TEST_F(CreateContext, WalksFromTheUrlToAnAuthenticatedSession)
{
    ZEFA_HANDLE context = nullptr;

    EXPECT_EQ(ZEFA_CreateMXSContext(Service.Url().c_str(), &context), ZEFA_NO_ERROR);

    ASSERT_NE(context, nullptr);
    const FakeRequest authentication = Service.LastRequest("POST", kAuth);
    EXPECT_EQ(authentication.Target, "/api/x-mxs/v1.0/MXS/ContextManager/Auth/");
    EXPECT_EQ(Service.LastRequest("GET", kMxs).Values("Authorization"), Texts{FakeMxs::kToken});
    EXPECT_EQ(ZEFA_DestroyMXSContext(context), ZEFA_NO_ERROR);
    EXPECT_EQ(Service.Count("DELETE", kContext1), 1U);
}

TEST_F(CreateContext, RefusesEveryUrlButTheLocalHostsOnce)
{
    for (const char* url : {"", "http://localhos", "https://localhost:7420/", "http://127.0.0.1:7420/",
                            "HTTP://localhost/", " http://localhost/", "http://localhost/http://localhost/"})
    {
        ZEFA_HANDLE context = nullptr;
        ZEFA_ERRORCODE result = ZEFA_NO_ERROR;
        const Texts errors = ErrorsOf([&] { result = ZEFA_CreateMXSContext(url, &context); });
        EXPECT_EQ(result, ZEFA_ERR_BAD_ARGUMENT) << url;
        EXPECT_EQ(errors, Texts{"The URL should start with http://localhost."}) << url;
        EXPECT_EQ(context, nullptr) << url;
    }
    EXPECT_TRUE(Service.Requests().empty());
}

#if ZEFALINE_TEST_HAS_RESOLVER // elsewhere the name would be looked up off the machine
TEST_F(CreateContext, PrefixAlonePassesTheTestOfTheUrlAndReachesNoService)
{
    // "http://localhostapi/x-mxs/": nothing separates the host from what is put behind it.
    ZEFA_HANDLE context = nullptr;
    ZEFA_ERRORCODE result = ZEFA_NO_ERROR;
    const Texts errors = ErrorsOf([&] { result = ZEFA_CreateMXSContext("http://localhost", &context); });

    EXPECT_EQ(result, ZEFA_ERR_COMMUNICATION);
    EXPECT_EQ(errors, Texts{});
    EXPECT_EQ(context, nullptr);
    EXPECT_THAT(RefusedNames(), testing::Contains("localhostapi"));
}
#endif

TEST_F(CreateContext, ServiceThatIsNotThereIsACommunicationError)
{
    const std::string url = Service.Url();
    Service.Stop();
    ZEFA_HANDLE context = nullptr;

    testing::internal::CaptureStderr();
    const ZEFA_ERRORCODE result = ZEFA_CreateMXSContext(url.c_str(), &context);
    const std::string logged = testing::internal::GetCapturedStderr();

    EXPECT_EQ(result, ZEFA_ERR_COMMUNICATION);
    EXPECT_NE(logged.find("[Error] Unable to send the request. - "), std::string::npos);
    EXPECT_EQ(context, nullptr);
}

TEST_F(CreateContext, RefusedAuthenticationIsTranslatedAndStoresNoHandle)
{
    const std::pair<uint32_t, ZEFA_ERRORCODE> cases[] = {{1, ZEFA_ERR_OPERATION_FAILED},
                                                         {4999, ZEFA_ERR_OPERATION_FAILED},
                                                         {5010, ZEFA_ERR_COMMUNICATION},
                                                         {5013, ZEFA_ERR_COMMUNICATION}};
    for (const auto& [errCode, expected] : cases)
    {
        Service.AnswerError("POST", kAuth, errCode);
        ZEFA_HANDLE context = nullptr;
        ZEFA_ERRORCODE result = ZEFA_NO_ERROR;
        const Texts errors = ErrorsOf([&] { result = ZEFA_CreateMXSContext(Service.Url().c_str(), &context); });
        EXPECT_EQ(result, expected) << errCode;
        EXPECT_EQ(errors, Texts{}) << errCode;
        EXPECT_EQ(context, nullptr) << errCode;
    }
}

TEST_F(CreateContext, FailedStatusLeavesAHandleThatCanBeDestroyed)
{
    const std::pair<uint32_t, ZEFA_ERRORCODE> cases[] = {{3, ZEFA_ERR_OPERATION_FAILED},
                                                         {5016, ZEFA_ERR_COMMUNICATION}};
    for (const auto& [errCode, expected] : cases)
    {
        Service.AnswerError("GET", kMxs, errCode);
        ZEFA_HANDLE context = nullptr;
        EXPECT_EQ(ZEFA_CreateMXSContext(Service.Url().c_str(), &context), expected) << errCode;
        ASSERT_NE(context, nullptr) << errCode;
        EXPECT_EQ(ZEFA_DestroyMXSContext(context), ZEFA_NO_ERROR) << errCode;
    }
}

TEST_F(CreateContext, RailOfAnotherVersionIsFatalAndLeavesAUsableHandle)
{
    Service.PlaySession(123);
    ZEFA_HANDLE context = nullptr;
    ZEFA_ERRORCODE result = ZEFA_NO_ERROR;
    const Texts errors = ErrorsOf([&] { result = ZEFA_CreateMXSContext(Service.Url().c_str(), &context); });

    EXPECT_EQ(result, ZEFA_ERR_FATAL);
    EXPECT_EQ(errors, Texts{"FlowRail used by ZEFA ( version " + std::to_string(RailVersion()) +
                            ") is not the same as the used by MXS (version : 123)."});
    ASSERT_NE(context, nullptr);
    uint64_t version = 0;
    EXPECT_EQ(ZEFA_GetMXSStatus(context, &version), ZEFA_NO_ERROR);
    EXPECT_EQ(version, 281474976710656U);
    EXPECT_EQ(ZEFA_DestroyMXSContext(context), ZEFA_NO_ERROR);
}

TEST_F(DestroyContext, RefusalOfTheServiceLeavesTheHandleForAnotherAttempt)
{
    ZEFA_HANDLE context = nullptr;
    ASSERT_EQ(ZEFA_CreateMXSContext(Service.Url().c_str(), &context), ZEFA_NO_ERROR);

    Service.AnswerError("DELETE", kContext1, 11);
    EXPECT_EQ(ZEFA_DestroyMXSContext(context), ZEFA_ERR_OPERATION_FAILED);
    Service.AnswerError("DELETE", kContext1, 5016);
    EXPECT_EQ(ZEFA_DestroyMXSContext(context), ZEFA_ERR_COMMUNICATION);
    uint64_t version = 0;
    EXPECT_EQ(ZEFA_GetMXSStatus(context, &version), ZEFA_NO_ERROR);

    Service.Answer("DELETE", kContext1, 200);
    EXPECT_EQ(ZEFA_DestroyMXSContext(context), ZEFA_NO_ERROR);
}

TEST_F(DestroyContext, StopsTheTicks)
{
    ZEFA_HANDLE context = nullptr;
    ASSERT_EQ(ZEFA_CreateMXSContext(Service.Url().c_str(), &context), ZEFA_NO_ERROR);
    ASSERT_TRUE(Service.WaitForRequests("POST", "MXS/ContextManager/Tick/", 1));

    EXPECT_EQ(ZEFA_DestroyMXSContext(context), ZEFA_NO_ERROR);
    Service.ForgetRequests();

    EXPECT_FALSE(Service.WaitForRequests("POST", "MXS/ContextManager/Tick/", 1, std::chrono::milliseconds(1300)));
}

TEST(DestroyContextHandle, NullIsRefusedWithTheTextThatHasNoLineEnd)
{
    ZEFA_ERRORCODE result = ZEFA_NO_ERROR;
    EXPECT_EQ(ErrorsOf([&] { result = ZEFA_DestroyMXSContext(nullptr); }), Texts{"The MXS handle is invalid."});
    EXPECT_EQ(result, ZEFA_ERR_INVALID_HANDLE);
}

TEST_F(GetMXSStatus, GivesTheVersionAndNothingElse)
{
    uint64_t version = 0;

    EXPECT_EQ(ZEFA_GetMXSStatus(Context, &version), ZEFA_NO_ERROR);

    EXPECT_EQ(version, 281474976710656U);
}

TEST_F(GetMXSStatus, FailureLeavesTheVersionAlone)
{
    Service.AnswerError("GET", kMxs, 1);
    uint64_t version = 77;

    EXPECT_EQ(ZEFA_GetMXSStatus(Context, &version), ZEFA_ERR_OPERATION_FAILED);

    EXPECT_EQ(version, 77U);
}

TEST(GetMXSStatusHandle, NullIsRefusedWithTheTextThatHasALineEnd)
{
    uint64_t version = 77;
    ZEFA_ERRORCODE result = ZEFA_NO_ERROR;
    EXPECT_EQ(ErrorsOf([&] { result = ZEFA_GetMXSStatus(nullptr, &version); }),
              Texts{"The MXS handle is invalid.\r\n"});
    EXPECT_EQ(result, ZEFA_ERR_INVALID_HANDLE);
    EXPECT_EQ(version, 77U);
}

TEST(GetLibrariesStatus, FillsBothVersionsAndReturnsTwo)
{
    ZEFA_LIBRARIES_STATUS status{};

    EXPECT_EQ(ZEFA_GetLibrariesStatus(&status), ZEFA_ERR_OPERATION_FAILED);

    EXPECT_EQ(status.ZefalineVersion, 0x0001000300000000U);
    EXPECT_NE(status.FlowRailVersion, 0U);
}

TEST(GetLibrariesStatus, RefusesNullInSilence)
{
    ZEFA_ERRORCODE result = ZEFA_NO_ERROR;
    EXPECT_EQ(ErrorsOf([&] { result = ZEFA_GetLibrariesStatus(nullptr); }), Texts{});
    EXPECT_EQ(result, ZEFA_ERR_INVALID_POINTER);
}

TEST(ErrorToString, GivesEachTextWithItsNul)
{
    const char* const texts[] = {"No error",           "Fatal error",      "Operation failed", "Invalid handle",
                                 "Invalid pointer",    "Invalid property", "Bad argument",     "Not implemented",
                                 "Not found",          "Incorrect state",  "Buffer too small", "Timeout",
                                 "Communication error"};
    for (uint32_t code = 0; code < std::size(texts); ++code)
    {
        std::array<char, 32> text;
        text.fill('x');
        EXPECT_EQ(ZEFA_ErrorToString(code, text.data()), ZEFA_NO_ERROR);
        EXPECT_STREQ(text.data(), texts[code]);
        EXPECT_LE(std::strlen(texts[code]) + 1, size_t{ZEFA_ERROR_TEXT_CHARS});
        EXPECT_EQ(text[std::strlen(texts[code]) + 1], 'x') << "nothing is written behind the NUL";
    }
}

TEST(ErrorToString, KnowsNoOtherCode)
{
    for (const uint32_t code : {13U, 99U, 4294967295U})
    {
        std::array<char, 32> text{};
        EXPECT_EQ(ZEFA_ErrorToString(code, text.data()), ZEFA_ERR_NOT_FOUND) << code;
        EXPECT_STREQ(text.data(), "Invalid error code") << code;
    }
}
