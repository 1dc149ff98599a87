#include "bench/TestLibrary.h"

#include <QProcess>

#include <cstdio>

namespace bench {

QString libraryOf(int count) {
    QString folder = QStringLiteral(LIBRARY_FOLDER "/library_%1").arg(count);
    const int result =
        QProcess::execute(QStringLiteral(MAKE_LIBRARY), {folder, QString::number(count)});
    if (result != 0) std::fprintf(stderr, "the library could not be made\n");
    return folder;
}

}  // namespace bench
