#include "decks/Pairdeck.h"
#include "decks/RepeatState.h"
#include "platform/foundation/UserDefaults.h"

using platform::Button;

void Pairdeck::refreshInfo() {
    for (Deck& deck : decks_) {
        deck.playPause->setState(deck.isPlaying() ? Button::OnState : Button::OffState);
    }
    for (Deck& deck : decks_) {
        deck.shuffleButton->setState(deck.shuffle ? Button::OnState : Button::OffState);
    }
    for (Deck& deck : decks_) {
        // The image follows only where the store and the deck agree on the state.
        const std::int64_t stored = storedRepeatState(deck);
        if (stored == deck.repeat) showRepeatState(deck, stored);
    }
}

void Pairdeck::perSecondInfoRefresh() {
    // The position is read afresh for each control, so that each shows the newest.
    for (Deck& deck : decks_)
        deck.timeSlider->setDoubleValue(deck.currentTime());
    for (Deck& deck : decks_) {
        const auto elapsed = static_cast<std::int32_t>(deck.currentTime());
        deck.cTime->setStringValue(secondToMinuteSecond(elapsed));
    }
    for (Deck& deck : decks_) {
        // Truncated after the subtraction: 200.4 s at 10.6 s leaves 189, not 190.
        const auto remaining = static_cast<std::int32_t>(deck.duration() - deck.currentTime());
        deck.rTime->setStringValue(QLatin1Char('-') + secondToMinuteSecond(remaining));
    }
}

QString Pairdeck::secondToMinuteSecond(std::int32_t seconds) {
    const std::int32_t minutes = seconds / 60 % 60;
    return QStringLiteral("%1:%2")
        .arg(minutes, 2, 10, QLatin1Char('0'))
        .arg(seconds % 60, 2, 10, QLatin1Char('0'));
}

void Pairdeck::postMove() {
    platform::NotificationCenter::defaultCenter().postNotification({playerDidMove(), this});
}

void Pairdeck::postStatus() {
    platform::NotificationCenter::defaultCenter().postNotification({playerStatusDidChange(), this});
}
