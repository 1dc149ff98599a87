#pragma once

#include "platform/ui/Button.h"
#include "platform/ui/Control.h"

#include <QLineEdit>
#include <QTimer>

namespace platform {

/// A field to search in, with a button of full height that clears it. It sends its action once its
/// text was changed by keys or by an assistive tool and nothing more that was typed waits to be
/// read, and on Return.
class SearchField : public QLineEdit, public Control {
    Q_OBJECT
    /// What assistive technology calls the button that clears the field.
    Q_PROPERTY(QString clearButtonName READ clearButtonName WRITE setClearButtonName)

  public:
    explicit SearchField(QWidget* parent = nullptr);

    QString stringValue() const { return text(); }
    /// Shows `text` without sending the action.
    void setStringValue(const QString& text);

    QString clearButtonName() const;
    void setClearButtonName(const QString& name);

    /// Whether the action that is being sent is that of a changed text, and not asked for.
    bool isTyped() const { return isTyped_; }
    /// Sends the action at once.
    Q_INVOKABLE void sendNow();

  protected:
    bool event(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    Button* clearButton_;
    QTimer delay_;
    bool isSetByProgram_ = false;
    bool isTyped_ = false;
};

}  // namespace platform
