#include "platform/ui/SearchField.h"

#include "platform/ui/Font.h"

#include <QAbstractButton>

namespace platform {

SearchField::SearchField(QWidget* parent) : QLineEdit(parent) {
    setFont(systemFontOfSize(13.0));
    setClearButtonEnabled(true);
    delay_.setSingleShot(true);
    connect(&delay_, &QTimer::timeout, this, [this] { sendAction(); });
    // Not when it is edited: what an assistive tool writes is no key's work, but as much the
    // user's.
    connect(this, &QLineEdit::textChanged, this, [this](const QString& changed) {
        if (isSetByProgram_) return;
        // Once all that waits has been read: what was typed during a search is searched for once.
        delay_.start(changed.isEmpty() ? 0 : kDelay);
    });
    connect(this, &QLineEdit::returnPressed, this, &SearchField::sendNow);
}

void SearchField::setStringValue(const QString& text) {
    isSetByProgram_ = true;
    setText(text);
    isSetByProgram_ = false;
}

QString SearchField::clearButtonName() const {
    return findChild<QAbstractButton*>()->accessibleName();
}

void SearchField::setClearButtonName(const QString& name) {
    findChild<QAbstractButton*>()->setAccessibleName(name);
}

void SearchField::sendNow() {
    delay_.stop();
    sendAction();
}

}  // namespace platform
