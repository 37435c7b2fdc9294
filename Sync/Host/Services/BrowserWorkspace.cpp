#include "Sync/Host/Services/BrowserWorkspace.h"

#include "Sync/Foundation/Platform.h"

namespace kt {

bool BrowserWorkspace::openURL(const std::string& url)
{
    if (!url.starts_with("http://") && !url.starts_with("https://"))
        return false;
    return Platform::shared().launch("xdg-open", {url});
}

}  // namespace kt
