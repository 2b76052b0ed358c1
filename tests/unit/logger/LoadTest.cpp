// What a process sees of the log when it loads the library: programs of their own, since a process loads it once.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <regex>
#include <string>
#include <sys/wait.h>

namespace fs = std::filesystem;

namespace
{
struct Printed
{
    int status;
    std::string out, err;
};

class Load : public testing::TestWithParam<const char*>
{
protected:
    Load()
    {
        std::string name = (fs::temp_directory_path() / "zefaline-load-XXXXXX").string();
        Folder = mkdtemp(name.data());
    }
    ~Load() override { fs::remove_all(Folder); }

    void SetUp() override
    {
        if (fs::exists("/etc/quillmont/zefaline.conf"))
            GTEST_SKIP() << "this machine has log settings of its own, which go before those of a test";
    }

    void Settings(const std::string& content) const
    {
        fs::create_directories(Folder / "config" / "quillmont");
        std::ofstream(Folder / "config" / "quillmont" / "zefaline.conf") << content;
    }

    std::string Content(const std::string& name) const
    {
        std::ifstream file(Folder / name);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    Printed Program() const
    {
        const std::string command = "XDG_CONFIG_HOME='" + (Folder / "config").string() + "' '" + GetParam() + "' >'" +
                                    (Folder / "out").string() + "' 2>'" + (Folder / "err").string() + "'";
        const int status = std::system(command.c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, Content("out"), Content("err")};
    }

    fs::path Folder;
};

// A line of the log without its time, or the whole text when it does not start with one.
std::string WithoutTime(const std::string& text)
{
    return std::regex_replace(text, std::regex(R"((^|\n)\d\d-\d\d-\d{4} \d\d:\d\d:\d\d )"), "$1");
}
} // namespace

TEST_P(Load, WithoutSettingsNothingIsPrinted)
{
    const Printed run = Program();

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "one instance\n");
    EXPECT_EQ(run.err, "");
}

TEST_P(Load, SettingsDecideWhatIsPrintedWhere)
{
    Settings("DebugFilter = Error Info Debug\nDebugOutput = StdOutputLog\n");

    const Printed run = Program();

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(WithoutTime(run.out), "[QUILLMONT ZEFA][Info] end of attach process\none instance\n");
    const std::string early = "[QUILLMONT ZEFA][Debug] StaticInitialiser --> Entering \n"
                              "[QUILLMONT ZEFA][Error] written by a static initialiser\n"
                              "[QUILLMONT ZEFA][Debug] StaticInitialiser --> Exiting \n";
    const std::string rest = "[QUILLMONT ZEFA][Error] written by main\n"
                             "[QUILLMONT ZEFA][Debug] Main --> Entering \n"
                             "[QUILLMONT ZEFA][Debug] Main --> Exiting \n";
    const bool loadedBeforeWriter = std::string(GetParam()) == WRITER_LAST;
    const std::string printed = WithoutTime(run.err);
    EXPECT_EQ(printed.substr(0, (loadedBeforeWriter ? early + rest : rest).size()),
              loadedBeforeWriter ? early + rest : rest);
}

TEST_P(Load, LineStartsWithTheLocalTime)
{
    Settings("DebugFilter = Error, Debug\nDebugOutput = StdOutputLog\n");

    const Printed run = Program();

    const std::regex line(R"(\d\d-\d\d-\d{4} \d\d:\d\d:\d\d \[QUILLMONT ZEFA\]\[Error\] written by main)");
    EXPECT_TRUE(std::regex_search(run.err, line)) << run.err;
}

TEST_P(Load, RailLibraryGetsTheSettingsToo)
{
    Settings("DebugFilter = Error, Debug\nDebugOutput = StdOutputLog\n");

    const Printed run = Program();

    EXPECT_EQ(run.status, 0);
    EXPECT_NE(
        run.err.find("[QUILLMONT FLOWRAIL][Error] The rail zefaline-load-test-no-such-rail could not be opened: "),
        std::string::npos)
        << run.err;
}

TEST_P(Load, OutputLongerThanTheFilterIsSkipped)
{
    Settings("DebugFilter = Error\nDebugOutput = StdOutputLog\n");

    const Printed run = Program();

    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.out, "one instance\n");
}

INSTANTIATE_TEST_SUITE_P(Orders, Load, testing::Values(WRITER_FIRST, WRITER_LAST),
                         [](const auto& each) -> std::string
                         { return std::string(each.param) == WRITER_FIRST ? "WriterFirst" : "WriterLast"; });
