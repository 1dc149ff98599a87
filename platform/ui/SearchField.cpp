#include "platform/ui/SearchField.h"

#include "platform/ui/Font.h"

#include <QAbstractButton>

namespace platform {

SearchField::SearchField(QWidget* parent) : QLineEdit(parent) {
    setFont(systemFontOfSize(13.0));
    setClearButtonEnabled(true);
    delay_.setSingleShot(true);
    delay_.setInterval(kDelay);
    connect(&delay_, &QTimer::timeout, this, [this] { sendAction(); });
    connect(this, &QLineEdit::textEdited, this, [this](const QString& edited) {
        if (edited.isEmpty()) {
            sendNow();
        } else {
            delay_.start();
        }
    });
    connect(this, &QLineEdit::returnPressed, this, &SearchField::sendNow);
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
