#include "presentation/CenteredTextFieldCell.h"
#include "presentation/HoverControlView.h"
#include "tests/support/Pointer.h"

#include <QLineEdit>
#include <QPushButton>
#include <QTest>

#include <gtest/gtest.h>

TEST(CenteredCell, CentresOneLineWhateverFollows) {
    CenteredTextFieldCell cell;
    EXPECT_EQ(cell.textColor(), QColor(Qt::white));
    EXPECT_EQ(cell.font().pixelSize(), 25);
    EXPECT_EQ(cell.font().weight(), QFont::Thin);
    EXPECT_TRUE(cell.wraps());
    const QRectF bounds(3.0, 7.0, 200.0, 92.0);
    EXPECT_EQ(cell.titleRectForBounds(bounds), QRectF(3.0, 7.0 + 46.0, 200.0, 92.0));
    cell.setStringValue(QStringLiteral("one"));
    const double line = cell.attributedStringSize().height();
    EXPECT_EQ(cell.titleRectForBounds(bounds), QRectF(3.0, 7.0 + (92.0 - line) / 2, 200.0, 92.0));
    cell.setStringValue(QStringLiteral("words that wrap into several lines of the label"));
    EXPECT_EQ(cell.titleRectForBounds(bounds).y(), 7.0 + (92.0 - line) / 2);
    // Taller than its bounds: half the excess above them.
    EXPECT_EQ(cell.titleRectForBounds(QRectF(0, 0, 200, line - 10)).y(), -5.0);
}

TEST(Hover, TheSlotHoldsTheControlsWhileThePointerIsInside) {
    QWidget window;
    QLineEdit first(&window);  // takes the focus that the window gets
    HoverControlView art(&window);
    window.setGeometry(400, 400, 300, 300);  // away from where the pointer rests
    art.setGeometry(0, 0, 100, 100);
    auto* controls = new platform::View(&art);
    controls->setGeometry(10, 20, 50, 40);
    controls->hide();
    art.setControlView(controls);
    hover(art, QEvent::HoverEnter, {50, 50});
    EXPECT_EQ(art.firstSubview(), nullptr);
    window.show();
    art.grab();
    QTest::qWait(20);
    ASSERT_EQ(art.subviews().size(), 1);
    EXPECT_TRUE(art.firstSubview()->size().isEmpty());
    EXPECT_EQ(art.animations()[QStringLiteral("subviews")].type, platform::Transition::Type::Fade);
    EXPECT_EQ(art.trackingArea().rect, QRectF(0, 0, 100, 100));

    hover(art, QEvent::HoverMove, {50, 50});
    EXPECT_EQ(art.firstSubview(), controls);
    EXPECT_EQ(controls->geometry(), QRect(10, 20, 50, 40));
    // Out, and in again while the controls still fade out.
    hover(art, QEvent::HoverLeave, {-1, -1});
    EXPECT_NE(art.firstSubview(), controls);
    hover(art, QEvent::HoverEnter, {50, 50});
    EXPECT_TRUE(QTest::qWaitFor([&] { return !controls->graphicsEffect(); }));
    EXPECT_EQ(art.firstSubview(), controls);
    EXPECT_TRUE(controls->isVisible());
    // A new image redraws the view and changes nothing else.
    art.setImage(platform::Image(QImage(4, 4, QImage::Format_RGB32)));
    art.grab();
    EXPECT_EQ(art.firstSubview(), controls);
    EXPECT_EQ(art.trackingAreas().size(), 1u);
    hover(art, QEvent::HoverLeave, {-1, -1});
    EXPECT_TRUE(QTest::qWaitFor([&] { return !controls->isVisible(); }));
    EXPECT_EQ(art.subviews().size(), 1);
    EXPECT_FALSE(art.entered());
    window.activateWindow();
    EXPECT_TRUE(QTest::qWaitForWindowActive(&window));
    // Keyboard focus reveals them too, and goes on to the first; it may be there at the very end.
    auto* play = new QPushButton(controls);
    art.setFocus(Qt::TabFocusReason);
    EXPECT_EQ(art.firstSubview(), controls);
    play->setFocus(Qt::TabFocusReason);
    EXPECT_EQ(art.firstSubview(), controls);
    first.setFocus(Qt::TabFocusReason);
    EXPECT_NE(art.firstSubview(), controls);
    art.setFocus(Qt::TabFocusReason);
    hover(art, QEvent::HoverEnter, {50, 50});
    first.setFocus(Qt::TabFocusReason);
    EXPECT_EQ(art.firstSubview(), controls) << "the pointer is still there";
    art.setFocus(Qt::TabFocusReason);
}
