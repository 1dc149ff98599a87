#pragma once

#include "platform/ui/Control.h"

#include <QLineEdit>
#include <QTimer>

namespace platform {

/// A field to search in. It sends its action shortly after the last key, and at once on Return and
/// when it is cleared.
class SearchField : public QLineEdit, public Control {
    Q_OBJECT
    /// What assistive technology calls the button that clears the field.
    Q_PROPERTY(QString clearButtonName READ clearButtonName WRITE setClearButtonName)

  public:
    /// How long after the last key the action is sent, in milliseconds.
    static constexpr int kDelay = 200;

    explicit SearchField(QWidget* parent = nullptr);

    QString stringValue() const { return text(); }
    void setStringValue(const QString& text) { setText(text); }

    QString clearButtonName() const;
    void setClearButtonName(const QString& name);

    /// Sends the action at once.
    Q_INVOKABLE void sendNow();

  private:
    QTimer delay_;
};

}  // namespace platform
