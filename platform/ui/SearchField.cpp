#include "platform/ui/SearchField.h"

#include "platform/ui/Font.h"

#include <QAbstractButton>
#include <QEvent>

namespace platform {

namespace {

constexpr int kClearButtonOverlap = 10;  // points; the field's padding keeps that much free anyway

}  // namespace

SearchField::SearchField(QWidget* parent) : QLineEdit(parent), clearButton_(new Button(this)) {
    setFont(systemFontOfSize(13.0));
    // The toolkit's own is as small as its picture.
    clearButton_->setImageName(QStringLiteral("Clear"));
    clearButton_->setProperty("imageSize", 16.0);
    clearButton_->setCursor(Qt::ArrowCursor);
    clearButton_->setFocusPolicy(Qt::NoFocus);
    clearButton_->hide();
    connect(clearButton_, &QAbstractButton::clicked, this, [this] {
        clear();
        setFocus(Qt::OtherFocusReason);
    });
    connect(this, &QLineEdit::textChanged, this, [this](const QString& text) {
        clearButton_->setVisible(!text.isEmpty());
        setTextMargins(0, 0, text.isEmpty() ? 0 : height() - kClearButtonOverlap, 0);
    });
    delay_.setSingleShot(true);
    connect(&delay_, &QTimer::timeout, this, [this] {
        isTyped_ = true;
        sendAction();
        isTyped_ = false;
    });
    // Not when it is edited: what an assistive tool writes is no key's work, but as much the
    // user's.
    connect(this, &QLineEdit::textChanged, this, [this] {
        // Once all that waits has been read: what was typed during a search is searched for once.
        if (!isSetByProgram_) delay_.start(0);
    });
    connect(this, &QLineEdit::returnPressed, this, &SearchField::sendNow);
}

void SearchField::setStringValue(const QString& text) {
    isSetByProgram_ = true;
    setText(text);
    isSetByProgram_ = false;
}

QString SearchField::clearButtonName() const {
    return clearButton_->accessibleName();
}

void SearchField::setClearButtonName(const QString& name) {
    clearButton_->setAccessibleName(name);
}

bool SearchField::event(QEvent* event) {
    const bool isTaken = QLineEdit::event(event);
    if (event->type() == QEvent::Polish || event->type() == QEvent::StyleChange) {
        // The toolkit shows the prompt at half the text's strength, too faint over a white page.
        QPalette colors = palette();
        QColor prompt = colors.color(QPalette::Text);
        prompt.setAlphaF(0.72F);
        colors.setColor(QPalette::PlaceholderText, prompt);
        setPalette(colors);
    }
    return isTaken;
}

void SearchField::resizeEvent(QResizeEvent* event) {
    QLineEdit::resizeEvent(event);
    clearButton_->setGeometry(width() - height(), 0, height(), height());
}

void SearchField::sendNow() {
    delay_.stop();
    sendAction();
}

}  // namespace platform
