#include "decks/Navigation.h"
#include "decks/Pairdeck.h"
#include "decks/Random.h"

using platform::AudioPlayer;
using platform::Control;

void Pairdeck::playNeighbour(Deck& deck,
                             std::optional<size_t> (*neighbour)(std::optional<size_t>, size_t)) {
    const TrackArray& tracks = deck.trackArray;
    if (deck.shuffle) {
        if (const auto* track = randomObject(tracks)) {
            playTrackAtWithPlayer((*track)->URL(), deck.side);
        }
        return;
    }
    // The place is found by the path at every step: a scan or a search may have moved it.
    const auto current = navigation::indexOfCurrentTrack(tracks, deck.currentURL);
    if (const auto index = neighbour(current, tracks.size())) {
        playTrackAtWithPlayer(tracks[*index]->URL(), deck.side);
    }
}

void Pairdeck::playNextTrackAt(Control* sender) {
    if (Deck* deck = deckOf(sender, &Deck::next)) playNeighbour(*deck, navigation::nextIndex);
}

void Pairdeck::playPrevTrackAt(Control* sender) {
    Deck* deck = deckOf(sender, &Deck::prev);
    if (!deck) return;
    if (deck->currentTime() < navigation::kRestartThreshold) {
        playNeighbour(*deck, navigation::previousIndex);
    } else {
        deck->player->setCurrentTime(0.0);
        postMove();
    }
}

void Pairdeck::audioPlayerDidFinishPlayingSuccessfully(AudioPlayer* player, bool) {
    for (Deck& deck : decks_) {
        if (!player || deck.player.get() != player) continue;
        switch (navigation::endOfTrack(deck.repeat)) {
            case navigation::EndOfTrack::Pause:
                player->pause();
                break;
            case navigation::EndOfTrack::PlayNext:
                playNextTrackAt(deck.next);
                break;
            case navigation::EndOfTrack::PlayAgain:
                playTrackAtWithPlayer(deck.currentURL.value_or(QString()), deck.side);
                break;
            case navigation::EndOfTrack::Nothing:
                break;
        }
        postMove();
        return;
    }
}
