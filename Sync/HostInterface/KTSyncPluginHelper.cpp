#include "Sync/HostInterface/KTSyncPluginHelper.h"

namespace kt {

void KTSyncPluginHelper::progress(std::string_view, int, int) {}

}  // namespace kt
