#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <map>
#include <string>

namespace bench {

/// A program under measurement, from its start to its end; it does not outlive the object.
class RunningProgram {
  public:
    explicit RunningProgram(const QString& executable, const QStringList& arguments = {});
    ~RunningProgram();

    /// When it was started, in nanoseconds of the monotonic clock.
    std::int64_t began() const { return began_; }

    struct Memory {
        double resident;      ///< MB, every page that it has mapped and in memory
        double proportional;  ///< MB, pages shared with others divided by their number
    };
    /// What it holds now; zeros when it has ended.
    Memory memory() const;

    /// The processor time that it has taken so far, in seconds; 0 when it has ended.
    double processorSeconds() const;

    /// Asks it to end, waits until it has, and gives the lines "NAME NUMBER" that it wrote.
    std::map<std::string, std::int64_t> end();

  private:
    QProcess process_;
    std::int64_t began_;
};

}  // namespace bench
