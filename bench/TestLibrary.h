#pragma once

#include <QString>

namespace bench {

/// The folder of a library of `count` tracks; made by bench/make_library
/// when it is not there yet, which takes minutes for 100,000. What fails is said on stderr.
QString libraryOf(int count);

}  // namespace bench
