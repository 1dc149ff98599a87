#pragma once

#include <stdlib.h>

#include <cstdint>
#include <vector>

/// An element of `list`, each equally likely and independent of earlier draws; null for none.
template <typename Element>
const Element* randomObject(const std::vector<Element>& list) {
    if (list.empty()) return nullptr;
    return &list[arc4random_uniform(static_cast<std::uint32_t>(list.size()))];
}
