#include "decks/InterfaceClasses.h"

#include "decks/Pairdeck.h"
#include "library/PDSourceManager.h"
#include "presentation/DraggableBox.h"
#include "presentation/HoverControlView.h"
#include "presentation/PDViewController.h"
#include "presentation/PDWindow.h"

namespace {

template <typename Type>
QWidget* widget(QWidget* parent) {
    return new Type(parent);
}

template <typename Type>
std::unique_ptr<platform::Controller> controller() {
    return std::make_unique<Type>();
}

}  // namespace

platform::InterfaceClasses interfaceClasses() {
    return {
        {{QStringLiteral("PDWindow"), widget<PDWindow>},
         {QStringLiteral("DraggableBox"), widget<DraggableBox>},
         {QStringLiteral("HoverControlView"), widget<HoverControlView>}},
        {{QStringLiteral("Pairdeck"), controller<Pairdeck>},
         {QStringLiteral("PDLeftSourceManager"), controller<PDLeftSourceManager>},
         {QStringLiteral("PDRightSourceManager"), controller<PDRightSourceManager>},
         {QStringLiteral("PDViewController"), controller<PDViewController>}},
    };
}
