#include "platform/ui/Font.h"
#include "platform/ui/TextField.h"
#include "platform/ui/TextFieldCell.h"

#include <QFontInfo>
#include <QImage>
#include <QPainter>

#include <gtest/gtest.h>

namespace platform {
namespace {

// The rows of a label's picture that hold ink, from the first to the last; empty for none.
QPair<int, int> inkedRows(const QWidget& label) {
    QImage shown(label.size(), QImage::Format_ARGB32_Premultiplied);
    shown.fill(Qt::transparent);
    const_cast<QWidget&>(label).render(&shown, QPoint(), QRegion(), QWidget::DrawChildren);
    int first = -1;
    int last = -1;
    for (int y = 0; y < shown.height(); ++y) {
        for (int x = 0; x < shown.width(); ++x) {
            if (qAlpha(shown.pixel(x, y)) < 64) continue;
            if (first < 0) first = y;
            last = y;
        }
    }
    return {first, last};
}

TEST(TextCell, WrapsWithinItsViewAndEndsCleanly) {
    TextField label;
    label.resize(220, 70);
    auto cell = std::make_unique<TextFieldCell>();
    cell->setFont(systemFontOfSize(20.0));
    EXPECT_EQ(cell->attributedStringSize(), QSizeF(0.0, 0.0));
    label.setCell(std::move(cell));
    label.setStringValue(QStringLiteral("one line"));
    const auto oneLine = inkedRows(label);
    label.cell()->setWraps(true);
    label.setStringValue(
        QStringLiteral("many words that go on and on, line after line, far "
                       "beyond what this label has room for"));
    const auto wrapped = inkedRows(label);
    EXPECT_GT(wrapped.second, oneLine.second + 15);
    // The last line is whole: nothing of a further one shows at the edge.
    EXPECT_LT(wrapped.second, 66);
    label.cell()->setWraps(false);
    EXPECT_LE(inkedRows(label).second, oneLine.second + 8);
    label.setStringValue(QString());
    EXPECT_EQ(inkedRows(label).first, -1);
}

TEST(TextCell, LettersThatTheThinFaceLacksComeInAnotherAndKeepTheLine) {
    QFont thin(QStringLiteral("DejaVu Sans"));
    thin.setWeight(QFont::Thin);
    thin.setPixelSize(20);
    if (QFontInfo(thin).styleName() != QLatin1String("ExtraLight"))
        GTEST_SKIP() << "no face without Hebrew beside one with it";
    TextField label;
    label.resize(220, 70);
    label.setCell(std::make_unique<TextFieldCell>());
    label.cell()->setFont(thin);
    const auto drawn = [&label](const QString& text) {
        label.setStringValue(text);
        QImage shown(label.size(), QImage::Format_ARGB32_Premultiplied);
        shown.fill(Qt::transparent);
        label.render(&shown, QPoint(), QRegion(), QWidget::DrawChildren);
        return shown;
    };
    // Boxes would look alike.
    EXPECT_NE(drawn(QStringLiteral("אא")), drawn(QStringLiteral("בב")));
    // Elided too.
    label.resize(90, 30);
    EXPECT_NE(drawn(QString(40, QChar(0x5D0))), drawn(QString(40, QChar(0x5D1))));
}

TEST(NamedFont, KeepsItsWeightInTheStandIn) {
    const QFont thin = fontWithNameSize(QStringLiteral("Helvetica Neue Thin"), 18.0);
    EXPECT_EQ(thin.weight(), QFont::Thin);
    EXPECT_EQ(thin.pixelSize(), 18);
    EXPECT_EQ(thin.families().first(), QStringLiteral("Helvetica Neue"));
    EXPECT_EQ(fontWithNameSize(QStringLiteral("Inter"), 18.0).weight(), QFont::Normal);
}

}  // namespace
}  // namespace platform
