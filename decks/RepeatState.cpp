#include "decks/RepeatState.h"

#include "platform/foundation/UserDefaults.h"

platform::Image repeatImage(std::int64_t state) {
    switch (state) {
        case PDRepeatAll:
            return platform::Image::imageNamed(QStringLiteral("Repeat"));
        case PDRepeatOne:
            return platform::Image::imageNamed(QStringLiteral("Repeat_one"));
        default:
            return platform::Image::imageNamed(QStringLiteral("Repeat_inactive"));
    }
}

void showRepeatState(const Deck& deck, std::int64_t state) {
    const char* words = state == PDRepeatAll   ? "Repeat: all"
                        : state == PDRepeatOne ? "Repeat: one"
                                               : "Repeat: off";
    deck.repeatButton->setImage(repeatImage(state));
    deck.repeatButton->setToolTip(QLatin1String(words));
    deck.repeatButton->setAccessibleDescription(QLatin1String(words));
}

std::int64_t storedRepeatState(const Deck& deck) {
    const auto state =
        platform::UserDefaults::standardUserDefaults().valueOfTypeForKey<std::int32_t>(
            deck.repeatKey());
    const std::int64_t known = state.value_or(PDRepeatOff);
    return known == PDRepeatAll || known == PDRepeatOne ? known : std::int64_t{PDRepeatOff};
}
