#include "platform/ui/SearchField.h"
#include "tests/decks/DeckFixture.h"

#include <QApplication>
#include <QTest>

using platform::SearchField;
using platform::Window;

namespace {

class Keyboard : public DeckFixture {
  protected:
    void SetUp() override {
        start();
        songs_ = {makeSong(QStringLiteral("a.mp3"), 20.0), makeSong(QStringLiteral("b.mp3"), 20.0)};
        fillList(PDLeftPlayer, songs_);
        window()->makeKeyAndOrderFront();
        ASSERT_TRUE(waitUntil([this] { return window()->isActiveWindow(); }));
    }
    QStringList songs_;
    Window* window() { return interface_->mainWindow(); }
    template <typename Type = QWidget>
    Type* named(const char* name) {
        return window()->findChild<Type*>(QLatin1String(name));
    }
    // The key goes to whatever has focus, as the window system sends it.
    void press(int key, Qt::KeyboardModifiers modifiers = {}) {
        QTest::keyClick(window()->windowHandle(), Qt::Key(key), modifiers);
    }
    bool hasFocus(const char* name) { return QApplication::focusWidget() == named(name); }
};

}  // namespace

TEST_F(Keyboard, WorksTheDeckInFocusAndOnlyThat) {
    Deck& left = deck(PDLeftPlayer);
    Deck& right = deck(PDRightPlayer);
    EXPECT_TRUE(hasFocus("leftDeck"));
    press(Qt::Key_Right, Qt::ControlModifier);
    ASSERT_EQ(loaded(PDLeftPlayer), QStringLiteral("a.mp3"));
    press(Qt::Key_Right, Qt::ControlModifier);
    EXPECT_EQ(loaded(PDLeftPlayer), QStringLiteral("b.mp3"));
    press(Qt::Key_Left, Qt::ControlModifier);
    EXPECT_EQ(loaded(PDLeftPlayer), QStringLiteral("a.mp3"));
    EXPECT_TRUE(left.isPlaying());
    press(Qt::Key_Space);
    EXPECT_FALSE(left.isPlaying());

    left.seek(7.0);
    press(Qt::Key_Right, Qt::ShiftModifier);
    EXPECT_NEAR(left.currentTime(), 12.0, 0.01);
    press(Qt::Key_Left, Qt::ShiftModifier);
    press(Qt::Key_Left, Qt::ShiftModifier);
    press(Qt::Key_Left, Qt::ShiftModifier);
    EXPECT_NEAR(left.currentTime(), 0.0, 0.01);
    press(Qt::Key_Down, Qt::ControlModifier);
    press(Qt::Key_Down, Qt::ControlModifier);
    press(Qt::Key_Up, Qt::ControlModifier);
    EXPECT_NEAR(left.volume(), 0.95F, 1e-6F);

    EXPECT_FALSE(right.hasPlayer());
    EXPECT_EQ(right.volume(), 1.0F);
    press(Qt::Key_F6);
    EXPECT_TRUE(hasFocus("rightDeck"));
    press(Qt::Key_Down, Qt::ControlModifier);
    EXPECT_NEAR(right.volume(), 0.95F, 1e-6F);
    EXPECT_NEAR(left.volume(), 0.95F, 1e-6F);
    named("menuButton")->setFocus();
    press(Qt::Key_F6);
    EXPECT_TRUE(hasFocus("leftDeck"));
}

TEST_F(Keyboard, SearchesAndPlaysFromTheTable) {
    press(Qt::Key_F, Qt::ControlModifier);
    EXPECT_TRUE(hasFocus("leftSearchField"));
    EXPECT_TRUE(waitUntil([this] { return !named("PDLeftPlayerView")->isVisible(); }));
    // The keys of a text belong to its field.
    for (const char letter : {'a', ' ', 'b'})
        QTest::keyClick(window()->windowHandle(), letter);
    press(Qt::Key_Left, Qt::ShiftModifier);
    EXPECT_EQ(named<SearchField>("leftSearchField")->selectedText(), QStringLiteral("b"));
    EXPECT_FALSE(deck(PDLeftPlayer).hasPlayer());
    // Pressed again it selects what to type over, and the library stays.
    press(Qt::Key_F, Qt::ControlModifier);
    EXPECT_EQ(named<SearchField>("leftSearchField")->selectedText(), QStringLiteral("a b"));
    EXPECT_TRUE(named("PDLeftMusicLibraryView")->isVisible());
    // No folder is loaded that would be searched.
    EXPECT_TRUE(waitUntil([this] { return deck(PDLeftPlayer).tracks().empty(); }));
    fillList(PDLeftPlayer, songs_);
    press(Qt::Key_Escape);
    EXPECT_TRUE(hasFocus("PDLeftTableView"));
    EXPECT_EQ(controls(PDLeftPlayer).tableView->selectedRow(), 0);
    press(Qt::Key_Down);
    press(Qt::Key_Return);
    EXPECT_EQ(loaded(PDLeftPlayer), QStringLiteral("b.mp3"));
    press(Qt::Key_L, Qt::ControlModifier);
    EXPECT_TRUE(waitUntil([this] { return hasFocus("leftDeck"); }));
    EXPECT_TRUE(named("PDLeftPlayerView")->isVisible());
    // F5 reads the folder: none has been loaded here, so nothing is found in it.
    press(Qt::Key_F5);
    EXPECT_TRUE(deck(PDLeftPlayer).tracks().empty());
}
