#include "decks/Pairdeck.h"
#include "decks/RepeatState.h"
#include "platform/foundation/UserDefaults.h"

using platform::Control;
using platform::Slider;
using platform::UserDefaults;

void Pairdeck::playPauseTrackAt(Control* sender) {
    if (const Deck* deck = deckOf(sender, &Deck::playPause); deck && deck->player) {
        if (deck->player->isPlaying()) {
            deck->player->pause();
        } else {
            deck->player->play();
        }
    }
    postStatus();
}

void Pairdeck::timeSliderDidChange(Deck& deck, Control* sender) {
    const auto* slider = dynamic_cast<Slider*>(sender);
    if (!slider || !deck.player) return;
    deck.player->setCurrentTime(slider->doubleValue());
    postMove();
}

void Pairdeck::volumeSliderDidChange(Deck& deck, Control* sender) {
    const auto* slider = dynamic_cast<Slider*>(sender);
    if (!slider) return;
    if (deck.player) deck.player->setVolume(slider->floatValue());
    deck.volume = slider->floatValue();
    postMove();
}

void Pairdeck::shuffleStateDidChange(Deck& deck) {
    deck.shuffle = deck.shuffleButton->state() == platform::Button::OnState;
    UserDefaults::standardUserDefaults().setValueForKey(deck.shuffle, deck.shuffleKey());
    postStatus();
}

void Pairdeck::repeatStateDidChange(Deck& deck) {
    UserDefaults& defaults = UserDefaults::standardUserDefaults();
    if (deck.repeat >= PDRepeatOff && deck.repeat <= PDRepeatOne) {
        deck.repeat = (deck.repeat + 1) % 3;
        defaults.setValueForKey(static_cast<std::int32_t>(deck.repeat), deck.repeatKey());
        showRepeatState(deck, deck.repeat);
    }
    defaults.synchronize();
    postStatus();
}
