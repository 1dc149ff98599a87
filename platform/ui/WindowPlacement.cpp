#include "platform/ui/WindowPlacement.h"

#include <QGuiApplication>
#include <QScreen>
#include <QStringList>

#include <algorithm>

namespace platform {

QString stringWithNumbers(int first, int second) {
    return QStringLiteral("%1 %2").arg(first).arg(second);
}

std::optional<std::pair<int, int>> numbersOfString(const QString& text) {
    const QStringList parts = text.split(QLatin1Char(' '));
    if (parts.size() != 2) return std::nullopt;
    bool isNumber[2] = {};
    const std::pair<int, int> numbers(parts[0].toInt(&isNumber[0]), parts[1].toInt(&isNumber[1]));
    if (!isNumber[0] || !isNumber[1]) return std::nullopt;
    return numbers;
}

QScreen* screenShowing(const QRect& frame) {
    QScreen* best = nullptr;
    qint64 bestArea = 0;
    for (QScreen* screen : QGuiApplication::screens()) {
        const QRect shown = screen->availableGeometry() & frame;
        const qint64 area = qint64{shown.width()} * shown.height();
        if (area <= bestArea) continue;
        bestArea = area;
        best = screen;
    }
    return best;
}

QSize sizeOnScreen(QSize size, QSize minimum, const QScreen& screen) {
    return size.boundedTo(screen.availableSize()).expandedTo(minimum);
}

QRect frameOnScreen(QRect frame, const QScreen& screen) {
    const QRect room = screen.availableGeometry();
    frame.moveTo(std::max(room.left(), std::min(frame.left(), room.right() + 1 - frame.width())),
                 std::max(room.top(), std::min(frame.top(), room.bottom() + 1 - frame.height())));
    return frame;
}

}  // namespace platform
