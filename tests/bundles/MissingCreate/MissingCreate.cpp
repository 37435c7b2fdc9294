#include "tests/support/SmallPlugin.h"

KT_EXPORTED int KTPluginInterfaceVersion() { return kt::kPluginInterfaceVersion; }
