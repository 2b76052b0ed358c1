// Lists as arrays under a key, in both directions, and the freeing of what the serializer made.
#include "RecordCheck.h"

namespace Quillmont::Trellis::CommandPipe::RestServer
{
namespace
{
TEST(ListWriter, MakesTheObjectOrWritesIntoTheCallers)
{
    value* made = nullptr;
    EXPECT_EQ(CSerializer::ToJSON(std::vector<uint64_t>{1, 2}, &made, "A", false), RESULT_NO_ERROR);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(CSerializer::ToJSON(std::vector<uint32_t>{0xFFFFFFFF}, &made, "B", true), RESULT_NO_ERROR);
    EXPECT_EQ(CSerializer::ToJSON(std::vector<CONNECTION_CONFIG>(1), &made, "C", true), RESULT_NO_ERROR);
    EXPECT_EQ(CSerializer::ToJSON(std::vector<uint64_t>{}, &made, "D", true), RESULT_NO_ERROR);
    value expected = Parsed(R"({"A":["0000000000000001","0000000000000002"],"B":["00000000ffffffff"]})");
    expected["C"] = value::array({Parsed(Written(CONNECTION_CONFIG{}))});
    EXPECT_EQ(made->serialize(), expected.serialize()) << "the empty list writes no key";
    CSerializer::Delete(made);
}

TEST(ListWriter, EmptyListInANewObjectIsAnEmptyObject)
{
    value* made = nullptr;
    EXPECT_EQ(CSerializer::ToJSON(std::vector<uint64_t>{}, &made, "A", false), RESULT_NO_ERROR);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->serialize(), "{}");
    CSerializer::Delete(made);
}

TEST(ListWriter, FailsWithoutAnObject)
{
    value* none = nullptr;
    EXPECT_EQ(CSerializer::ToJSON(std::vector<uint64_t>{1}, &none, "A", true), RESULT_OPERATION_FAILED);
    EXPECT_EQ(CSerializer::ToJSON(std::vector<uint32_t>{1}, nullptr, "A", false), RESULT_OPERATION_FAILED);
    EXPECT_EQ(none, nullptr);
}

TEST(IdList, ReadsEveryIdentifierAndSkipsWhatDoesNotParse)
{
    std::vector<uint64_t>* list = nullptr;
    EXPECT_EQ(
        CSerializer::FromJSON(Parsed(R"({"ID":["0000000000000001","none","ffffffffffffffff",null,{},"x"]})"), &list),
        RESULT_NO_ERROR);
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(*list, (std::vector<uint64_t>{1, UINT64_MAX}));
    EXPECT_EQ(CSerializer::Delete(list), RESULT_NO_ERROR);
}

TEST(IdList, KeepsMoreThanTheExportedListsHold)
{
    value document;
    for (size_t i = 0; i < 1000; ++i)
        document["ID"][i] = value::string(std::to_string(i));
    std::vector<uint64_t>* list = nullptr;
    EXPECT_EQ(CSerializer::FromJSON(document, &list), RESULT_NO_ERROR);
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list->size(), 1000u);
    CSerializer::Delete(list);
}

TEST(IdList, EmptyArrayMakesAnEmptyList)
{
    std::vector<uint64_t>* list = nullptr;
    EXPECT_EQ(CSerializer::FromJSON(Parsed(R"({"ID":[]})"), &list), RESULT_NO_ERROR);
    ASSERT_NE(list, nullptr);
    EXPECT_TRUE(list->empty());
    CSerializer::Delete(list);
}

TEST(IdList, FailsWithoutTheKeyOrTheArray)
{
    std::vector<uint64_t>* list = nullptr;
    EXPECT_EQ(CSerializer::FromJSON(Parsed(R"({"Id":[]})"), &list), RESULT_OPERATION_FAILED);
    EXPECT_EQ(CSerializer::FromJSON(Parsed("[]"), &list), RESULT_OPERATION_FAILED) << "no object has no keys";
    EXPECT_EQ(CSerializer::FromJSON(Parsed(R"({"ID":"0000000000000001"})"), &list), RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(CSerializer::FromJSON(Parsed(R"({"ID":null})"), &list), RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(CSerializer::FromJSON(Parsed(R"({"ID":[]})"), static_cast<std::vector<uint64_t>**>(nullptr)),
              RESULT_OPERATION_FAILED);
}

TEST(IdentifierList, ReadInPlaceAppendsAndGivesTheResultOfItsLastElement)
{
    std::vector<uint64_t> list{9};
    EXPECT_EQ(CSerializer::FromJSON(Parsed(R"({"A":["none","1"]})"), &list, "A"), RESULT_NO_ERROR);
    EXPECT_EQ(CSerializer::FromJSON(Parsed(R"({"A":["2","none"]})"), &list, "A"), RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(CSerializer::FromJSON(Parsed(R"({"A":[]})"), &list, "A"), RESULT_NO_ERROR);
    EXPECT_EQ(CSerializer::FromJSON(Parsed(R"({"A":{}})"), &list, "A"), RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(CSerializer::FromJSON(Parsed("{}"), &list, "A"), RESULT_OPERATION_FAILED);
    EXPECT_EQ(list, (std::vector<uint64_t>{9, 1, 2}));
    EXPECT_EQ(CSerializer::FromJSON(Parsed(R"({"A":[]})"), static_cast<std::vector<uint64_t>*>(nullptr), "A"),
              RESULT_OPERATION_FAILED);
}

TEST(AddressList, DropsTheResultsOfItsElements)
{
    std::vector<uint32_t> list{9};
    EXPECT_EQ(CSerializer::FromJSON(Parsed(R"({"A":["100000001","none"]})"), &list, "A"), RESULT_NO_ERROR);
    EXPECT_EQ(list, (std::vector<uint32_t>{9, 1}));
}

TEST(ConnectionList, DropsTheResultsOfItsElements)
{
    std::vector<CONNECTION_CONFIG> list;
    EXPECT_EQ(CSerializer::FromJSON(Parsed(R"({"A":[{},null,[]]})"), &list, "A"), RESULT_NO_ERROR);
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(CSerializer::FromJSON(Parsed(R"({"A":5})"), &list, "A"), RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(CSerializer::FromJSON(Parsed(R"({"B":[]})"), &list, "A"), RESULT_OPERATION_FAILED);
}

TEST(Delete, TakesNullAndWhatTheSerializerMade)
{
    EXPECT_EQ(CSerializer::Delete(static_cast<std::string*>(nullptr)), RESULT_NO_ERROR);
    EXPECT_EQ(CSerializer::Delete(static_cast<std::vector<uint64_t>*>(nullptr)), RESULT_NO_ERROR);
    EXPECT_EQ(CSerializer::Delete(static_cast<std::vector<utility::string_t>*>(nullptr)), RESULT_NO_ERROR);
    EXPECT_EQ(CSerializer::Delete(static_cast<value*>(nullptr)), RESULT_NO_ERROR);
    EXPECT_EQ(CSerializer::Delete(static_cast<ServerError*>(nullptr)), RESULT_NO_ERROR);
    EXPECT_EQ(CSerializer::Delete(new ServerError()), RESULT_NO_ERROR);
    EXPECT_EQ(CSerializer::Delete(new std::string("text")), RESULT_NO_ERROR);
    EXPECT_EQ(CSerializer::Delete(new value()), RESULT_NO_ERROR);
}

TEST(HostileDocument, DeepNestingIsRefusedByTheParserAndHarmlessBelowItsLimit)
{
    const std::string bottomless = std::string(100000, '[') + std::string(100000, ']');
    EXPECT_THROW(Parsed(bottomless), web::json::json_exception);
    const std::string deep = "{\"ID\":" + std::string(60, '[') + std::string(60, ']') + "}";
    std::vector<uint64_t>* list = nullptr;
    EXPECT_EQ(CSerializer::FromJSON(Parsed(deep), &list), RESULT_NO_ERROR);
    ASSERT_NE(list, nullptr);
    EXPECT_TRUE(list->empty());
    CSerializer::Delete(list);
}
} // namespace
} // namespace Quillmont::Trellis::CommandPipe::RestServer
