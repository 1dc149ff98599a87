#include "bench/app/RunningProgram.h"

#include "platform/audio/Clock.h"

#include <unistd.h>

#include <fstream>

namespace bench {

RunningProgram::RunningProgram(const QString& executable, const QStringList& arguments)
    : began_(platform::audio::nowNanoseconds()) {
    process_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process_.start(executable, arguments);
}

RunningProgram::~RunningProgram() {
    end();
}

RunningProgram::Memory RunningProgram::memory() const {
    Memory memory{};
    std::ifstream rollup("/proc/" + std::to_string(process_.processId()) + "/smaps_rollup");
    for (std::string word; rollup >> word;) {
        double kibibytes = 0;
        if (word == "Rss:" && rollup >> kibibytes) memory.resident = kibibytes * 1024e-6;
        if (word == "Pss:" && rollup >> kibibytes) memory.proportional = kibibytes * 1024e-6;
    }
    return memory;
}

double RunningProgram::processorSeconds() const {
    std::ifstream stat("/proc/" + std::to_string(process_.processId()) + "/stat");
    std::string word;
    // Behind the name, which is in parentheses.
    while (stat >> word && !word.ends_with(')')) {
    }
    constexpr int kFieldsBefore = 11;
    for (int i = 0; i < kFieldsBefore; ++i)
        stat >> word;
    double user = 0;
    double system = 0;
    stat >> user >> system;
    return (user + system) / static_cast<double>(::sysconf(_SC_CLK_TCK));
}

std::map<std::string, std::int64_t> RunningProgram::end() {
    std::map<std::string, std::int64_t> numbers;
    if (process_.state() == QProcess::NotRunning) return numbers;
    process_.terminate();
    if (!process_.waitForFinished(10'000)) process_.kill();
    process_.waitForFinished();
    for (const QByteArray& line : process_.readAllStandardOutput().split('\n')) {
        const QList<QByteArray> words = line.split(' ');
        if (words.size() == 2) numbers[words[0].toStdString()] = words[1].toLongLong();
    }
    return numbers;
}

}  // namespace bench
