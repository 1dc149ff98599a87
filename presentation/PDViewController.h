#pragma once

#include "platform/ui/Button.h"
#include "platform/ui/Controller.h"
#include "platform/ui/View.h"
#include "platform/ui/Window.h"
#include "presentation/PDPlayerType.h"

#include <array>

/// Swaps what the decks' areas and the preferences window show, with a push from the bottom.
///
/// Outlets, {Side} being Left and Right: PD{Side}MainView, PD{Side}MusicLibraryActivator,
/// PD{Side}PlayerView, PD{Side}MusicLibraryView, PD{Side}SettingsView; PDPreferencesWindow,
/// PDGlobalPreferencesView. Actions, {side} being left and right: {side}MusicLibToggle,
/// {side}PrefSet, globalPrefSet.
class PDViewController final : public platform::Controller {
  public:
    PDViewController();

    /// Puts each deck on its player panel and the preferences on their global pane.
    void awakeFromNib() override;

    /// Shows `pane` in the preferences window.
    void setSubViewForPreference(platform::View* pane);
    /// Shows `panel` in the deck's area; a side that is neither deck's changes nothing.
    void setSubViewFor(platform::View* panel, PDPlayerType side);

  private:
    struct DeckViews {
        platform::View* mainView = nullptr;
        platform::Button* musicLibraryActivator = nullptr;
        platform::View* playerView = nullptr;
        platform::View* musicLibraryView = nullptr;
        platform::View* settingsView = nullptr;
    };

    void declare(const QString& side, const QString& prefix, PDPlayerType type);
    void musicLibToggle(platform::Control* sender, PDPlayerType side);
    static void replaceContent(platform::View* container, platform::View* view);

    std::array<DeckViews, 2> decks_;
    platform::Window* preferencesWindow_ = nullptr;
    platform::View* globalPreferencesView_ = nullptr;
};
