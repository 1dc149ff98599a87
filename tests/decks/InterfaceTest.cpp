#include "platform/ui/Application.h"
#include "platform/ui/TableView.h"
#include "platform/ui/Window.h"
#include "presentation/HoverControlView.h"
#include "presentation/PDViewController.h"
#include "tests/decks/DeckFixture.h"

#include <QApplication>

using platform::Button;
using platform::View;
using platform::Window;

namespace {

class InterfaceFiles : public DeckFixture {
  protected:
    View* view(const char* name) {
        for (QWidget* window : QApplication::topLevelWidgets()) {
            if (auto* found = window->findChild<View*>(QLatin1String(name))) return found;
        }
        ADD_FAILURE() << name;
        return nullptr;
    }
    Button* button(const char* name) {
        return interface_->mainWindow()->findChild<Button*>(QLatin1String(name));
    }
};

}  // namespace

TEST_F(InterfaceFiles, TheMainWindowIsSeeThroughWhateverIsSet) {
    start();
    Window* window = interface_->mainWindow();
    window->setBackgroundColor(Qt::red);
    window->setOpaque(true);
    window->makeKeyAndOrderFront();
    QImage shown(window->size(), QImage::Format_ARGB32_Premultiplied);
    shown.fill(Qt::transparent);
    window->render(&shown, QPoint(), QRegion(), QWidget::DrawChildren);
    EXPECT_EQ(qAlpha(shown.pixel(2, 2)), 0);
    const auto* art = controls(PDLeftPlayer).songAlbumArt;
    EXPECT_EQ(qAlpha(shown.pixel(art->mapTo(window, art->rect().center()))), 255);
    EXPECT_TRUE(window->testAttribute(Qt::WA_TranslucentBackground));
    EXPECT_FALSE(window->windowFlags() & Qt::WindowDoesNotAcceptFocus);
}

TEST_F(InterfaceFiles, NothingIsCutOffOrCoveredAtAnySize) {
    start();
    Window* window = interface_->mainWindow();
    window->makeKeyAndOrderFront();
    const QSize artSize = controls(PDLeftPlayer).songAlbumArt->size();
    button("PDLeftMusicLibraryActivator")->click();
    ASSERT_TRUE(waitUntil([this] { return view("PDLeftPlayerView")->isHidden(); }));
    const int rows = controls(PDLeftPlayer).tableView->height();
    EXPECT_EQ(window->minimumSize(), QSize(940, 470));
    for (const QSize size : {QSize(940, 470), QSize(1003, 900), QSize(1180, 522)}) {
        window->resize(size);
        QApplication::processEvents();
        for (const auto* control : window->findChildren<Button*>()) {
            if (!control->isVisible()) continue;
            const QWidget* parent = control->parentWidget();
            EXPECT_TRUE(parent->rect().contains(control->geometry()))
                << qPrintable(control->objectName());
            for (const auto* other :
                 parent->findChildren<Button*>(QString(), Qt::FindDirectChildrenOnly)) {
                EXPECT_FALSE(other != control && other->isVisible() &&
                             other->geometry().intersects(control->geometry()))
                    << qPrintable(control->objectName());
            }
        }
        const View* left = view("leftDeck");
        EXPECT_EQ(left->width() + view("rightDeck")->width(), size.width() - 30);
        EXPECT_NEAR(left->width(), (size.width() - 30) / 2.0, 0.5);
        EXPECT_EQ(controls(PDLeftPlayer).songAlbumArt->size(), artSize);
        EXPECT_EQ(controls(PDLeftPlayer).tableView->height(), rows + size.height() - 522);
    }
}

TEST_F(InterfaceFiles, EachDeckSwapsItsPanelsWithAPush) {
    start();
    View* left = view("PDLeftMainView");
    View* right = view("PDRightMainView");
    EXPECT_EQ(platform::AnimationContext::currentContext().duration(), 3.5);
    for (const View* container :
         {left, right, interface_->window(QStringLiteral("PDPreferencesWindow"))->contentView()}) {
        EXPECT_EQ(container->animations()[QStringLiteral("subviews")].type,
                  platform::Transition::Type::Push);
        EXPECT_TRUE(container->wantsLayer());
    }
    interface_->mainWindow()->makeKeyAndOrderFront();
    QApplication::processEvents();
    View* player = view("PDLeftPlayerView");
    View* library = view("PDLeftMusicLibraryView");
    ASSERT_EQ(left->subviews().size(), 1);
    EXPECT_EQ(left->firstSubview(), player);
    EXPECT_FALSE(library->isVisible());

    button("PDLeftMusicLibraryActivator")->click();
    EXPECT_EQ(left->firstSubview(), library);
    EXPECT_EQ(left->subviews().size(), 1);
    EXPECT_EQ(right->firstSubview(), view("PDRightPlayerView"));
    button("PDLeftMusicLibraryActivator")->setState(Button::MixedState);
    auto* controller = interface_->controller(QStringLiteral("PDViewController"));
    controller->performAction(QStringLiteral("leftMusicLibToggle"),
                              button("PDLeftMusicLibraryActivator"));
    EXPECT_EQ(left->firstSubview(), library);
    static_cast<PDViewController*>(controller)->setSubViewFor(player, PDPlayerType(2));
    EXPECT_EQ(left->firstSubview(), library);
}

TEST_F(InterfaceFiles, ThePreferencesShowOnePane) {
    start();
    Window* window = interface_->window(QStringLiteral("PDPreferencesWindow"));
    const View* content = window->contentView();
    auto* controller = interface_->controller(QStringLiteral("PDViewController"));
    EXPECT_EQ(content->firstSubview(), view("PDGlobalPreferencesView"));
    EXPECT_EQ(window->backgroundColor(), QColor::fromRgbF(1.0F, 1.0F, 1.0F, 0.8F));
    EXPECT_FALSE(window->isOpaque());
    window->makeKeyAndOrderFront();
    // The pane on show, asked for again, stays.
    for (int i = 0; i < 2; ++i) {
        controller->performAction(QStringLiteral("leftPrefSet"), nullptr);
        EXPECT_EQ(content->firstSubview(), view("PDLeftSettingsView"));
        EXPECT_EQ(content->subviews().size(), 1);
        EXPECT_TRUE(view("PDLeftSettingsView")->isVisible());
    }
}
