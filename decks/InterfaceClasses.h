#pragma once

#include "platform/ui/InterfaceLoader.h"

/// Pairdeck's own classes that its interface files name.
platform::InterfaceClasses interfaceClasses();
