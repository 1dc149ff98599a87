#pragma once

#include <QRandomGenerator>

#include <vector>

/// An element of `list`, each equally likely and independent of earlier draws; null for none.
template <typename Element>
const Element* randomObject(const std::vector<Element>& list) {
    if (list.empty()) return nullptr;
    const auto count = static_cast<quint64>(list.size());
    return &list[QRandomGenerator::system()->bounded(count)];
}
