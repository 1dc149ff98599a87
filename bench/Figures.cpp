#include "bench/Figures.h"

#include <algorithm>
#include <cstdio>
#include <fstream>

namespace bench {

namespace {

std::string prefix;
std::vector<std::string> options;

}  // namespace

void readCommandLine(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument.starts_with("--"))
            options.push_back(argument);
        else
            prefix = argument;
    }
}

bool hasOption(const char* option) {
    return std::find(options.begin(), options.end(), option) != options.end();
}

bool isWanted(const std::string& name) {
    return name.starts_with(prefix);
}

bool isAnyWanted(const std::string& start) {
    return start.starts_with(prefix) || prefix.starts_with(start);
}

void print(const std::string& name, double value, const char* unit) {
    if (!isWanted(name)) return;
    std::printf("%s %.4g %s\n", name.c_str(), value, unit);
    std::fflush(stdout);
}

double ownStatus(const std::string& field) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(field + ":")) return std::stod(line.substr(field.size() + 1));
    }
    return 0;
}

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

std::vector<double> Race::run(int rounds) const {
    std::vector<std::vector<double>> values(contestants_.size());
    for (int round = 0; round < rounds; ++round) {
        for (std::size_t i = 0; i < contestants_.size(); ++i) {
            // Back and forth, so that none always follows the same one, warmed or worn by it.
            const std::size_t next = round % 2 == 0 ? i : contestants_.size() - 1 - i;
            values[next].push_back(contestants_[next]());
        }
    }
    std::vector<double> medians;
    medians.reserve(values.size());
    for (const std::vector<double>& own : values)
        medians.push_back(median(own));
    return medians;
}

}  // namespace bench
