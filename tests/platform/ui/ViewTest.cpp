#include "platform/ui/Accessibility.h"
#include "platform/ui/ImageView.h"
#include "platform/ui/View.h"
#include "platform/ui/Window.h"
#include "tests/support/Pointer.h"

#include <QAccessible>
#include <QApplication>
#include <QTest>
#include <QWindow>

#include <gtest/gtest.h>

namespace platform {
namespace {

class TrackedView : public View {
  public:
    using View::View;
    int entered = 0;
    int exited = 0;

  protected:
    void mouseEntered() override { ++entered; }
    void mouseExited() override { ++exited; }
};

TEST(Subviews, ReplacementKeepsItsOwnFrameAndTheOrder) {
    View container;
    View first;
    View second;
    View third;
    first.setGeometry(1, 2, 30, 40);
    third.setGeometry(5, 6, 70, 80);
    container.setSubviews({&first, &second});
    container.replaceSubviewWith(&first, &third);
    EXPECT_EQ(container.subviews(), (QList<QPointer<QWidget>>{&third, &second}));
    EXPECT_EQ(third.geometry(), QRect(5, 6, 70, 80));
    EXPECT_TRUE(first.isHidden());
    container.replaceSubviewWith(&first, &second);
    container.replaceSubviewWith(nullptr, &second);
    container.replaceSubviewWith(&third, nullptr);
    EXPECT_EQ(container.firstSubview(), &third);
    for (View* view : {&first, &second, &third})
        view->setParent(nullptr);
}

TEST(Subviews, TransitionsEndInOneViewHoweverTheyAreInterrupted) {
    for (const auto type : {Transition::Type::Push, Transition::Type::Fade}) {
        View container;
        container.resize(100, 100);
        auto* player = new View(&container);
        auto* library = new View(&container);
        for (View* view : {player, library})
            view->setGeometry(0, 0, 100, 100);
        container.setSubviews({player});
        container.setAnimations({{QStringLiteral("subviews"), {type}}});
        container.show();
        QTest::qWait(1);
        for (int i = 0; i < 7; ++i) {
            container.animator().replaceSubviewWith(container.firstSubview(),
                                                    i % 2 == 0 ? library : player);
            QTest::qWait(i * 15);
        }
        QTest::qWait(400);
        EXPECT_EQ(container.firstSubview(), library);
        EXPECT_EQ(container.subviews().size(), 1);
        EXPECT_TRUE(library->isVisible());
        EXPECT_FALSE(player->isVisible());
        EXPECT_EQ(library->pos(), QPoint(0, 0));
        EXPECT_EQ(player->pos(), QPoint(0, 0));
        EXPECT_EQ(library->graphicsEffect(), nullptr);
    }
}

TEST(Subviews, WhatTheViewOwnsIsFreedWhenReplaced) {
    View container;
    container.addSubview(std::make_unique<View>());
    for (int i = 0; i < 5; ++i) {
        container.animator().replaceSubviewWith(container.firstSubview(), std::make_unique<View>());
    }
    // The event loop frees what is to be deleted later when it is entered, not in between.
    QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(container.findChildren<QWidget*>().size(), 1);
}

TEST(Animations, ADurationLastsForOneTurnOfTheLoop) {
    AnimationContext::currentContext().setDuration(3.5);
    EXPECT_EQ(AnimationContext::currentContext().duration(), 3.5);
    QTest::qWait(1);
    EXPECT_EQ(AnimationContext::currentContext().duration(), 0.25);
}

TEST(Tracking, ARegionKeepsItsRectangle) {
    TrackedView view;
    view.resize(100, 100);
    hover(view, QEvent::HoverEnter, {10, 10});
    EXPECT_EQ(view.entered, 0);
    view.addTrackingArea({view.bounds()});
    hover(view, QEvent::HoverMove, {10, 10});
    hover(view, QEvent::HoverMove, {50, 50});
    EXPECT_EQ(view.entered, 1);
    view.resize(200, 200);
    hover(view, QEvent::HoverMove, {150, 50});
    EXPECT_EQ(view.exited, 1);
    hover(view, QEvent::HoverMove, {99, 99});
    hover(view, QEvent::HoverLeave, {-1, -1});
    EXPECT_EQ(view.entered, 2);
    EXPECT_EQ(view.exited, 2);
}

TEST(Images, AreCentredUnscaledOrStretched) {
    QImage white(10, 20, QImage::Format_RGB32);
    white.fill(Qt::white);
    ImageView view;
    view.resize(40, 40);
    view.setImage(Image(white));
    const auto alphaAt = [&view](int x, int y) {
        QImage shown(40, 40, QImage::Format_ARGB32_Premultiplied);
        shown.fill(Qt::transparent);
        view.render(&shown, QPoint(), QRegion(), QWidget::DrawChildren);
        return qAlpha(shown.pixel(x, y));
    };
    EXPECT_EQ(alphaAt(1, 1), 255);
    view.setImageScaling(ImageScaling::None);
    EXPECT_EQ(alphaAt(1, 1), 0);
    EXPECT_EQ(alphaAt(13, 20), 0);
    EXPECT_EQ(alphaAt(20, 20), 255);
    EXPECT_LT(alphaAt(15, 20), alphaAt(16, 20)) << "its edge fades";
    EXPECT_EQ(alphaAt(20, 31), 0);
    view.setImage(Image());
    EXPECT_EQ(alphaAt(20, 20), 0);
}

TEST(Images, FadeWhereTheyEndInsideTheView) {
    QImage red(260, 400, QImage::Format_RGB32);
    red.fill(Qt::red);
    ImageView view;
    view.resize(300, 300);
    view.setImage(Image(red));
    view.setImageScaling(ImageScaling::None);
    QImage shown(view.size(), QImage::Format_ARGB32_Premultiplied);
    shown.fill(Qt::transparent);
    view.render(&shown, QPoint(), QRegion(), QWidget::RenderFlags());
    EXPECT_EQ(qAlpha(shown.pixel(10, 150)), 0) << "beside the picture";
    EXPECT_LT(qAlpha(shown.pixel(22, 150)), 40) << "no hard edge";
    EXPECT_GT(qAlpha(shown.pixel(60, 150)), qAlpha(shown.pixel(40, 150)));
    for (const QPoint inside : {QPoint(150, 150), QPoint(150, 1), QPoint(150, 298)})
        EXPECT_EQ(shown.pixel(inside), qRgb(255, 0, 0));
}

TEST(Accessibility, AWindowThatWasAskedForEarlyIsADialogOnceItIsShown) {
    installAccessibility();
    Window window;
    window.setProperty("secondary", true);
    const auto* const early = QAccessible::queryAccessibleInterface(&window);
    ASSERT_TRUE(early);
    // Nor does a window that nobody opened trouble the desktop.
    QApplication::processEvents();
    EXPECT_FALSE(window.windowHandle());
    window.makeKeyAndOrderFront();
    EXPECT_EQ(early->role(), QAccessible::Dialog);
    EXPECT_EQ(window.windowHandle()->type(), Qt::Dialog);
}

}  // namespace
}  // namespace platform
