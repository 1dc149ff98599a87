#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

/// What the benches share: which figures a run is asked for, how they are printed, how times are
/// taken. The command line of every bench is [PREFIX] [--OPTION]...
namespace bench {

/// Keeps what the command line asks for. Call it first.
void readCommandLine(int argc, char** argv);
/// Whether the command line has that option, "--" included.
bool hasOption(const char* option);

/// Whether figures of that name are asked for: those whose names begin with the prefix.
bool isWanted(const std::string& name);
/// Whether any figure whose name begins with `start` is asked for.
bool isAnyWanted(const std::string& start);

/// Prints the line "name value unit", to four digits, if the figure is asked for.
void print(const std::string& name, double value, const char* unit);

/// The number behind `field` in this process's /proc/self/status (proc(5)); 0 where there is none.
double ownStatus(const std::string& field);
/// Memory that this process has resident, in MB.
inline double residentMegabytes() {
    return ownStatus("VmRSS") * 1024e-6;
}

/// The time that `work` takes, in milliseconds.
template <typename Work>
double elapsedMs(const Work& work) {
    const auto begin = std::chrono::steady_clock::now();
    work();
    const std::chrono::duration<double, std::milli> elapsed =
        std::chrono::steady_clock::now() - begin;
    return elapsed.count();
}

/// The middle one of `values`, which are not empty; of two, the greater.
double median(std::vector<double> values);

/// The median time of `runs` >= 1 runs of `work`, in milliseconds.
template <typename Work>
double medianMs(int runs, const Work& work) {
    std::vector<double> times;
    for (int run = 0; run < runs; ++run)
        times.push_back(elapsedMs(work));
    return median(std::move(times));
}

/// Measures its contestants in turn, round after round, so that what else the machine does meets
/// them all alike.
class Race {
  public:
    /// `contestant` is called once a round; its figure is what it returns or, when it returns
    /// nothing, the time it takes in milliseconds.
    template <typename Contestant>
    void enter(Contestant contestant) {
        if constexpr (std::is_void_v<std::invoke_result_t<Contestant>>)
            contestants_.push_back([contestant] { return elapsedMs(contestant); });
        else
            contestants_.push_back(contestant);
    }

    /// The median figure of each over `rounds` >= 1 rounds, in the order of entry.
    std::vector<double> run(int rounds) const;

  private:
    std::vector<std::function<double()>> contestants_;
};

}  // namespace bench
