#pragma once

#include "decks/Pairdeck.h"
#include "library/PDSourceManager.h"
#include "platform/foundation/UserDefaults.h"
#include "platform/ui/Button.h"
#include "platform/ui/ImageView.h"
#include "platform/ui/InterfaceLoader.h"
#include "platform/ui/LevelMeter.h"
#include "platform/ui/Slider.h"
#include "platform/ui/TableView.h"
#include "platform/ui/TextField.h"
#include "platform/ui/Window.h"
#include "presentation/HoverControlView.h"

#include <QString>
#include <QTemporaryDir>
#include <QTest>

#include <gmock/gmock.h>

#include <array>
#include <memory>

/// Both decks as the real interface files lay them out, with songs to play in a folder.
class DeckFixture : public testing::Test {
  protected:
    DeckFixture();
    ~DeckFixture() override;

    /// Loads the interface, as a start of the program does.
    void start();
    void store(const QString& key, const platform::DefaultsValue& value);
    std::optional<platform::DefaultsValue> stored(const QString& key) const;

    /// Writes a song of `seconds` with `tags` (the bytes of a tag, or none) in front; its path.
    QString makeSong(const QString& name, double seconds, const QByteArray& tags = {}) const;
    /// The side's list becomes tracks with these paths.
    void fillList(PDPlayerType side, const QStringList& paths);

    Pairdeck& decks() { return *pairdeck_; }
    Deck& deck(PDPlayerType side) { return pairdeck_->deck(side); }
    /// The deck's widgets in the window, by their names.
    const DeckControls& controls(PDPlayerType side) { return controls_[static_cast<size_t>(side)]; }
    PDSourceManager& library(PDPlayerType side);
    /// The file name of what the deck has loaded.
    QString loaded(PDPlayerType side);

  private:
    void findControls(PDPlayerType side);

  protected:
    QTemporaryDir folder_;
    std::unique_ptr<platform::Interface> interface_;
    Pairdeck* pairdeck_ = nullptr;
    std::array<DeckControls, 2> controls_;
};

/// Runs the event loop until `condition` holds; false when it does not within ten seconds.
template <typename Condition>
bool waitUntil(Condition condition) {
    return QTest::qWaitFor(condition, 10'000);
}

/// Whether both show the same pixels.
bool sameImage(const platform::Image& one, const platform::Image& other);
