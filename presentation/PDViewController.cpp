#include "presentation/PDViewController.h"

#include "platform/ui/Transition.h"

#include <QColor>

using platform::Button;
using platform::Control;
using platform::Transition;
using platform::View;

PDViewController::PDViewController() {
    declare(QStringLiteral("Left"), QStringLiteral("left"), PDLeftPlayer);
    declare(QStringLiteral("Right"), QStringLiteral("right"), PDRightPlayer);
    outlet(QStringLiteral("PDPreferencesWindow"), preferencesWindow_);
    outlet(QStringLiteral("PDGlobalPreferencesView"), globalPreferencesView_);
    action(QStringLiteral("globalPrefSet"),
           [this](Control*) { setSubViewForPreference(globalPreferencesView_); });
}

void PDViewController::declare(const QString& side, const QString& prefix, PDPlayerType type) {
    DeckViews& deck = decks_[static_cast<size_t>(type)];
    outlet(QStringLiteral("PD%1MainView").arg(side), deck.mainView);
    outlet(QStringLiteral("PD%1MusicLibraryActivator").arg(side), deck.musicLibraryActivator);
    outlet(QStringLiteral("PD%1PlayerView").arg(side), deck.playerView);
    outlet(QStringLiteral("PD%1MusicLibraryView").arg(side), deck.musicLibraryView);
    outlet(QStringLiteral("PD%1SettingsView").arg(side), deck.settingsView);
    action(prefix + QStringLiteral("PrefSet"),
           [this, &deck](Control*) { setSubViewForPreference(deck.settingsView); });
    action(prefix + QStringLiteral("MusicLibToggle"),
           [this, type](Control* sender) { musicLibToggle(sender, type); });
}

void PDViewController::awakeFromNib() {
    View* preferences = preferencesWindow_->contentView();
    for (DeckViews& deck : decks_)
        deck.mainView->setSubviews({deck.playerView});
    for (View* container : {decks_[0].mainView, decks_[1].mainView, preferences}) {
        container->setWantsLayer(true);
    }
    const Transition push = {Transition::Type::Push};
    platform::AnimationContext::currentContext().setDuration(3.5);
    for (View* container : {decks_[0].mainView, decks_[1].mainView, preferences}) {
        container->animator().setAnimations({{QStringLiteral("subviews"), push}});
    }
    preferencesWindow_->setBackgroundColor(QColor::fromRgbF(1.0F, 1.0F, 1.0F, 0.8F));
    preferencesWindow_->setOpaque(false);
    preferences->setSubviews({});
    preferences->addSubview(std::make_unique<View>());
    setSubViewForPreference(globalPreferencesView_);
}

void PDViewController::replaceContent(View* container, View* view) {
    container->animator().replaceSubviewWith(container->firstSubview(), view);
}

void PDViewController::setSubViewForPreference(View* pane) {
    replaceContent(preferencesWindow_->contentView(), pane);
}

void PDViewController::setSubViewFor(View* panel, PDPlayerType side) {
    if (side != PDLeftPlayer && side != PDRightPlayer) return;
    replaceContent(decks_[static_cast<size_t>(side)].mainView, panel);
}

void PDViewController::musicLibToggle(Control* sender, PDPlayerType side) {
    const auto* button = dynamic_cast<Button*>(sender);
    if (!button) return;
    const DeckViews& deck = decks_[static_cast<size_t>(side)];
    if (button->state() == Button::OnState) setSubViewFor(deck.musicLibraryView, side);
    if (button->state() == Button::OffState) setSubViewFor(deck.playerView, side);
}
