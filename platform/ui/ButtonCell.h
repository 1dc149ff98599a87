#pragma once

#include <QColor>
#include <QFont>
#include <QString>
#include <Qt>

namespace platform {

/// A run of text in one font and colour, aligned as a paragraph.
struct AttributedString {
    QString string;
    QFont font;
    QColor foregroundColor;
    Qt::Alignment alignment = Qt::AlignLeft;
};

/// The look of a push button with a filled background and a styled title.
struct ButtonCell {
    QColor backgroundColor;
    AttributedString attributedTitle;
    bool bordered = true;
};

}  // namespace platform
