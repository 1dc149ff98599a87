#pragma once

class HoverControlView;
namespace platform {
class Button;
class ImageView;
class LevelMeter;
class Slider;
class TableView;
class TextField;
class View;
}  // namespace platform

/// The widgets of one deck in the window, which the interface file connects; none is owned.
struct DeckControls {
    platform::TextField* songTitle = nullptr;
    HoverControlView* songAlbumArt = nullptr;
    platform::ImageView* background = nullptr;
    platform::TextField* songAlbumArtist = nullptr;
    platform::TextField* hint = nullptr;
    platform::Button* openFolder = nullptr;
    platform::Slider* timeSlider = nullptr;
    platform::Slider* volumeSlider = nullptr;
    platform::Button* muteButton = nullptr;
    platform::TextField* cTime = nullptr;
    platform::TextField* rTime = nullptr;
    platform::Button* shuffleButton = nullptr;
    platform::Button* repeatButton = nullptr;
    platform::View* controlView = nullptr;
    platform::Button* playPause = nullptr;
    platform::Button* prev = nullptr;
    platform::Button* next = nullptr;
    platform::TableView* tableView = nullptr;
    platform::LevelMeter* levelMeter = nullptr;
};
