#include "bench/library/Readers.h"
#include "platform/foundation/FileManager.h"
#include "platform/media/MediaAsset.h"
#include "platform/media/MediaReadAhead.h"

#include <QDir>
#include <QElapsedTimer>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>
int main(int argc, char** argv) {
    const QString folder = QString::fromUtf8(argv[1]);
    const int rounds = argc > 2 ? atoi(argv[2]) : 7;
    struct C {
        const char* name;
        std::function<int()> f;
        std::vector<double> ms;
        int n;
    };
    const auto list = [&] {
        return trackPaths(folder, platform::FileManager::subpathsOfDirectoryAtPath(folder));
    };
    std::vector<C> cs = {
        {"list", [&] { return int(list().size()); }, {}, 0},
        {"starts",
         [&] {
             readStarts(list());
             return 0;
         },
         {},
         0},
        {"minimal", [&] { return readMinimal(list()); }, {}, 0},
        {"asset",
         [&] {
             int found = 0;
             for (const QString& p : list()) {
                 const platform::MediaAsset a = platform::MediaAsset::URLAssetWithURL(p);
                 for (const auto& i : a.metadata()) {
                     const auto k = i.commonKey();
                     if (k == QStringLiteral("title") || k == QStringLiteral("artist")) ++found;
                 }
             }
             return found;
         },
         {},
         0},
        {"ahead",
         [&] {
             int found = 0;
             const QStringList ps = list();
             const platform::MediaReadAhead ra(ps);
             for (const QString& p : ps) {
                 const platform::MediaAsset a = platform::MediaAsset::URLAssetWithURL(p);
                 for (const auto& i : a.metadata()) {
                     const auto k = i.commonKey();
                     if (k == QStringLiteral("title") || k == QStringLiteral("artist")) ++found;
                 }
             }
             return found;
         },
         {},
         0},
        {"taglib", [&] { return readWithTagLib(list(), 1); }, {}, 0},
        {"taglib2", [&] { return readWithTagLib(list(), 2); }, {}, 0},
    };
    for (int r = 0; r < rounds; ++r)
        for (C& c : cs) {
            QElapsedTimer t;
            t.start();
            c.n = c.f();
            c.ms.push_back(t.nsecsElapsed() / 1e6);
        }
    for (C& c : cs) {
        std::sort(c.ms.begin(), c.ms.end());
        std::printf("%s %.1f ms (min %.1f) found %d\n", c.name, c.ms[c.ms.size() / 2], c.ms[0],
                    c.n);
    }
}
