#pragma once

#include <QApplication>
#include <QHoverEvent>
#include <QWidget>

/// Tells the widget that the pointer enters, moves within or leaves it, at that place of its own.
inline void hover(QWidget& widget, QEvent::Type type, QPointF at) {
    QHoverEvent event(type, at, widget.mapToGlobal(at), at);
    QApplication::sendEvent(&widget, &event);
}
