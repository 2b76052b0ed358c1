// What the system does not give: descriptors, addresses. And what it knows by name.
#include "RailFixture.h"

#include <filesystem>
#include <grp.h>
#include <sys/resource.h>
#include <sys/stat.h>

using namespace railtest;
using Quillmont::FlowRail::RailPath;

namespace
{
// Takes a resource of this process down to `limit`, until the end of the block.
class Limit
{
public:
    Limit(__rlimit_resource resource, rlim64_t limit) : Resource(resource)
    {
        EXPECT_EQ(getrlimit64(Resource, &Before), 0);
        rlimit64 limited = Before;
        limited.rlim_cur = limit;
        EXPECT_EQ(setrlimit64(Resource, &limited), 0);
    }
    ~Limit() { EXPECT_EQ(setrlimit64(Resource, &Before), 0); }
    Limit(const Limit&) = delete;
    Limit& operator=(const Limit&) = delete;

private:
    __rlimit_resource Resource;
    rlimit64 Before = {};
};
} // namespace

TEST(Create, WithoutADescriptorLeftIs10AndWithOneItSucceeds)
{
    FLOW_RAIL_DESCRIPTOR descriptor = Describe(UniqueName("descriptors"), 100, 4);
    const auto rail = NewRail();
    uint32_t result = FLOW_RAIL_OK;
    {
        const Limit none(RLIMIT_NOFILE, 0);
        result = rail->Create(&descriptor);
    }

    EXPECT_EQ(result, FLOW_RAIL_NO_MEMORY);
    EXPECT_EQ(rail->Create(&descriptor), FLOW_RAIL_OK);
}

TEST(Create, KnowsTheGroupByItsNameAndRefusesOneThatThereIsNot)
{
    const group* const own = getgrgid(getegid());
    if (!own) GTEST_SKIP() << "the group of this process has no name";
    FLOW_RAIL_DESCRIPTOR descriptor = Describe(UniqueName("named-group"), 100, 4);
    FLOW_RAIL_DESCRIPTOR unknown = Describe(UniqueName("no-group"), 100, 4);
    descriptor.Description.emplace("Group", own->gr_name);
    unknown.Description.emplace("Group", "no-such-group");
    const auto rail = NewRail();

    ASSERT_EQ(rail->Create(&descriptor), FLOW_RAIL_OK);
    EXPECT_EQ(NewRail()->Create(&unknown), FLOW_RAIL_BAD_ARGUMENT);

    struct stat state = {};
    ASSERT_EQ(stat(RailPath(descriptor.Description.find("Name")->second).c_str(), &state), 0);
    EXPECT_EQ(state.st_mode & 07777, 0660u);
    EXPECT_EQ(state.st_gid, getegid());
    EXPECT_FALSE(std::filesystem::exists(RailPath(unknown.Description.find("Name")->second)));
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // they need addresses without limit
TEST(Open, WithoutAddressesLeftIs10AndWithThemItSucceeds)
{
    FLOW_RAIL_DESCRIPTOR descriptor = Describe(UniqueName("addresses"), 1 << 20, 64);
    const auto creator = NewRail(), other = NewRail();
    ASSERT_EQ(creator->Create(&descriptor), FLOW_RAIL_OK);
    uint32_t result = FLOW_RAIL_OK;
    {
        const Limit few(RLIMIT_AS, 1 << 20);
        result = other->Open(&descriptor);
    }

    EXPECT_EQ(result, FLOW_RAIL_NO_MEMORY);
    EXPECT_EQ(other->Open(&descriptor), FLOW_RAIL_OK);
}
#endif
