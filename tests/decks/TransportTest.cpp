#include "tests/decks/DeckFixture.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

using platform::Button;
using platform::DefaultsValue;

namespace {

class Transport : public DeckFixture {
  protected:
    Transport() {
        start();
        platform::NotificationCenter::defaultCenter().addObserver(
            observer_, Pairdeck::playerStatusDidChange(),
            [this](const platform::Notification&) { ++posts_; });
    }

    QJsonObject onDisk() const {
        QFile file(qEnvironmentVariable("XDG_CONFIG_HOME") +
                   QStringLiteral("/com.ovrelin.Pairdeck/defaults.json"));
        return file.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(file.readAll()).object()
                                              : QJsonObject();
    }

    int posts_ = 0;
    QObject observer_;
};

}  // namespace

TEST_F(Transport, PlayAndPauseBySender) {
    decks().playPauseTrackAt(controls(PDLeftPlayer).playPause);
    EXPECT_EQ(controls(PDLeftPlayer).playPause->state(), 0);
    decks().playTrackAtWithPlayer(makeSong(QStringLiteral("a.mp3"), 3.0), PDLeftPlayer);
    decks().playTrackAtWithPlayer(makeSong(QStringLiteral("b.mp3"), 3.0), PDRightPlayer);
    posts_ = 0;
    for (const bool playing : {false, true}) {
        controls(PDLeftPlayer).playPause->click();
        EXPECT_EQ(deck(PDLeftPlayer).isPlaying(), playing);
        EXPECT_EQ(controls(PDLeftPlayer).playPause->state(), playing ? 1 : 0);
        EXPECT_EQ(controls(PDRightPlayer).playPause->state(), 1);
    }
    decks().playPauseTrackAt(controls(PDLeftPlayer).next);
    decks().playPauseTrackAt(nullptr);
    EXPECT_TRUE(deck(PDLeftPlayer).isPlaying());
    EXPECT_EQ(posts_, 4);
}

TEST_F(Transport, SeekAndVolumePostNothing) {
    Deck& right = deck(PDRightPlayer);
    controls(PDRightPlayer).volumeSlider->setDoubleValue(0.25);
    controls(PDRightPlayer).volumeSlider->sendAction();
    EXPECT_EQ(right.volume(), 0.25F);
    decks().playTrackAtWithPlayer(makeSong(QStringLiteral("a.mp3"), 4.0), PDRightPlayer);
    EXPECT_EQ(right.volume(), 0.25F);
    controls(PDRightPlayer).playPause->click();
    posts_ = 0;
    controls(PDRightPlayer).timeSlider->setDoubleValue(2.5);
    controls(PDRightPlayer).timeSlider->sendAction();
    EXPECT_NEAR(right.currentTime(), 2.5, 1e-3);
    EXPECT_FALSE(right.isPlaying());
    EXPECT_EQ(posts_, 0);
    EXPECT_EQ(deck(PDLeftPlayer).volume(), 1.0F);

    // The next tick brings the display after it: 4.0 s less 2.5 s leaves 1.
    controls(PDRightPlayer).timeSlider->setDoubleValue(0.0);
    decks().perSecondInfoRefresh();
    EXPECT_NEAR(controls(PDRightPlayer).timeSlider->doubleValue(), 2.5, 1e-3);
    EXPECT_EQ(controls(PDRightPlayer).cTime->stringValue(), QStringLiteral("00:02"));
    EXPECT_EQ(controls(PDRightPlayer).rTime->stringValue(), QStringLiteral("-00:01"));
}

TEST_F(Transport, TheLastWordEndsAHeldKnob) {
    Deck& left = deck(PDLeftPlayer);
    const QString song = makeSong(QStringLiteral("a.mp3"), 20.0);
    left.load(song);
    left.pause();
    const auto dragAround = [this](platform::Slider& slider, const std::function<void()>& verb) {
        QTest::mousePress(&slider, Qt::LeftButton, {}, {slider.width() / 4, 11});
        verb();
        QTest::mouseMove(&slider, {slider.width() / 3, 11});
        QTest::mouseRelease(&slider, Qt::LeftButton, {}, {slider.width() / 3, 11});
    };
    platform::Slider& seek = *controls(PDLeftPlayer).timeSlider;
    dragAround(seek, [&] { left.seek(17.0); });
    EXPECT_NEAR(left.currentTime(), 17.0, 1e-3);
    EXPECT_NEAR(seek.doubleValue(), 17.0, 1e-3);
    dragAround(seek, [&] {
        left.load(song);
        left.pause();
    });
    EXPECT_LT(left.currentTime(), 3.0);
    platform::Slider& volume = *controls(PDLeftPlayer).volumeSlider;
    dragAround(volume, [&] { left.setVolume(0.9F); });
    EXPECT_EQ(left.volume(), 0.9F);
    EXPECT_EQ(volume.floatValue(), 0.9F);
    dragAround(volume, [] {});
    EXPECT_LT(left.volume(), 0.5F);
}

TEST_F(Transport, TheSpeakerMutesAndRestores) {
    Deck& right = deck(PDRightPlayer);
    platform::Slider& slider = *controls(PDRightPlayer).volumeSlider;
    Button& speaker = *controls(PDRightPlayer).muteButton;
    const auto shows = [&](float volume, const char* words) {
        EXPECT_EQ(right.volume(), volume);
        EXPECT_EQ(slider.floatValue(), volume);
        EXPECT_EQ(speaker.state(), volume > 0.0F ? Button::OffState : Button::OnState);
        EXPECT_EQ(speaker.accessibleDescription(), QLatin1String(words));
    };
    right.setVolume(0.6F);
    speaker.click();
    shows(0.0F, "Sound: muted");
    speaker.click();
    shows(0.6F, "Sound: on");
    // Dragged to nothing by the knob, which passes what can hardly be heard.
    for (const float volume : {0.3F, 0.01F, 0.0F})
        slider.moveByUser(volume);
    shows(0.0F, "Sound: muted");
    speaker.click();
    shows(0.3F, "Sound: on");
}

TEST_F(Transport, ShuffleFollowsItsButton) {
    Deck& left = deck(PDLeftPlayer);
    const QString key = QStringLiteral("PairdeckLeftShuffleState");
    controls(PDLeftPlayer).shuffleButton->click();
    EXPECT_TRUE(left.isShuffling());
    EXPECT_EQ(stored(key), DefaultsValue(true));
    EXPECT_NE(onDisk().value(key), QJsonValue(true)) << "written before the store saves itself";
    const auto words = [this](PDPlayerType side) {
        return controls(side).shuffleButton->accessibleDescription();
    };
    EXPECT_EQ(words(PDLeftPlayer), QStringLiteral("Shuffle: on"));
    EXPECT_EQ(words(PDRightPlayer), QStringLiteral("Shuffle: off"));
    EXPECT_EQ(stored(QStringLiteral("PairdeckRightShuffleState")), DefaultsValue(false));
    controls(PDLeftPlayer).shuffleButton->setState(Button::MixedState);
    controls(PDLeftPlayer).shuffleButton->sendAction();
    EXPECT_FALSE(left.isShuffling());
    EXPECT_EQ(stored(key), DefaultsValue(false));
    EXPECT_EQ(controls(PDLeftPlayer).shuffleButton->state(), 0);
    EXPECT_EQ(posts_, 2);
}

TEST_F(Transport, RepeatCyclesAndIsOnDiskAtOnce) {
    const Deck& right = deck(PDRightPlayer);
    const platform::Button& button = *controls(PDRightPlayer).repeatButton;
    const auto image = [](const char* name) {
        return platform::Image::imageNamed(QLatin1String(name));
    };
    const std::pair<int, const char*> presses[] = {
        {1, "Repeat"}, {2, "Repeat_one"}, {0, "Repeat_inactive"}};
    for (const auto& [state, name] : presses) {
        controls(PDRightPlayer).repeatButton->click();
        EXPECT_EQ(right.repeat(), state);
        EXPECT_EQ(onDisk().value(QStringLiteral("PairdeckRightRepeatState")), QJsonValue(state));
        EXPECT_TRUE(sameImage(button.image(), image(name)));
        EXPECT_EQ(deck(PDLeftPlayer).repeat(), 0);
    }
    EXPECT_EQ(posts_, 3);
    deck(PDRightPlayer).setRepeat(7);
    EXPECT_EQ(right.repeat(), 0);
    EXPECT_EQ(posts_, 3);
    // Where the store and the deck disagree the image stays as it is.
    store(QStringLiteral("PairdeckRightRepeatState"), 2);
    decks().refreshInfo();
    EXPECT_TRUE(sameImage(button.image(), image("Repeat_inactive")));
}

TEST(TimeFormat, MinutesWrapAtSixty) {
    const std::pair<int, const char*> cases[] = {
        {0, "00:00"},   {5, "00:05"},    {59, "00:59"},   {65, "01:05"},   {215, "03:35"},
        {600, "10:00"}, {3599, "59:59"}, {3600, "00:00"}, {3725, "02:05"},
    };
    for (const auto& [seconds, text] : cases) {
        EXPECT_EQ(Deck::secondToMinuteSecond(seconds), QLatin1String(text));
    }
}
