#pragma once

#include "platform/ui/Control.h"
#include "platform/ui/TextFieldCell.h"

#include <QLabel>

#include <memory>

namespace platform {

/// A line or more of plain text. Until it is given a cell it looks as the interface file and the
/// style sheet say.
class TextField : public QLabel, public Control {
    Q_OBJECT

  public:
    explicit TextField(QWidget* parent = nullptr);

    void setStringValue(const QString& text);
    QString stringValue() const { return text(); }

    /// From now on `cell` draws the text; it takes over the text shown.
    void setCell(std::unique_ptr<TextFieldCell> cell);
    /// Null while the field has the interface file's own look.
    TextFieldCell* cell() const { return cell_.get(); }

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    std::unique_ptr<TextFieldCell> cell_;
};

}  // namespace platform
