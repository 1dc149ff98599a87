#pragma once

#include "platform/ui/Button.h"
#include "platform/ui/Control.h"

#include <QLineEdit>
#include <QTimer>

namespace platform {

/// A field to search in, with a button of full height that clears it. It sends its action shortly
/// after its text was last changed by keys or by an assistive tool, and at once on Return and when
/// it is cleared.
class SearchField : public QLineEdit, public Control {
    Q_OBJECT
    /// What assistive technology calls the button that clears the field.
    Q_PROPERTY(QString clearButtonName READ clearButtonName WRITE setClearButtonName)

  public:
    /// How long after the last key the action is sent, in milliseconds.
    static constexpr int kDelay = 200;

    explicit SearchField(QWidget* parent = nullptr);

    QString stringValue() const { return text(); }
    /// Shows `text` without sending the action.
    void setStringValue(const QString& text);

    QString clearButtonName() const;
    void setClearButtonName(const QString& name);

    /// Sends the action at once.
    Q_INVOKABLE void sendNow();

  protected:
    void resizeEvent(QResizeEvent* event) override;

  private:
    Button* clearButton_;
    QTimer delay_;
    bool isSetByProgram_ = false;
};

}  // namespace platform
