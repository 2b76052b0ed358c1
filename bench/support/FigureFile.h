// The figures of a program that measures in turns of its own, in the form in which Google Benchmark writes those of
// others, so that scripts/bench reads one form. Understands --benchmark_out=FILE and --benchmark_list_tests.
#pragma once

#include <cstdio>
#include <fstream>
#include <string>

class FigureFile
{
public:
    FigureFile(int count, char** arguments)
    {
        const std::string out = "--benchmark_out=";
        for (int i = 1; i < count; ++i)
        {
            const std::string argument = arguments[i];
            if (argument.rfind(out, 0) == 0) Path = argument.substr(out.size());
            Lists = Lists || argument.rfind("--benchmark_list_tests", 0) == 0;
        }
    }

    // True: the names are wanted and nothing is to be measured.
    bool OnlyLists() const { return Lists; }

    void Add(const std::string& name, double nanoseconds)
    {
        if (Lists)
        {
            std::printf("%s\n", name.c_str());
            return;
        }
        Entries += (Entries.empty() ? "" : ",\n") + ("    {\"name\": \"" + name) + "\", \"run_name\": \"" + name +
                   "\", \"run_type\": \"iteration\", \"real_time\": " + std::to_string(nanoseconds) +
                   ", \"time_unit\": \"ns\"}";
    }

    // False when the file that was asked for could not be written.
    bool Write() const
    {
        if (Lists || Path.empty()) return true;
        std::ofstream file(Path);
        file << "{\n  \"benchmarks\": [\n" << Entries << "\n  ]\n}\n";
        return static_cast<bool>(file.flush());
    }

private:
    std::string Path, Entries;
    bool Lists = false;
};
