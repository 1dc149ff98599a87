#pragma once

#include "decks/Deck.h"
#include "platform/image/Image.h"

#include <cstdint>

/// The button image of a repeat state: "Repeat" for all, "Repeat_one" for one, otherwise
/// "Repeat_inactive".
platform::Image repeatImage(std::int64_t state);

/// Makes the deck's repeat button show `state`, to the eye and in words.
void showRepeatState(const Deck& deck, std::int64_t state);

/// The deck's stored repeat state; off for no value, a number out of range or another type.
std::int64_t storedRepeatState(const Deck& deck);
